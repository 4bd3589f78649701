// The state a compiled root keeps beside its nodes: dead nodes, the step
// walk and the failure that ended the calculation.
#include "expr/tree.h"

CCalcTree::~CCalcTree() {
    for (CCalcNode* node : m_dead) {
        node->m_pTree = nullptr;
        delete node;
    }
}

CCalcTree* CCalcTree::Of(CCalcNode* root) {
    if (!root) return nullptr;
    if (root->m_pTree) return root->m_pTree->Root() == root ? root->m_pTree : nullptr;
    if (root->GetParent()) return nullptr;
    auto* tree = new CCalcTree(root);
    Adopt(root, tree);
    return tree;
}

void CCalcTree::Adopt(CCalcNode* node, CCalcTree* tree) {
    std::vector<CCalcNode*> pending{node};
    while (!pending.empty()) {
        CCalcNode* n = pending.back();
        pending.pop_back();
        n->m_pTree = tree;
        if (tree) tree->CountNode();
        pending.insert(pending.end(), n->m_children.begin(), n->m_children.end());
    }
}

bool CCalcTree::Accepts(CCalcNode* term) const {
    return term && term->m_pTree == this && !term->m_bDead && !term->m_bAnswered;
}

void CCalcTree::Retire(CCalcNode* node) {
    node->m_bDead = 1;
    node->m_text = CString();
    m_dead.push_back(node);
}

void CCalcTree::SetFailure(uint32_t messageId, const CString& text) {
    m_bFailed = true;
    m_nFailureId = messageId;
    m_strFailure = text;
}
