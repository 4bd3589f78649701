// The node as a tree: ownership of children, deep copies and walks.  Every
// walk keeps its own stack, so no tree is too deep to delete, copy or visit.
#include <qorcalc/node.h>

#include <qorcalc/api.h>
#include <qorcalc/vek.h>

#include <memory>
#include <utility>

#include "expr/tree.h"

using qorcalc::detail::Shielded;
using qorcalc::detail::ShieldedInto;

CCalcNode::CCalcNode(CCalcNode* parent, uint8_t kind)
    : m_kind(kind), m_pParent(parent), m_pTree(parent ? parent->m_pTree : nullptr) {
    if (m_pTree) m_pTree->CountNode();
}

CCalcNode::~CCalcNode() {
    CCalcTree* owned = m_pTree && m_pTree->Root() == this ? m_pTree : nullptr;
    if (owned) owned->Close();
    DeleteChildren(m_children);
    delete owned;
}

// Lets go of whole subtrees without recursion and without allocating, so
// that it cannot fail in a destructor: the nodes still to go form a stack
// threaded through their parent pointers, which a node let go of no longer
// needs.  Each node's children are pushed before the node itself goes.
void CCalcNode::Discard(CCalcNode* node) {
    if (!node) return;
    node->m_pParent = nullptr;
    for (CCalcNode* stack = node; stack;) {
        CCalcNode* n = stack;
        stack = n->m_pParent;
        for (CCalcNode* child : n->m_children) {
            child->m_pParent = stack;
            stack = child;
        }
        std::vector<CCalcNode*>().swap(n->m_children);
        if (n->m_pTree && n->m_pTree->KeepsDead()) {
            n->m_pTree->Retire(n);
        } else {
            delete n;
        }
    }
}

// The array ends empty with its storage released.
void CCalcNode::DeleteChildren(std::vector<CCalcNode*>& children) {
    std::vector<CCalcNode*> taken;
    taken.swap(children);
    for (CCalcNode* child : taken) Discard(child);
}

// The text is copied first: without memory for it the node is left as it was.
void CCalcNode::CopyValue(const CCalcNode& source) {
    if (!Shielded(u"CCalcNode::CopyValue", false, [&] { return m_text = source.m_text, true; })) return;
    m_kind = source.m_kind;
    m_op = source.m_op;
    m_position = source.m_position;
    m_valid = source.m_valid;
    m_number = source.m_number;
}

// A copy that runs out of memory is let go of, with what it had copied.
CCalcNode* CCalcNode::Clone() {
    return Shielded(u"CCalcNode::Clone", static_cast<CCalcNode*>(nullptr), [&] {
        std::unique_ptr<CCalcNode> copy(new CCalcNode(nullptr));
        copy->CopyValue(*this);
        // Pairs of (original, copy) whose children are still to be copied.
        std::vector<std::pair<const CCalcNode*, CCalcNode*>> pending{{this, copy.get()}};
        while (!pending.empty()) {
            auto [from, to] = pending.back();
            pending.pop_back();
            to->m_children.reserve(from->m_children.size());
            for (const CCalcNode* child : from->m_children) {
                auto* childCopy = new CCalcNode(to);
                to->m_children.push_back(childCopy);  // reserved: cannot fail
                childCopy->CopyValue(*child);
                pending.emplace_back(child, childCopy);
            }
        }
        return copy.release();
    });
}

void CCalcNode::RemoveAt(int index) {
    if (index < 0 || index >= GetCount()) return;
    CCalcNode* child = m_children[static_cast<size_t>(index)];
    m_children.erase(m_children.begin() + index);
    Discard(child);
}

void CCalcNode::RemoveAll() { DeleteChildren(m_children); }

CCalcNode* CCalcNode::GetAt(int index) {
    if (index < 0 || index >= GetCount()) return nullptr;
    return m_children[static_cast<size_t>(index)];
}

// Without memory the child is not added and stays the caller's.
int CCalcNode::Add(CCalcNode* child) {
    if (!child) return -1;
    return Shielded(u"CCalcNode::Add", -1, [&] {
        qorcalc::detail::ReserveOneMore(m_children);
        // A node made apart (a clone, a node of another tree) joins this tree.
        if (child->m_pTree != m_pTree) CCalcTree::Adopt(child, m_pTree);
        m_children.push_back(child);
        return GetCount() - 1;
    });
}

void CCalcNode::Clear() {
    RemoveAll();
    m_text.Empty();
    m_number = 0.0;
    m_valid = 1;
}

void CCalcNode::Collect(CPtrArray& list, uint8_t kind) {
    ShieldedInto(u"CCalcNode::Collect", [&] {
        std::vector<CCalcNode*> pending{this};
        while (!pending.empty()) {
            CCalcNode* node = pending.back();
            pending.pop_back();
            if (node->m_kind == kind) list.Add(node);
            pending.insert(pending.end(), node->m_children.rbegin(), node->m_children.rend());
        }
    }, list);
}

int CCalcNode::CountFunctions() {
    return Shielded(u"CCalcNode::CountFunctions", -1, [&] {
        CPtrArray calls;
        Collect(calls, NodeFunction);
        return calls.GetSize();
    });
}

void CCalcNode::CollectDistinctTexts(CStringArray& texts, uint8_t kind) {
    ShieldedInto(u"CCalcNode::GetNames", [&] {
        texts.RemoveAll();
        CPtrArray nodes;
        Collect(nodes, kind);
        for (void* item : nodes) {
            const CString& text = static_cast<CCalcNode*>(item)->m_text;
            if (CVek::ArrayCompareNoCase(texts, text, 0) < 0) texts.Add(text);
        }
    }, texts);
}

void CCalcNode::GetFunctionNames(CStringArray& names) { CollectDistinctTexts(names, NodeFunction); }

void CCalcNode::GetNames(CStringArray& names) { CollectDistinctTexts(names, NodeName); }

int CCalcNode::GetFunctionCall(CString& name, CStringArray& args, int raw) {
    if (m_kind != NodeFunction) return 0;
    return Shielded(u"CCalcNode::GetFunctionCall", 0, [&] { return FunctionCall(name, args, raw); }, name, args);
}

int CCalcNode::FunctionCall(CString& name, CStringArray& args, int raw) {
    name = m_text;
    args.RemoveAll();
    if (m_children.empty()) return 1;
    const CCalcNode* first = m_children.front();
    if (m_children.size() == 1 && first->m_kind == NodeArgument && first->m_children.empty()) return 1;
    for (CCalcNode* child : m_children) {
        CCalcNode* value = child;
        if (child->m_kind == NodeArgument && !child->m_children.empty()) value = child->m_children.front();
        CString text;
        value->GetText(text, !raw);
        args.Add(text);
    }
    return 1;
}

int CCalcNode::HasLogicOrCompare() {
    for (CCalcNode* child : m_children) {
        if (child->IsCompareOperator() || child->IsLogicOperator()) return 1;
    }
    return 0;
}

void CCalcNode::Unwrap() {
    if (m_kind != NodeGroup || m_children.empty()) return;
    CopyValue(*m_children.front());
    RemoveAll();
}
