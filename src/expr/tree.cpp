// The state a compiled root keeps beside its nodes: dead nodes, the step
// walk and the failure that ended the calculation.
#include "expr/tree.h"

#include "expr/spares.h"
#include "support/thread_spare.h"

CCalcTree::~CCalcTree() { FreeDead(); }

void CCalcTree::FreeDead() {
    qorcalc::expr::CThreadSpares* const spares = qorcalc::expr::ThreadSpares();
    for (CCalcNode* node : m_dead) CCalcNode::Keep(node, spares);
    m_dead.clear();
}

void CCalcTree::Free(CCalcTree* tree) {
    if (!tree) return;
    tree->FreeDead();
    qorcalc::expr::CThreadSpares* spares = qorcalc::expr::ThreadSpares();
    if (!spares || spares->trees.size() >= spares->trees.capacity() ||
        tree->m_dead.capacity() > static_cast<size_t>(CALC_MAX_KEPT_NODES)) {
        delete tree;
        return;
    }
    spares->trees.push_back(tree);
}

CCalcTree* CCalcTree::Make(CCalcNode* root) {
    if (!root || root->GetParent()) return nullptr;
    qorcalc::expr::CThreadSpares* spares = qorcalc::expr::ThreadSpares();
    CCalcTree* tree = nullptr;
    if (spares && !spares->trees.empty()) {
        tree = spares->trees.back();
        spares->trees.pop_back();
        tree->Reset(root);
    } else {
        tree = new CCalcTree(root);
    }
    Adopt(root, tree);
    return tree;
}

// As a new tree of `root`, the storage of the dead list and the walk kept.
void CCalcTree::Reset(CCalcNode* root) {
    m_pRoot = root;
    m_nNodes = 0;
    m_nConverted = 0;
    m_bKeepDead = true;
    m_walk.Restart();
    m_bTypesChecked = false;
    m_bFailed = false;
    m_nFailureId = 0;
    m_strFailure.Empty();
}

void CCalcTree::Adopt(CCalcNode* node, CCalcTree* tree) {
    // A lone node (the copy of a root, before its children) needs no walk.
    if (node->m_children.empty()) {
        node->m_pTree = tree;
        if (tree) tree->CountNode();
        return;
    }
    qorcalc::support::CThreadSpare<std::vector<CCalcNode*>> pending;
    pending->push_back(node);
    while (!pending->empty()) {
        CCalcNode* n = pending->back();
        pending->pop_back();
        n->m_pTree = tree;
        if (tree) tree->CountNode();
        pending->insert(pending->end(), n->m_children.begin(), n->m_children.end());
    }
}

void CCalcTree::SetFailure(uint32_t messageId, const CString& text) {
    m_bFailed = true;
    m_nFailureId = messageId;
    m_strFailure = text;
}
