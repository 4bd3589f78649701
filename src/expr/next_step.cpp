// Step selection: the first node, in children-before-parent order, that
// needs work.  The walk keeps its own stack, so a tree of any depth is safe,
// and keeps it between steps, so each node is passed a bounded number of
// times over a whole calculation.
#include "expr/evaluate.h"
#include "support/text.h"

#include <vector>

namespace qorcalc::expr {

namespace {

// The first child, or null for a leaf.
CCalcNode* FirstChild(CCalcNode* node) {
    const std::vector<CCalcNode*>& children = node->Children();
    return children.empty() ? nullptr : children.front();
}

bool IsIfCall(CCalcNode* node) {
    return KindOf(node) == NodeFunction && support::EqualsNoCase(std::u16string_view(node->RawText().Str()), u"if");
}

bool IsLiteral(CCalcNode* node) {
    return node && (node->GetKind() == NodeNumber || node->GetKind() == NodeString) && node->GetCount() == 0;
}

// The literal an IF condition has been reduced to, or null while it still
// needs work.
CCalcNode* ConditionLiteral(CCalcNode* call) {
    CCalcNode* condition = call->GetAt(0);
    if (IsLiteral(condition)) return condition;
    if (condition->GetKind() == NodeArgument && condition->GetCount() == 1 && IsLiteral(condition->GetAt(0))) {
        return condition->GetAt(0);
    }
    return nullptr;
}

// Replaces the branch of a decided IF that its condition rules out by the
// number 0, so that it is never evaluated.  A text condition counts as false.
void PruneIf(CCalcNode* call) {
    if (call->GetCount() < 3) return;
    CCalcNode* condition = ConditionLiteral(call);
    if (!condition) return;
    const bool isTrue = condition->GetKind() == NodeNumber && !(condition->GetNumber() == 0);
    CCalcNode* branch = call->GetAt(isTrue ? 2 : 1);
    if (branch->GetCount() == 0) return;
    branch->RemoveAll();
    branch->SetNumber(0, 0);
    branch->SetKind(NodeNumber);
}

// The step a node asks for once none of its children needs work.
CCalcNode* OwnStep(CCalcNode* node, int& code) {
    const size_t count = node->Children().size();
    switch (KindOf(node)) {
    case NodeRoot:
        if (count > 1) {
            code = STEP_EVALUATE;
            return node;
        }
        // The root takes the value of its last operand and is done.
        if (CCalcNode* only = FirstChild(node)) node->CopyFrom(*only);
        node->RemoveAll();
        break;
    case NodeGroup:
        code = count > 1 ? STEP_EVALUATE : STEP_UNWRAP;
        return node;
    case NodeFunction:
        code = STEP_FUNCTION;
        return node;
    case NodeArgument:
        if (count > 1) {
            code = STEP_EVALUATE;
            return node;
        }
        break;
    default:
        break;
    }
    code = STEP_NONE;
    return nullptr;
}

uint8_t LiteralBit(CCalcNode* node) {
    const uint8_t kind = KindOf(node);
    return kind == NodeNumber ? 1 : kind == NodeString ? 2 : 0;
}

}  // namespace

// Answers a leaf at once (a name needs the host), or opens the node for its
// children.  Most nodes entered are leaves, so this part is inline.
inline CStepWalk::Entered CStepWalk::Enter(CCalcNode* node, int& code) {
    if (!node->Children().empty()) {
        Open(node);
        return Entered::Open;
    }
    if (KindOf(node) != NodeName) return Entered::Leaf;
    code = STEP_NAME;
    return Entered::Found;
}

// Prunes an IF whose condition is decided, and takes the node's children
// next.  Pruning leaves the call its arguments.
void CStepWalk::Open(CCalcNode* node) {
    const bool isIf = IsIfCall(node);
    if (isIf) PruneIf(node);
    m_open.push_back({node, 0, isIf});
}

// A child that needs nothing more: its list learns its literal kind.
void CStepWalk::NoteLeaf(CCalcNode* leaf) {
    if (m_open.empty()) return;
    Frame& list = m_open.back();
    if (list.kindsKnown) list.literalKinds |= LiteralBit(leaf);
}

void CStepWalk::Restart() {
    m_open.clear();
    m_pLast = nullptr;
    m_nLastCode = STEP_NONE;
}

CCalcNode* CStepWalk::Next(CCalcNode* root, int& code) {
    code = STEP_NONE;
    m_pLast = nullptr;
    if (!root) return nullptr;
    // A list dropped since the last step (by a host working on the tree
    // itself) leaves nothing to resume.
    if (!m_open.empty() && m_open.back().node->IsDead()) m_open.clear();
    CCalcNode* found = nullptr;
    if (m_open.empty()) {
        // From the root: at the start, or again after the root itself was
        // the last step.
        if (Enter(root, code) == Entered::Found) found = root;
    }
    while (!found && !m_open.empty()) {
        Frame& top = m_open.back();
        const std::vector<CCalcNode*>& children = top.node->Children();
        if (top.next < children.size()) {
            const size_t i = top.next++;
            // A condition decided by its last step prunes before any branch
            // is entered.
            if (i > 0 && top.isIf) PruneIf(top.node);
            CCalcNode* child = children[i];
            switch (Enter(child, code)) {
            case Entered::Found:
                top.next = i;  // taken afresh once the host has answered
                found = child;
                break;
            case Entered::Leaf:
                NoteLeaf(child);
                break;
            case Entered::Open:
                break;  // `top` is invalid from here
            }
            continue;
        }
        CCalcNode* node = top.node;
        m_open.pop_back();
        found = OwnStep(node, code);
        // The step changes the node; the next round takes it afresh.
        if (found && !m_open.empty()) --m_open.back().next;
    }
    m_pLast = found;
    m_nLastCode = code;
    return found;
}

bool CStepWalk::PendingListMixesTypes(CCalcNode* term) {
    Frame& list = m_open.back();
    if (!list.kindsKnown) {
        for (CCalcNode* child : list.node->Children()) list.literalKinds |= LiteralBit(child);
        list.kindsKnown = true;
    }
    list.literalKinds |= LiteralBit(term);
    return list.literalKinds == 3;
}

CCalcNode* NextStep(CCalcNode* root, int& code) {
    CStepWalk walk;
    return walk.Next(root, code);
}

}  // namespace qorcalc::expr
