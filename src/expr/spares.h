// What a thread keeps of the trees it is done with, for the trees it builds
// next: nodes let go of (with their children storage and short texts) and
// the state records of compiled roots.
//
// A report calculates the same few formulas for every record; with these
// kept, cloning and calculating a formula allocates next to nothing once
// its thread has done it before.  Invariants:
//   - every node and tree kept here is an ordinary heap object of exactly its
//     engine class, childless, of no tree, and found nowhere else (a kept
//     node's parent pointer links it to the next kept node); every kept
//     block is memory of the global allocator of a node's size, no object's;
//   - what is kept is bounded (CALC_MAX_KEPT_NODES, CALC_MAX_KEPT_TREES, and
//     the storage limits below), so a thread that once calculated a large
//     tree does not hold on to it;
//   - while the thread ends, after its spares are gone, everything is freed
//     at once instead (ThreadSpares() is then null).
#pragma once

#include <qorcalc/limits.h>
#include <qorcalc/node.h>

#include <cstddef>
#include <typeinfo>
#include <vector>

#include "support/thread_spare.h"

class CCalcNode;
class CCalcTree;

namespace qorcalc::expr {

// Children storage bigger than this is freed rather than kept with a node
// (its text is kept while support::IsShortText says so).
inline constexpr size_t kMaxKeptChildren = 64;

struct CThreadSpares {
    CThreadSpares();
    CThreadSpares(const CThreadSpares&) = delete;
    CThreadSpares& operator=(const CThreadSpares&) = delete;
    ~CThreadSpares();

    // The kept nodes, a stack linked through their parent pointers (a kept
    // node has no parent of its own), so that keeping one never allocates.
    CCalcNode* nodes = nullptr;
    // The memory of nodes deleted whole, linked through its first word, for
    // the next node made with new.
    void* blocks = nullptr;
    // Kept nodes and blocks together, at most CALC_MAX_KEPT_NODES.
    size_t nodeCount = 0;
    // The children storage of the last node deleted whole (a root its host
    // deletes), emptied, for the next root the thread builds.
    std::vector<CCalcNode*> rootChildren;
    std::vector<CCalcTree*> trees;
};

// This thread's spares once made, null before and once they are gone:
// read inline, as every clone, release and discard asks for them (a plain
// pointer, unlike the spares themselves, needs no check on each use).
extern constinit thread_local CThreadSpares* t_spares;
// Makes them on first use; null once the thread has begun to end.
CThreadSpares* MakeThreadSpares();

// This thread's spares; null once the thread has begun to end.
inline CThreadSpares* ThreadSpares() {
    if (CThreadSpares* spares = t_spares) [[likely]]
        return spares;
    return MakeThreadSpares();
}

}  // namespace qorcalc::expr

// Inline: every node of every calculation passes through these twice, once
// when its tree lets go of it and once when the tree is done.

// A long text's storage is given back (assigning an empty string would
// keep it); a short one's serves the node's next text.
inline void CCalcNode::EmptyForReuse() {
    if (!qorcalc::support::IsShortText(m_text) || m_children.capacity() > qorcalc::expr::kMaxKeptChildren)
        GiveBackStorage();
    m_text.Empty();
}

inline void CCalcNode::Keep(CCalcNode* node, qorcalc::expr::CThreadSpares* spares) {
    // A host's own node class keeps its own behaviour: only plain nodes are reused.
    if (typeid(*node) != typeid(CCalcNode)) {
        delete node;
        return;
    }
    if (!spares || spares->nodeCount >= static_cast<size_t>(CALC_MAX_KEPT_NODES)) {
        // Nor could its memory be kept: it goes straight back (every node of
        // a tree past the bound passes here).
        node->~CCalcNode();
        ::operator delete(node);
        return;
    }
    node->m_pTree = nullptr;
    node->m_pParent = spares->nodes;
    spares->nodes = node;
    ++spares->nodeCount;
}
