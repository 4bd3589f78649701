// Evaluation of expression trees: choosing the next step, reducing operator
// lists, and the checks a freshly compiled tree must pass.
//
// The reduction is destructive and works in the nodes themselves: a list
// ends as a value (number or string) without children.  Errors are message
// ids of the host's catalogue: 1003 for an expression that cannot be
// reduced, 1005 for numbers and texts mixed while the complex mode is off.
// Every operation here is linear in the size of the list or tree it is
// given, and none of them recurses.
#pragma once

#include <qorcalc/node.h>
#include <qorcalc/string.h>

#include <cstdint>

namespace qorcalc::expr {

constexpr uint32_t kMsgCannotReduce = 1003;
constexpr uint32_t kMsgMixedTypes = 1005;

// The next node to work on below `root`, with the work it needs in `code`
// (ENUM_STEP); null with STEP_NONE when the root holds its final value.
// Children come before their parent, left to right, and the condition of an
// IF before its branches; the branch that the condition rules out is pruned
// to the number 0 and never evaluated.
CCalcNode* NextStep(CCalcNode* root, int& code);

// Reduces the operator list of a root, group or argument node to one value
// held by the node.  On failure returns 0 with the message id and its text,
// formatted with the node's formula text as the partial reduction left it
// (after a logical operator the node already holds the value so far, and
// that value is what it writes).  A list whose single comparison
// remains after its arithmetic keeps three children: call again while the
// node has children.
int EvaluateList(CCalcNode* node, uint8_t format, uint32_t& errorCode, CString& errorText);

// One round of arithmetic on a list without logical operators: unary minus,
// "*" and "/", then "+" and "-", then the comparison.
int ReduceArithmetic(CCalcNode* node, uint8_t format, uint32_t& errorCode);

// The check after a compile: types, then operator placement.  On failure
// the message is recorded as the last error and `position` is the offending
// node's (-1 when none applies).
int CheckTree(CCalcNode* root, const CString& formula, int& position);
// The type part of CheckTree alone (a no-op in the complex mode).
int CheckTypes(CCalcNode* root, const CString& formula, int& position);
// The first direct child that is a literal of the other kind than the
// first literal of the list, or null.
CCalcNode* FindMixedLiteral(CCalcNode* list);

// op is an operator code of a comparison; any other code compares "<>".
int CompareNumbers(double a, uint8_t op, double b);
int CompareTexts(const CString& a, uint8_t op, const CString& b);
// The addition behind "+" and "-": beyond +-10000 the whole parts are added
// as 64-bit integers so that large sums keep their integer digits exact.
double AddPrecise(double a, double b);

}  // namespace qorcalc::expr
