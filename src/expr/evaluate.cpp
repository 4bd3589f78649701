// Reduction of operator lists: arithmetic with its two precedence levels and
// one comparison, then the logical operators over the arithmetic segments.
// Lists are rewritten in place with compacting passes, so reducing a list
// costs time linear in its length.
#include "expr/evaluate.h"

#include "support/thread_spare.h"

#include <qorcalc/api.h>
#include <qorcalc/limits.h>
#include <qorcalc/message_ids.h>
#include <qorcalc/utility.h>

#include <algorithm>
#include <memory>
#include <vector>

namespace qorcalc::expr {

namespace {

const char16_t kInfinity[] = u"∞";

bool IsOperator(CCalcNode* node, uint8_t op) { return KindOf(node) == NodeOperator && node->GetOp() == op; }

bool IsEitherOperator(CCalcNode* node, uint8_t opA, uint8_t opB) {
    return KindOf(node) == NodeOperator && (node->GetOp() == opA || node->GetOp() == opB);
}

bool IsNumberOrText(CCalcNode* node) { return KindOf(node) == NodeNumber || KindOf(node) == NodeString; }

bool TextPassesAsNumber(CCalcNode* node, int allowComma) {
    CString text;
    node->GetText(text, 0);
    return CUtilityCalc::IsPureNumber(text, allowComma) != 0;
}

// Makes two operands fit for `op`.  Numbers meet numbers and texts meet texts
// (texts only with "+" and comparisons).  In the complex mode numeric texts
// become numbers, and otherwise "+" and the comparisons turn the numbers into
// texts, so that they join or compare as texts.
bool MakeCompatible(CCalcNode* left, CCalcNode* right, uint8_t op, uint8_t format) {
    if (!IsNumberOrText(left) || !IsNumberOrText(right)) return false;
    const bool numericOp = op == OpSubtract || op == OpMultiply || op == OpDivide;
    if (KindOf(left) == KindOf(right)) {
        if (KindOf(left) == NodeNumber || !numericOp) return true;
    }
    if (!CUtilityCalc::Calc_IsComplexEnabled()) return false;
    CCalcNode* pair[] = {left, right};
    const bool textsAreNumbers = std::all_of(std::begin(pair), std::end(pair), [](CCalcNode* n) {
        return KindOf(n) != NodeString || TextPassesAsNumber(n, 1);
    });
    if (textsAreNumbers) {
        for (CCalcNode* n : pair) {
            if (KindOf(n) == NodeString) {
                n->SetKind(NodeNumber);
                n->AssignText(n->RawText());  // mask 2: parsed on first use
            }
        }
        return true;
    }
    if (numericOp) return false;
    for (CCalcNode* n : pair) {
        if (KindOf(n) != NodeNumber) continue;
        CString text;
        n->GetDisplayText(text, 0, format);
        n->SetText(text);
        n->SetKind(NodeString);
    }
    return true;
}

// left = left op right, for compatible operands.  False, with nothing
// built, when the joined text would pass CALC_MAX_TEXT_LENGTH.
bool Combine(CCalcNode* left, CCalcNode* right, uint8_t op) {
    if (KindOf(left) == NodeString) {
        if (left->RawText() == kInfinity || right->RawText() == kInfinity) {
            left->AssignText(kInfinity);
        } else if (right->RawText().GetLength() > CALC_MAX_TEXT_LENGTH - left->RawText().GetLength()) {
            return false;
        } else {
            left->AssignText(left->RawText() + right->RawText());
        }
        return true;
    }
    const double a = left->GetNumber();
    const double b = right->GetNumber();
    switch (op) {
    case OpMultiply: left->SetNumber(a * b, 0); break;
    case OpAdd: left->SetNumber(AddPrecise(a, b), 0); break;
    case OpSubtract: left->SetNumber(AddPrecise(a, -b), 0); break;
    default:
        // Division by zero is no error: 0/0 is 0, anything else reads "∞".
        if (b != 0) {
            left->SetNumber(a / b, 0);
        } else if (a == 0) {
            left->SetNumber(0, 1);
        } else {
            left->SetText(kInfinity);
        }
        break;
    }
    return true;
}

// Applies every unary minus: a "-" first in the list or right after the
// comparison negates the number after it.
bool ApplyUnaryMinus(std::vector<CCalcNode*>& list) {
    bool any = false;
    for (size_t i = 0; i < list.size(); ++i) {
        const bool unary = IsOperator(list[i], OpSubtract) &&
                           ((i == 0 && list.size() > 1) || (i > 0 && list[i - 1]->IsCompareOperator()));
        if (!unary) continue;
        if (i + 1 >= list.size()) return false;
        CCalcNode* operand = list[i + 1];
        if (KindOf(operand) == NodeString && CUtilityCalc::Calc_IsComplexEnabled() &&
            TextPassesAsNumber(operand, 0)) {
            operand->SetKind(NodeNumber);
            operand->SetText(operand->RawText());
        }
        if (KindOf(operand) != NodeNumber) return false;
        operand->SetNumber(-operand->GetNumber(), 1);
        list[i]->SetKind(NodeEmpty);
        any = true;
    }
    if (any) {
        auto kept = std::stable_partition(list.begin(), list.end(),
                                          [](CCalcNode* n) { return KindOf(n) != NodeEmpty; });
        std::for_each(kept, list.end(), CCalcNode::Discard);
        list.erase(kept, list.end());
    }
    return true;
}

// One left-to-right pass over the operators `opA` and `opB`: each one folds
// its right operand into its left one.  The list is compacted as it goes
// (w never passes r); on failure (`errorCode` set) it is left as the
// reduction has made it.
bool ReducePass(std::vector<CCalcNode*>& list, uint8_t opA, uint8_t opB, uint8_t format, uint32_t& errorCode) {
    if (list.size() <= 2) return true;
    size_t w = 1;
    size_t r = 1;
    bool ok = true;
    while (r < list.size()) {
        CCalcNode* node = list[r];
        if (r + 1 < list.size() && IsEitherOperator(node, opA, opB)) {
            CCalcNode* left = list[w - 1];
            CCalcNode* right = list[r + 1];
            if (!MakeCompatible(left, right, node->GetOp(), format)) {
                errorCode = kMsgCannotReduce;
                ok = false;
                break;
            }
            if (!Combine(left, right, node->GetOp())) {
                errorCode = CALC_MSG_TEXT_TOO_LONG;
                ok = false;
                break;
            }
            CCalcNode::Discard(node);
            CCalcNode::Discard(right);
            r += 2;
        } else {
            list[w++] = list[r++];
        }
    }
    list.erase(std::copy(list.begin() + static_cast<std::ptrdiff_t>(r), list.end(),
                         list.begin() + static_cast<std::ptrdiff_t>(w)),
               list.end());
    return ok;
}

int CompareOperands(CCalcNode* node, uint8_t format) {
    std::vector<CCalcNode*>& list = node->Children();
    CCalcNode* left = list[0];
    CCalcNode* right = list[2];
    const uint8_t op = list[1]->GetOp();
    if (!MakeCompatible(left, right, op, format)) return 0;
    const int holds = KindOf(left) == NodeNumber ? CompareNumbers(left->GetNumber(), op, right->GetNumber())
                                                    : CompareTexts(left->RawText(), op, right->RawText());
    node->SetKind(NodeNumber);
    node->SetText(holds ? u"1" : u"0");
    node->RemoveAll();
    return 1;
}

void FormatError(CCalcNode* node, uint32_t errorCode, CString& errorText) {
    CString formula;
    node->GetFormula(formula);
    errorText = qorcalc::detail::FormatMessage(errorCode, formula);
}

// Reduces the operand segment moved back into `node` to its value.
bool ReduceSegment(CCalcNode* node, uint8_t format, uint32_t& errorCode) {
    while (node->GetCount() > 0) {
        if (!ReduceArithmetic(node, format, errorCode)) return false;
    }
    return true;
}

// The logical operators apply left to right without precedence; an or that
// meets a true value so far ends the list as true.  A "!" inverts the next
// operand (or, when none follows, the result).
int EvaluateLogic(CCalcNode* node, uint8_t format, uint32_t& errorCode, CString& errorText) {
    // The list is taken out of the node; each segment of operands between
    // two logical operators is moved back and folded into the node itself,
    // which then holds that value (and its kind) while the next segment is
    // reduced in it.  A later segment that fails is reported with the
    // node's text as it then stands, and stays in the node.
    support::CThreadSpare<std::vector<CCalcNode*>> taken;
    taken->swap(node->Children());
    const std::vector<CCalcNode*>& all = *taken;
    int acc = 0;
    bool pendingNot = false;
    uint8_t last = OpNone;
    int ok = 1;
    size_t i = 0;
    while (i < all.size()) {
        if (all[i]->IsLogicOperator()) {
            const uint8_t op = all[i]->GetOp();
            CCalcNode::Discard(all[i++]);
            if (op == OpNot) {
                pendingNot = true;
                continue;
            }
            last = op;
            if (last == OpOr && acc) break;
            continue;
        }
        const size_t end = static_cast<size_t>(
            std::find_if(all.begin() + static_cast<std::ptrdiff_t>(i), all.end(),
                         [](CCalcNode* n) { return n->IsLogicOperator(); }) - all.begin());
        node->Children().assign(all.begin() + static_cast<std::ptrdiff_t>(i), all.begin() + static_cast<std::ptrdiff_t>(end));
        i = end;
        if (!ReduceSegment(node, format, errorCode)) {
            FormatError(node, errorCode, errorText);
            ok = 0;
            break;
        }
        bool truth = node->GetNumber() != 0;
        if (pendingNot) truth = !truth;
        pendingNot = false;
        if (last == OpAnd) {
            if (!truth) acc = 0;
        } else {
            acc = truth;
        }
        last = OpNone;
    }
    for (; i < all.size(); ++i) CCalcNode::Discard(all[i]);
    if (!ok) return 0;
    node->RemoveAll();
    node->SetKind(NodeNumber);
    node->SetOp(OpNone);
    node->SetNumber(pendingNot ? !acc : acc, 0);
    return 1;
}

}  // namespace

int ReduceArithmetic(CCalcNode* node, uint8_t format, uint32_t& errorCode) {
    auto fail = [&errorCode] {
        errorCode = kMsgCannotReduce;
        return 0;
    };
    std::vector<CCalcNode*>& list = node->Children();
    const size_t entryCount = list.size();
    const auto compares = std::count_if(list.begin(), list.end(), [](CCalcNode* n) { return n->IsCompareOperator(); });
    if (compares > 1 || !ApplyUnaryMinus(list)) return fail();
    if (!ReducePass(list, OpMultiply, OpDivide, format, errorCode) ||
        !ReducePass(list, OpAdd, OpSubtract, format, errorCode))
        return 0;
    if (compares == 0) {
        if (list.size() != 1) return fail();
        node->CopyFrom(*list[0]);
        node->RemoveAll();
        return 1;
    }
    if (list.size() != 3 || !list[1]->IsCompareOperator()) return fail();
    // A longer list stops here with both sides reduced; the next round
    // makes the comparison.
    if (entryCount >= 4) return 1;
    return CompareOperands(node, format) ? 1 : fail();
}

int EvaluateList(CCalcNode* node, uint8_t format, uint32_t& errorCode, CString& errorText) {
    if (!node || node->GetCount() == 0) return 1;
    if (!CUtilityCalc::Calc_IsComplexEnabled() && FindMixedLiteral(node)) {
        errorCode = kMsgMixedTypes;
        FormatError(node, errorCode, errorText);
        return 0;
    }
    const std::vector<CCalcNode*>& children = node->Children();
    if (std::none_of(children.begin(), children.end(), [](CCalcNode* n) { return n->IsLogicOperator(); })) {
        if (ReduceArithmetic(node, format, errorCode)) return 1;
        FormatError(node, errorCode, errorText);
        return 0;
    }
    return EvaluateLogic(node, format, errorCode, errorText);
}

}  // namespace qorcalc::expr
