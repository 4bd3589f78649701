// What a thread keeps of the trees it is done with, for the trees it builds
// next: nodes let go of (with their children storage and short texts), the
// state records of compiled roots, and the storage of the walks' stacks.
//
// A report calculates the same few formulas for every record; with these
// kept, cloning and calculating a formula allocates next to nothing once
// its thread has done it before.  Invariants:
//   - every node and tree kept here is an ordinary heap object of exactly its
//     engine class, childless, of no tree, and found nowhere else;
//   - what is kept is bounded (CALC_MAX_KEPT_NODES, CALC_MAX_KEPT_TREES, and
//     the capacity limits below), so a thread that once calculated a large
//     tree does not hold on to it;
//   - while the thread ends, after its spares are gone, everything is freed
//     at once instead (ThreadSpares() is then null).
#pragma once

#include <qorcalc/limits.h>

#include <cstddef>
#include <utility>
#include <vector>

class CCalcNode;
class CCalcTree;

namespace qorcalc::expr {

// Storage bigger than this is freed rather than kept: a node's children
// array, a kept text (in characters), a walk's stack.
inline constexpr size_t kMaxKeptChildren = 64;
inline constexpr size_t kMaxKeptText = 64;
inline constexpr size_t kMaxKeptStack = 4096;

struct CThreadSpares {
    CThreadSpares() = default;
    CThreadSpares(const CThreadSpares&) = delete;
    CThreadSpares& operator=(const CThreadSpares&) = delete;
    ~CThreadSpares();

    std::vector<CCalcNode*> nodes;
    std::vector<CCalcTree*> trees;
    std::vector<CCalcNode*> stack;
    std::vector<std::pair<const CCalcNode*, CCalcNode*>> pairStack;
};

// This thread's spares; null once the thread has begun to end.
CThreadSpares* ThreadSpares();

// A walk's stack: the thread's spare storage when no other walk holds it,
// else a vector of its own; given back (emptied) when the walk is done.
template <class T>
class CBorrowedStack {
public:
    explicit CBorrowedStack(std::vector<T> CThreadSpares::*member) : m_member(member) {
        if (CThreadSpares* spares = ThreadSpares()) m_items.swap(spares->*member);
    }
    ~CBorrowedStack() {
        m_items.clear();
        CThreadSpares* spares = ThreadSpares();
        if (spares && m_items.capacity() <= kMaxKeptStack && (spares->*m_member).capacity() < m_items.capacity())
            m_items.swap(spares->*m_member);
    }
    CBorrowedStack(const CBorrowedStack&) = delete;
    CBorrowedStack& operator=(const CBorrowedStack&) = delete;
    std::vector<T>& operator*() { return m_items; }
    std::vector<T>* operator->() { return &m_items; }

private:
    std::vector<T> CThreadSpares::*m_member;
    std::vector<T> m_items;
};

}  // namespace qorcalc::expr
