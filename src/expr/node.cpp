// The node as a tree: ownership of children, deep copies and walks.  Every
// walk keeps its own stack, so no tree is too deep to delete, copy or visit.
#include <qorcalc/node.h>

#include <qorcalc/api.h>
#include <qorcalc/utility.h>
#include <qorcalc/vek.h>

#include <cstring>
#include <memory>
#include <new>
#include <typeinfo>
#include <utility>

#include "expr/spares.h"
#include "support/thread_spare.h"
#include "expr/tree.h"
#include "util/quotes.h"

using qorcalc::detail::Shielded;
using qorcalc::detail::ShieldedInto;

CCalcNode::CCalcNode(CCalcNode* parent, uint8_t kind)
    : m_kind(kind), m_pParent(parent), m_pTree(parent ? parent->m_pTree : nullptr) {
    if (m_pTree) m_pTree->CountNode();
}

CCalcNode::~CCalcNode() {
    LetGoOfSubtree();
    HandOnChildrenStorage();
}

// A node deleted whole leaves its emptied children storage to the next root
// its thread builds, when it is small enough to keep and the larger.
void CCalcNode::HandOnChildrenStorage() {
    const size_t capacity = m_children.capacity();
    if (capacity == 0 || capacity > qorcalc::expr::kMaxKeptChildren) return;  // most nodes are leaves
    qorcalc::expr::CThreadSpares* const spares = qorcalc::expr::t_spares;
    if (spares && capacity > spares->rootChildren.capacity()) spares->rootChildren.swap(m_children);
}

namespace {

// A kept block of this thread for a node of `size`, or null.  Read, not
// made: a thread that never let go of a node keeps no blocks.
void* TakeBlock(std::size_t size) {
    qorcalc::expr::CThreadSpares* const spares = qorcalc::expr::t_spares;
    if (size != sizeof(CCalcNode) || !spares || !spares->blocks) return nullptr;
    void* const block = spares->blocks;
    std::memcpy(&spares->blocks, block, sizeof(void*));
    --spares->nodeCount;
    return block;
}

// Keeps the memory of a node deleted whole; false when it is to be freed
// (another size, no room, or the thread's spares gone).
bool KeepBlock(void* block, std::size_t size) {
    qorcalc::expr::CThreadSpares* const spares = qorcalc::expr::t_spares;
    if (!block || size != sizeof(CCalcNode) || !spares ||
        spares->nodeCount >= static_cast<size_t>(CALC_MAX_KEPT_NODES))
        return false;
    std::memcpy(block, &spares->blocks, sizeof(void*));
    spares->blocks = block;
    ++spares->nodeCount;
    return true;
}

}  // namespace

void* CCalcNode::operator new(std::size_t size) {
    if (void* block = TakeBlock(size)) return block;
    return ::operator new(size);
}

void* CCalcNode::operator new(std::size_t size, const std::nothrow_t&) noexcept {
    if (void* block = TakeBlock(size)) return block;
    return ::operator new(size, std::nothrow);
}

void CCalcNode::operator delete(void* block, std::size_t size) noexcept {
    if (!KeepBlock(block, size)) ::operator delete(block);
}

void CCalcNode::operator delete(void* block, const std::nothrow_t&) noexcept { ::operator delete(block); }

// The array ends empty with its storage kept.  Inline: every node deleted
// passes here, most of them without children.
inline void CCalcNode::DeleteChildren(std::vector<CCalcNode*>& children) {
    if (children.empty()) return;
    qorcalc::expr::CThreadSpares* const spares = qorcalc::expr::ThreadSpares();
    for (CCalcNode* child : children) DiscardWith(child, spares);
    children.clear();
}

void CCalcNode::LetGoOfSubtree() {
    CCalcTree* owned = m_pTree && m_pTree->Root() == this ? m_pTree : nullptr;
    if (owned) owned->Close();
    DeleteChildren(m_children);
    CCalcTree::Free(owned);
}

void CCalcNode::Release(CCalcNode* node) {
    if (!node) return;
    // A node inside a compiled tree is let go of as delete would, through
    // its tree; a host's own node class keeps its own destructor.
    if ((node->m_pTree && node->m_pTree->Root() != node) || typeid(*node) != typeid(CCalcNode)) {
        delete node;
        return;
    }
    node->LetGoOfSubtree();
    node->m_pTree = nullptr;  // gone with the subtree
    Free(node, qorcalc::expr::ThreadSpares());
}

namespace qorcalc::expr {

CThreadSpares::CThreadSpares() {
    // Without the room the thread keeps no trees, and every tree is freed.
    try {
        trees.reserve(static_cast<size_t>(CALC_MAX_KEPT_TREES));
    } catch (const std::bad_alloc&) {
        std::vector<CCalcTree*>().swap(trees);
    }
}

CThreadSpares::~CThreadSpares() {
    t_spares = nullptr;  // what the thread lets go of from here on is freed at once
    for (CCalcNode* node = nodes; node;) {
        CCalcNode* next = node->GetParent();
        delete node;
        node = next;
    }
    for (CCalcTree* tree : trees) delete tree;
    while (void* block = blocks) {
        std::memcpy(&blocks, block, sizeof(void*));
        ::operator delete(block);
    }
}

constinit thread_local CThreadSpares* t_spares = nullptr;

CThreadSpares* MakeThreadSpares() {
    t_spares = support::ThreadOwned<CThreadSpares>();
    return t_spares;
}

}  // namespace qorcalc::expr

namespace {

// A dead node of a spent copy that can serve again (one of the host's own
// class cannot, and goes), or null when none is left.
CCalcNode* TakeReusable(std::vector<CCalcNode*>* reused) {
    while (reused && !reused->empty()) {
        CCalcNode* node = reused->back();
        reused->pop_back();
        if (typeid(*node) == typeid(CCalcNode)) return node;
        delete node;
    }
    return nullptr;
}

}  // namespace

// Make for a copy of `source` in `parent`, of a node from `reused` (null:
// none) or else the thread's spares: its kind, operator, position and
// number are set here, once; its text is the caller's to copy.
inline CCalcNode* CCalcNode::MakeCopyOf(qorcalc::expr::CThreadSpares* spares, std::vector<CCalcNode*>* reused,
                                        CCalcNode* parent, const CCalcNode& source) {
    CCalcNode* node = TakeReusable(reused);
    if (!node) node = qorcalc::expr::TakeSpare(spares);
    if (node) node->Join(parent);
    else node = qorcalc::expr::NewNode(spares, parent, source.m_kind);
    node->CopyFieldsOf(source);
    return node;
}

void CCalcNode::GiveBackStorage() {
    if (!qorcalc::support::IsShortText(m_text)) std::u16string().swap(m_text.Str());
    if (m_children.capacity() > qorcalc::expr::kMaxKeptChildren) std::vector<CCalcNode*>().swap(m_children);
}

void CCalcNode::Free(CCalcNode* node, qorcalc::expr::CThreadSpares* spares) {
    node->EmptyForReuse();
    Keep(node, spares);
}

inline bool CCalcNode::RetireIfKept(CCalcNode* node) {
    if (!node->m_pTree || !node->m_pTree->KeepsDead()) return false;
    node->m_pTree->Retire(node);
    return true;
}

// Lets go of whole subtrees without recursion and without allocating, so
// that it cannot fail in a destructor: the nodes still to go form a stack
// threaded through their parent pointers, which a node let go of no longer
// needs.  Each node's children are pushed before the node itself goes.
void CCalcNode::Discard(CCalcNode* node) {
    if (!node) return;
    // Nearly every node a calculation folds away is a leaf its tree keeps
    // dead, which needs none of the thread's spares.
    if (node->m_children.empty()) {
        node->m_pParent = nullptr;
        if (RetireIfKept(node)) return;
    }
    DiscardWith(node, qorcalc::expr::ThreadSpares());
}

void CCalcNode::DiscardWith(CCalcNode* node, qorcalc::expr::CThreadSpares* spares) {
    node->m_pParent = nullptr;
    for (CCalcNode* stack = node; stack;) {
        CCalcNode* n = stack;
        stack = n->m_pParent;
        for (CCalcNode* child : n->m_children) {
            child->m_pParent = stack;
            stack = child;
        }
        n->m_children.clear();
        n->m_pParent = nullptr;
        LetGo(n, spares);
    }
}

// A childless node no parent holds: kept dead by its tree while the tree
// keeps its nodes, else freed (or kept for Make).
void CCalcNode::LetGo(CCalcNode* node, qorcalc::expr::CThreadSpares* spares) {
    if (!RetireIfKept(node)) Free(node, spares);
}

// The text is copied first: without memory for it the node is left as it was.
void CCalcNode::CopyValue(const CCalcNode& source) {
    Shielded(u"CCalcNode::CopyValue", false, [&] { return CopyFrom(source), true; });
}

void CCalcNode::CopyFrom(const CCalcNode& source) {
    m_text = source.m_text;
    CopyFieldsOf(source);
}

inline void CCalcNode::CopyFieldsOf(const CCalcNode& source) {
    m_kind = source.m_kind;
    m_op = source.m_op;
    m_position = source.m_position;
    m_valid = source.m_valid;
    m_number = source.m_number;
}

// A copy that runs out of memory is let go of, with what it had copied.
CCalcNode* CCalcNode::Clone() {
    return Shielded(u"CCalcNode::Clone", static_cast<CCalcNode*>(nullptr), [&] {
        qorcalc::expr::CThreadSpares* const spares = qorcalc::expr::ThreadSpares();
        std::unique_ptr<CCalcNode> copy(MakeRoot(spares, m_kind));
        copy->CopyFieldsOf(*this);
        copy->m_text = m_text;
        // The copy of a compiled root is given its tree now, so that its
        // nodes join the tree as they are made rather than in a walk of
        // their own when it is first calculated.
        if (m_pTree && m_pTree->Root() == this) CCalcTree::Of(copy.get());
        CopyChildrenInto(copy.get(), spares, nullptr);
        return copy.release();
    });
}

void CCalcNode::CopyChildrenInto(CCalcNode* copy, qorcalc::expr::CThreadSpares* spares,
                                 std::vector<CCalcNode*>* reused) const {
    // Pairs of (original, copy) whose children are still to be copied
    // (leaves have none, and are not pushed).
    qorcalc::support::CThreadSpare<std::vector<std::pair<const CCalcNode*, CCalcNode*>>> pending;
    pending->emplace_back(this, copy);
    while (!pending->empty()) {
        auto [from, to] = pending->back();
        pending->pop_back();
        to->m_children.reserve(from->m_children.size());
        for (const CCalcNode* child : from->m_children) {
            CCalcNode* childCopy = MakeCopyOf(spares, reused, to, *child);
            to->m_children.push_back(childCopy);  // reserved: cannot fail
            childCopy->m_text = child->m_text;
            if (!child->m_children.empty()) pending->emplace_back(child, childCopy);
        }
    }
}

CCalcNode* CCalcNode::CloneReusing(CCalcNode* spent) {
    if (!spent) return Clone();
    // A spent copy serves when it is a plain compiled root of its own and
    // this is a compiled root apart from it; anything else is released
    // once the copy is made (this may even lie inside it).
    const bool plainRoot = typeid(*spent) == typeid(CCalcNode) && !spent->m_pParent && spent->m_pTree &&
                           spent->m_pTree->Root() == spent;
    if (!plainRoot || !m_pTree || m_pTree->Root() != this || m_pTree == spent->m_pTree) {
        CCalcNode* copy = Clone();
        Release(spent);
        return copy;
    }
    return CloneOnto(spent);
}

// The spent root becomes the copy's root and keeps its tree, which starts
// afresh; its dead nodes are the first the copy's nodes are made of, and
// those left over go to the thread's spares.  A copy that runs out of
// memory is let go of, `spent` with it.
CCalcNode* CCalcNode::CloneOnto(CCalcNode* spent) {
    return Shielded(u"CCalcNode::Clone", static_cast<CCalcNode*>(nullptr), [&] {
        std::unique_ptr<CCalcNode> copy(spent);
        CCalcTree* const tree = spent->m_pTree;
        DeleteChildren(spent->m_children);  // a calculation left unfinished: to the dead
        tree->Reset(spent);
        tree->CountNode();
        spent->m_bDead = 0;
        spent->m_bAnswered = 0;
        spent->CopyFieldsOf(*this);
        spent->m_text = m_text;
        CopyChildrenInto(spent, qorcalc::expr::ThreadSpares(), &tree->m_dead);
        tree->FreeDead();
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
    WriteArguments(args, raw ? ArgumentsRaw : ArgumentsQuoted);
    return 1;
}

// Each argument's text is written into the array's own strings, so a record
// used call after call keeps their storage.  The value of an argument is its
// first child; a call whose one argument is empty has none.
void CCalcNode::WriteArguments(CStringArray& args, int form) {
    const CCalcNode* first = m_children.empty() ? nullptr : m_children.front();
    if (!first || (m_children.size() == 1 && first->m_kind == NodeArgument && first->m_children.empty())) {
        args.RemoveAll();
        return;
    }
    args.SetSize(static_cast<int>(m_children.size()));
    for (size_t i = 0; i < m_children.size(); ++i) {
        CCalcNode* value = m_children[i];
        if (value->m_kind == NodeArgument && !value->m_children.empty()) value = value->m_children.front();
        CString& text = args.ElementAt(static_cast<int>(i));
        value->TextInto(text, form == ArgumentsQuoted);
        // Unquoting the quoted text would strip the quotes GetText adds and
        // then whatever pairs the value itself begins and ends with: the
        // same as unquoting the value.
        if (form == ArgumentsUnquoted) qorcalc::util::Unquote(text);
    }
}

int CCalcNode::HasLogicOrCompare() {
    for (CCalcNode* child : m_children) {
        if (child->IsCompareOperator() || child->IsLogicOperator()) return 1;
    }
    return 0;
}

void CCalcNode::Unwrap() {
    if (m_kind != NodeGroup || m_children.empty()) return;
    CopyFrom(*m_children.front());
    RemoveAll();
}
