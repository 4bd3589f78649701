// The checks a freshly compiled tree must pass before it is evaluated: no
// list mixes number and text literals (unless the complex mode lets them
// mix), and every operator stands where it can be applied.
#include "expr/evaluate.h"

#include "support/thread_spare.h"

#include <qorcalc/api.h>
#include <qorcalc/utility.h>

#include <vector>

namespace qorcalc::expr {

namespace {

// The placement check runs on a tree the converter has just built below
// its root, so the children it looks at are the converter's own nodes and
// are read as such (kinds and operators inline); only the list node itself
// may be a root of the host's class.
bool IsOperator(CCalcNode* node) { return KindOf(node) == NodeOperator; }

bool IsOperator(CCalcNode* node, uint8_t op) { return IsOperator(node) && node->GetOp() == op; }

bool IsLogic(CCalcNode* node) { return node->CCalcNode::IsLogicOperator(); }

// Whether operator `b` may directly follow operator `a`: a "!" after a
// logical operator, a unary "-" after a comparison or logical operator.
bool OperatorMayFollow(CCalcNode* a, CCalcNode* b) {
    if (IsLogic(a) && IsOperator(b, OpNot)) return true;
    return IsOperator(b, OpSubtract) && (a->CCalcNode::IsCompareOperator() || IsLogic(a));
}

// The first misplaced child of `node` (or the node itself for an empty
// group), or null.
CCalcNode* PlacementFault(CCalcNode* node) {
    const std::vector<CCalcNode*>& c = node->Children();
    if (c.empty()) return node->GetKind() == NodeGroup ? node : nullptr;
    if (IsOperator(c.front()) && (c.size() == 1 || !(IsOperator(c.front(), OpSubtract) || IsOperator(c.front(), OpNot)))) {
        return c.front();
    }
    if (node->GetKind() != NodeFunction) {
        for (size_t i = 1; i < c.size(); ++i) {
            CCalcNode* a = c[i - 1];
            CCalcNode* b = c[i];
            if (KindOf(a) == KindOf(b)) {
                if (!IsOperator(a) || !OperatorMayFollow(a, b)) return b;
            } else if (IsOperator(b, OpNot) && !IsLogic(a)) {
                return b;
            } else if (!IsOperator(a) && !IsOperator(b)) {
                return b;
            }
        }
    }
    return IsOperator(c.back()) ? c.back() : nullptr;
}

// Placement, children before their parent; the first fault found.
CCalcNode* FirstPlacementFault(CCalcNode* root) {
    struct Frame {
        CCalcNode* node;
        size_t next;
    };
    support::CThreadSpare<std::vector<Frame>> spare;
    std::vector<Frame>& open = *spare;
    open.push_back({root, 0});
    while (!open.empty()) {
        Frame& top = open.back();
        if (top.next < top.node->Children().size()) {
            CCalcNode* child = top.node->Children()[top.next++];
            // A leaf is its own list, faulty only as an empty group: taken
            // here, without a frame of its own.
            if (!child->Children().empty()) open.push_back({child, 0});  // invalidates `top`
            else if (KindOf(child) == NodeGroup) return child;
            continue;
        }
        CCalcNode* node = top.node;
        open.pop_back();
        if (CCalcNode* fault = PlacementFault(node)) return fault;
    }
    return nullptr;
}

}  // namespace

CCalcNode* FindMixedLiteral(CCalcNode* list) {
    uint8_t first = NodeEmpty;
    for (CCalcNode* child : list->Children()) {
        const uint8_t kind = child->GetKind();
        if (kind != NodeNumber && kind != NodeString) continue;
        if (first == NodeEmpty) {
            first = kind;
        } else if (kind != first) {
            return child;
        }
    }
    return nullptr;
}

int CheckTypes(CCalcNode* root, const CString& formula, int& position) {
    if (!root || CUtilityCalc::Calc_IsComplexEnabled()) return 1;
    // Parents before children, left to right.
    support::CThreadSpare<std::vector<CCalcNode*>> spare;
    std::vector<CCalcNode*>& pending = *spare;
    pending.push_back(root);
    while (!pending.empty()) {
        CCalcNode* node = pending.back();
        pending.pop_back();
        if (CCalcNode* mixed = FindMixedLiteral(node)) {
            CString text = formula;
            position = mixed->GetPosition();
            if (formula.IsEmpty()) {
                node->GetFormula(text);
                position = -1;
            }
            qorcalc::detail::ReportMessage(kMsgMixedTypes, text);
            return 0;
        }
        const std::vector<CCalcNode*>& children = node->Children();
        pending.insert(pending.end(), children.rbegin(), children.rend());
    }
    return 1;
}

int CheckTree(CCalcNode* root, const CString& formula, int& position, uint32_t* messageId) {
    position = -1;
    if (!root) return 1;
    uint32_t id = kMsgMixedTypes;
    if (CheckTypes(root, formula, position)) {
        CCalcNode* fault = FirstPlacementFault(root);
        if (!fault) return 1;
        position = fault->GetPosition();
        id = kMsgCannotReduce;
        qorcalc::detail::ReportMessage(id, formula);
    }
    if (messageId) *messageId = id;
    return 0;
}

}  // namespace qorcalc::expr
