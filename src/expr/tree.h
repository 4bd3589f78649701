// CCalcTree: what the root of a compiled formula keeps beside its nodes.
//
// A tree is made for a root when it is compiled (or, for a hand-built root,
// when it is first calculated) and is deleted with the root.  It holds:
//   - the step walk, which resumes where the previous step left it;
//   - every node the tree has let go of, dead and emptied, so that a node
//     pointer the host still holds can be recognised as stale instead of
//     being read after it was freed.  Dead nodes count towards the tree's
//     node count until the root is deleted;
//   - the failure that ended the calculation, repeated to every later call
//     on the root instead of going on with a half-reduced tree;
//   - the length of the formula texts the tree was converted from, over its
//     compile and every re-conversion (at most CALC_MAX_CONVERTED_LENGTH).
// Invariants: every node whose tree is this one is either reachable from
// the root or held dead here; only the root deletes the tree.
#pragma once

#include <qorcalc/node.h>
#include <qorcalc/string.h>

#include <cstddef>
#include <cstdint>
#include <vector>

#include "expr/evaluate.h"
#include "expr/spares.h"

namespace qorcalc::expr {
struct CThreadSpares;
}

class CCalcTree {
public:
    CCalcTree(const CCalcTree&) = delete;
    CCalcTree& operator=(const CCalcTree&) = delete;

    // The tree of `root`; a root of no tree yet (and without a parent) gets
    // one, with every node below it.  Null for a node that is not the root
    // of its tree.
    static CCalcTree* Of(CCalcNode* root) {
        // Inline for a root that has its tree, as at every step and answer.
        if (root && root->m_pTree) return root->m_pTree->Root() == root ? root->m_pTree : nullptr;
        return Make(root);
    }
    // Makes `node` and its subtree belong to `tree` (null: to no tree).
    static void Adopt(CCalcNode* node, CCalcTree* tree);
    // Frees the dead nodes of a tree whose root is gone, and the tree itself,
    // or keeps it, emptied, for the next root of this thread (null: nothing).
    static void Free(CCalcTree* tree);

    CCalcNode* Root() const { return m_pRoot; }
    // Nodes made for this tree since its root was compiled, dead ones
    // included.
    size_t NodeCount() const { return m_nNodes; }
    void CountNode() { ++m_nNodes; }
    // Characters of formula text converted for this tree since its root was
    // compiled: a re-conversion reads the whole tree again, so this, not the
    // length of one formula, is what its conversions cost together.
    size_t ConvertedLength() const { return m_nConverted; }
    void CountConverted(size_t length) { m_nConverted += length; }

    // Whether the host may set a value into `term`: a live node of this
    // tree that has not been given a value before.
    bool Accepts(CCalcNode* term) const {
        return term && term->m_pTree == this && !term->m_bDead && !term->m_bAnswered;
    }
    void MarkAnswered(CCalcNode* term) { term->m_bAnswered = 1; }

    // Keeps `node` (already without children) dead until the root goes.
    // Inline: every node a calculation folds away passes here.
    void Retire(CCalcNode* node) {
        node->m_bDead = 1;
        node->EmptyForReuse();
        // A small tree's nodes go back to the thread's spares with their
        // children storage; a tree too large for them all frees it now.
        if (m_nNodes > static_cast<size_t>(CALC_MAX_KEPT_NODES)) std::vector<CCalcNode*>().swap(node->m_children);
        m_dead.push_back(node);
    }
    bool KeepsDead() const { return m_bKeepDead; }

    qorcalc::expr::CStepWalk& Walk() { return m_walk; }

    // Whether the tree's lists were checked for mixed types when it was
    // converted (the complex mode was off then).
    bool TypesChecked() const { return m_bTypesChecked; }
    void SetTypesChecked(bool checked) { m_bTypesChecked = checked; }

    // The failure that ended the calculation, if any.
    bool Failed() const { return m_bFailed; }
    void SetFailure(uint32_t messageId, const CString& text);
    uint32_t FailureId() const { return m_nFailureId; }
    const CString& FailureText() const { return m_strFailure; }

private:
    friend class CCalcNode;
    friend struct qorcalc::expr::CThreadSpares;
    explicit CCalcTree(CCalcNode* root) : m_pRoot(root) {}
    ~CCalcTree();
    void FreeDead();
    // Of for a root without a tree.
    static CCalcTree* Make(CCalcNode* root);
    void Reset(CCalcNode* root);
    // Called by the root's destructor: from here on nodes are freed at once.
    void Close() { m_bKeepDead = false; }

    CCalcNode* m_pRoot;
    size_t m_nNodes = 0;
    size_t m_nConverted = 0;
    std::vector<CCalcNode*> m_dead;
    bool m_bKeepDead = true;
    qorcalc::expr::CStepWalk m_walk;
    bool m_bTypesChecked = false;
    bool m_bFailed = false;
    uint32_t m_nFailureId = 0;
    CString m_strFailure;
};

// Making nodes, inline: compiling and cloning make every node here.

// As the constructor leaves a node; the children array and the text are
// already empty, their storage kept.
inline void CCalcNode::Reset(CCalcNode* parent, uint8_t kind) {
    m_kind = kind;
    m_op = OpNone;
    m_position = 0;
    m_valid = 1;
    m_number = 0.0;
    Join(parent);
}

// A node of no tree (a kept one, emptied) becomes `parent`'s, alive.
inline void CCalcNode::Join(CCalcNode* parent) {
    m_pParent = parent;
    m_bDead = 0;
    m_bAnswered = 0;
    m_pTree = parent ? parent->m_pTree : nullptr;
    if (m_pTree) m_pTree->CountNode();
}

namespace qorcalc::expr {

// A new node: in a kept block when the thread has one, else straight from
// the global allocator (the class's operator new would look for the block
// again; every node of a tree past the kept ones is made here).
inline CCalcNode* NewNode(CThreadSpares* spares, CCalcNode* parent, uint8_t kind) {
    return spares && spares->blocks ? new CCalcNode(parent, kind) : ::new CCalcNode(parent, kind);
}

// A node kept by this thread, or null when it keeps none.
inline CCalcNode* TakeSpare(CThreadSpares* spares) {
    CCalcNode* node = spares ? spares->nodes : nullptr;
    if (!node) return nullptr;
    spares->nodes = node->GetParent();
    --spares->nodeCount;
    return node;
}

}  // namespace qorcalc::expr

inline CCalcNode* CCalcNode::Make(qorcalc::expr::CThreadSpares* spares, CCalcNode* parent, uint8_t kind) {
    CCalcNode* node = qorcalc::expr::TakeSpare(spares);
    if (!node) return qorcalc::expr::NewNode(spares, parent, kind);
    node->Reset(parent, kind);
    return node;
}

inline CCalcNode* CCalcNode::Make(CCalcNode* parent, uint8_t kind) {
    return Make(qorcalc::expr::ThreadSpares(), parent, kind);
}

inline CCalcNode* CCalcNode::MakeRoot(qorcalc::expr::CThreadSpares* spares, uint8_t kind) {
    CCalcNode* root = spares && spares->blocks ? new CCalcNode(nullptr, kind) : Make(spares, nullptr, kind);
    if (spares && spares->rootChildren.capacity() > root->m_children.capacity())
        root->m_children.swap(spares->rootChildren);
    return root;
}
