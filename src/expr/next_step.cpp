// Step selection: the first node, in children-before-parent order, that
// needs work.  The walk keeps its own stack, so a tree of any depth is safe;
// each round costs time linear in the nodes it passes.
#include "expr/evaluate.h"

#include <vector>

namespace qorcalc::expr {

namespace {

// The walk runs over the whole tree once per step, so it reads kinds and
// children through CCalcNode's own inline accessors instead of a virtual
// call per node and field.
uint8_t KindOf(CCalcNode* node) { return node->CCalcNode::GetKind(); }

CCalcNode* FirstChild(CCalcNode* node) {
    const std::vector<CCalcNode*>& children = node->Children();
    return children.empty() ? nullptr : children.front();
}

bool IsIfCall(CCalcNode* node) {
    return KindOf(node) == NodeFunction && node->RawText().CompareNoCase(u"IF") == 0;
}

// The deepest IF call on the chain of first children from `node` (itself
// included), or null.
CCalcNode* DeepestIfOnFirstChain(CCalcNode* node) {
    CCalcNode* found = nullptr;
    for (CCalcNode* n = node; n; n = FirstChild(n)) {
        if (IsIfCall(n)) found = n;
    }
    return found;
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
        if (CCalcNode* only = FirstChild(node)) node->CopyValue(*only);
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

struct Frame {
    CCalcNode* node;
    int next;  // the next child to visit
};

enum class Entered { Leaf, Found, Open };

// Enters `node`: answers a leaf at once, jumps to the deepest IF on its
// first-child chain (an IF decides what of its subtree runs), prunes that
// IF, or opens the node for its children.  `chainHasNoIf` says the chain
// below is known to hold no IF, which keeps the search linear per round.
Entered Enter(CCalcNode* node, bool chainHasNoIf, std::vector<Frame>& open, CCalcNode*& found, int& code) {
    if (!chainHasNoIf) {
        if (CCalcNode* call = DeepestIfOnFirstChain(node)) {
            node = call;
            PruneIf(call);
        }
    }
    if (node->Children().empty()) {
        if (KindOf(node) != NodeName) return Entered::Leaf;
        found = node;
        code = STEP_NAME;
        return Entered::Found;
    }
    open.push_back({node, 0});
    return Entered::Open;
}

}  // namespace

CCalcNode* NextStep(CCalcNode* root, int& code) {
    code = STEP_NONE;
    if (!root) return nullptr;
    // The walk's stack is kept between rounds: the driver asks once per step,
    // and a fresh allocation each time would cost more than the walk itself.
    static thread_local std::vector<Frame> open;
    open.clear();
    CCalcNode* found = nullptr;
    if (Enter(root, false, open, found, code) == Entered::Found) return found;
    while (!open.empty()) {
        Frame& top = open.back();
        const std::vector<CCalcNode*>& children = top.node->Children();
        if (top.next < static_cast<int>(children.size())) {
            const int i = top.next++;
            // Below the first child the chain is the parent's, already searched.
            if (Enter(children[static_cast<size_t>(i)], i == 0, open, found, code) == Entered::Found) return found;
            continue;
        }
        CCalcNode* node = top.node;
        open.pop_back();
        if (CCalcNode* step = OwnStep(node, code)) return step;
    }
    return nullptr;
}

}  // namespace qorcalc::expr
