// Evaluation of expression trees: choosing the next step, reducing operator
// lists, and the checks a freshly compiled tree must pass.
//
// The reduction is destructive and works in the nodes themselves: a list
// ends as a value (number or string) without children.  Errors are message
// ids of the host's catalogue: 1003 for an expression that cannot be
// reduced, 1005 for numbers and texts mixed while the complex mode is off.
// Every operation here is linear in the size of the list or tree it is
// given, and none of them recurses; the step walk over a whole calculation
// is linear in the size of the tree.
#pragma once

#include <qorcalc/message_ids.h>

#include <qorcalc/node.h>
#include <qorcalc/string.h>

#include <cstdint>
#include <vector>

namespace qorcalc::expr {

constexpr uint32_t kMsgCannotReduce = CALC_MSG_BAD_EXPRESSION;
constexpr uint32_t kMsgMixedTypes = CALC_MSG_MIXED_TYPES;

// A node's kind as CCalcNode holds it.  The walk and the reduction read the
// kind of every node they pass, so they read it inline instead of through a
// virtual call per node.
inline uint8_t KindOf(CCalcNode* node) { return node->CCalcNode::GetKind(); }

// The walk that chooses the steps of one tree, in children-before-parent
// order, left to right, the condition of an IF before its branches; the
// branch that a decided condition rules out is pruned to the number 0 and
// never evaluated.  The walk is kept between steps: each step may change
// only the node it returned (and that node's subtree), so the next step
// resumes there, taking that node afresh, instead of searching from the
// root.  Anything else that changes the tree must Restart the walk.
class CStepWalk {
public:
    // The next node to work on below `root`, with the work it needs in
    // `code` (ENUM_STEP); null with STEP_NONE when the root holds its value.
    CCalcNode* Next(CCalcNode* root, int& code);
    // The next Next starts from the root again.
    void Restart();
    // Whether `term` is the name or call that the last step returned, still
    // where the walk left it.
    bool IsPendingAnswer(CCalcNode* term) const {
        if (!term || term != m_pLast || (m_nLastCode != STEP_NAME && m_nLastCode != STEP_FUNCTION)) return false;
        if (m_open.empty()) return false;
        const Frame& list = m_open.back();
        const std::vector<CCalcNode*>& children = list.node->Children();
        return list.next < children.size() && children[list.next] == term;
    }
    // For a term IsPendingAnswer accepts, in a tree whose lists passed the
    // type check when converted: whether its list now holds numbers and
    // texts side by side.  Only that list can have changed since, and it
    // keeps the kinds of literals it has held (they never go away before
    // the list itself is reduced), so this costs constant time per answer.
    bool PendingListMixesTypes(CCalcNode* term);

private:
    struct Frame {
        CCalcNode* node;
        size_t next;               // the next child to visit
        bool isIf;                 // a call of IF (its name never changes while open)
        uint8_t literalKinds = 0;  // bits of the literal kinds among the children
        bool kindsKnown = false;
    };
    enum class Entered { Leaf, Found, Open };
    Entered Enter(CCalcNode* node, int& code);
    void Open(CCalcNode* node);
    void NoteLeaf(CCalcNode* leaf);

    std::vector<Frame> m_open;
    CCalcNode* m_pLast = nullptr;  // what the last step returned
    int m_nLastCode = 0;
};

// A walk of its own from the root: the first step of `root`.
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
// the message is recorded as the last error, `position` is the offending
// node's (-1 when none applies) and `messageId`, when given, the message's id.
int CheckTree(CCalcNode* root, const CString& formula, int& position, uint32_t* messageId = nullptr);
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
