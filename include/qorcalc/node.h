// CCalcNode: the expression-tree node, at once a piece of formula syntax and
// a value holder.
//
// A compiled formula is a tree of nodes.  Evaluation never makes new value
// objects: it rewrites the tree in place, folding children into their parent
// until the root holds the result.  Invariants every node keeps:
//   - a node owns its children and deletes them when it is deleted or
//     cleared; the parent pointer is not owning and is null at the root;
//   - the value is dual: bit 0 of the validity mask says the number is
//     current, bit 1 that the text is; the other form is rebuilt on demand
//     (a fresh node holds the number 0, mask 1);
//   - a list node (root, group, argument) holds operands and operators in
//     source order; a function node holds one argument node per argument.
//
// Depth: deleting, cloning, writing and walking a tree are iterative and work
// at any depth; brackets nest at most CALC_MAX_NESTING deep.
//
// Compiled trees: the root of a compiled formula keeps the state of its
// calculation beside its nodes (the position of the step walk, which goes on
// where the previous step left it, so that one calculation costs time linear
// in the size of the tree).  Every node of such a tree knows its tree.  A
// node the tree lets go of (folded by evaluation, dropped by a re-conversion
// or removed) is not freed but kept, marked dead and emptied, until the root
// is deleted: a node pointer a host still holds stays safe to hand back, and
// the calculator refuses it as stale.
//
// Recycling: the engine makes its nodes with Make and, once a tree is done
// with one, keeps it for the next tree on the same thread (children storage
// and short texts included) instead of freeing it.  Only nodes of exactly
// this class are kept, and every kept node is an ordinary heap object, so a
// host may still make nodes with new and delete any node it owns; the
// memory of a node deleted whole serves the thread's next node.
//
// No member throws.  On exhausted memory Clone gives null, Add and
// CountFunctions -1, SetText, SetLiteral, ClassifyToken and GetFunctionCall
// 0, and the texts and arrays a member fills are left empty; SetText and the
// value setters leave the node as it was, or holding its number alone; the
// failure (message 1305) is the last error.  Letting go of nodes allocates
// nothing.
#pragma once

#include <qorcalc/buffer.h>
#include <qorcalc/collections.h>
#include <qorcalc/export.h>
#include <qorcalc/limits.h>
#include <qorcalc/string.h>

#include <cstddef>
#include <cstdint>
#include <new>
#include <string_view>
#include <vector>

class CCalcTree;
namespace qorcalc::expr {
struct CThreadSpares;
}

enum ENUM_NODE_KIND : uint8_t {
    NodeEmpty = 0,     // blank; during evaluation: about to be removed
    NodeRoot = 1,      // a compiled formula: a flat list
    NodeGroup = 2,     // "(" ... ")": a flat list
    NodeFunction = 3,  // a call; text is the name, one argument node per argument
    NodeArgument = 4,  // one argument of a call: a flat list
    NodeName = 5,      // a name whose value the host supplies
    NodeNumber = 6,
    NodeString = 7,
    NodeOperator = 8,  // op holds the operator code
};

enum ENUM_NODE_OP : uint8_t {
    OpNone = 0,
    OpEqual = 1,
    OpGreater = 2,
    OpLess = 3,
    OpGreaterEqual = 4,
    OpLessEqual = 5,
    OpNotEqual = 6,
    OpAnd = 10,
    OpOr = 11,
    OpNot = 12,
    OpMultiply = '*',
    OpAdd = '+',
    OpSubtract = '-',
    OpDivide = '/',
};

// What the evaluator's step selection asks its driver to do next.
enum ENUM_STEP {
    STEP_NONE = 0,      // nothing left to do; no node
    STEP_EVALUATE = 1,  // reduce the node's operator list
    STEP_NAME = 2,      // the host must supply the name's value
    STEP_FUNCTION = 3,  // call the function
    STEP_UNWRAP = 4,    // a group holding one child: unwrap it
};


// The abstract node as hosts see it.
class QORCALC_API ICalcNode {
public:
    virtual ~ICalcNode() = default;
    virtual ICalcNode* Clone() = 0;
    virtual int GetCount() = 0;
    virtual void RemoveAt(int index) = 0;
    virtual void RemoveAll() = 0;
    virtual ICalcNode* GetAt(int index) = 0;
    virtual ICalcNode* GetParent() = 0;
    virtual void Write(CWriter& writer) = 0;
    virtual void GetFormula(CString& out) = 0;
    virtual void WriteConverted(CWriter& writer, int nextToText) = 0;
    virtual void Collect(CPtrArray& list, uint8_t kind) = 0;
    virtual void GetRoundedText(CString& out, int decimals) = 0;
    virtual void GetText(CString& out, int quote) = 0;
    virtual int SetText(const CString& text) = 0;
    virtual uint8_t GetKind() = 0;
    virtual int CountFunctions() = 0;
    virtual void GetFunctionNames(CStringArray& names) = 0;
    virtual int GetFunctionCall(CString& name, CStringArray& args, int raw) = 0;
    virtual void GetNames(CStringArray& names) = 0;
};

class QORCALC_API CCalcNode : public ICalcNode {
public:
    explicit CCalcNode(CCalcNode* parent, uint8_t kind = NodeEmpty);
    ~CCalcNode() override;
    // A node deleted whole (a root its host deletes) leaves its memory to
    // the next node its thread makes with new, within the bound of kept
    // nodes, and its children storage to the next root.  Memory of another
    // size (a host's own node class with members of its own) is the global
    // allocator's.  The nothrow and placement forms are the usual ones.
    static void* operator new(std::size_t size);
    static void* operator new(std::size_t size, const std::nothrow_t&) noexcept;
    static void* operator new(std::size_t, void* where) noexcept { return where; }
    static void operator delete(void* block, std::size_t size) noexcept;
    static void operator delete(void* block, const std::nothrow_t&) noexcept;
    static void operator delete(void*, void*) noexcept {}
    CCalcNode(const CCalcNode&) = delete;
    CCalcNode& operator=(const CCalcNode&) = delete;

    // A deep copy whose parent is null.
    CCalcNode* Clone() override;
    int GetCount() override { return static_cast<int>(m_children.size()); }
    // Deletes the child at `index`; an index outside the children does nothing.
    void RemoveAt(int index) override;
    void RemoveAll() override;
    // Null for an index outside the children.
    CCalcNode* GetAt(int index) override;
    CCalcNode* GetParent() override { return m_pParent; }
    // The formula text of the subtree.
    void Write(CWriter& writer) override;
    void GetFormula(CString& out) override;
    // The alternative text form: strings in double quotes, and "+" next to
    // a non-numeric string written as " & ".
    void WriteConverted(CWriter& writer, int nextToText) override;
    // Appends every node of the subtree whose kind is `kind`, in pre-order.
    void Collect(CPtrArray& list, uint8_t kind) override;
    // The unquoted text, rounded to `decimals` for a number (-1: as it is).
    void GetRoundedText(CString& out, int decimals) override;
    // A number's text is built from the number when stale ("0" when empty);
    // with `quote` a string is wrapped in apostrophes, or in double quotes
    // when it holds an apostrophe.
    void GetText(CString& out, int quote) override;
    // Sets the text with its surrounding quotes removed (mask 2, kind kept);
    // returns 1 when quotes were removed.
    int SetText(const CString& text) override;
    uint8_t GetKind() override { return m_kind; }
    int CountFunctions() override;
    // The distinct function names of the subtree, first spelling kept.
    void GetFunctionNames(CStringArray& names) override;
    // For a call: its name and argument texts (quoted unless `raw`); 0 for
    // any other node.
    int GetFunctionCall(CString& name, CStringArray& args, int raw) override;
    // The distinct names of the subtree that the host must resolve.
    void GetNames(CStringArray& names) override;

    // Removes the children and resets the value to the number 0.
    virtual void Clear();
    // Appends `child` (whose parent was given at its construction); returns
    // its index, or -1 for a null child.
    virtual int Add(CCalcNode* child);
    virtual double GetNumber();
    // roundTrip: the number becomes what its own text reads back as (mask
    // 3).  Otherwise the text goes stale (mask 1), except that a node whose
    // number already equals `value` is left entirely as it is.
    virtual void SetNumber(double value, int roundTrip);
    // GetText for display: a number's empty text stays empty unless bit 6 of
    // `format` is set, and bit 7 applies the display format.
    virtual void GetDisplayText(CString& out, int quote, uint8_t format);
    // 1 when a direct child is a comparison or logical operator.
    virtual int HasLogicOrCompare();
    // Sets a literal from its text: an unquoted pure number becomes a number
    // node, anything else a string node.  Returns 1 when quotes were removed.
    virtual int SetLiteral(const CString& text);
    virtual int IsCompareOperator();
    virtual int IsLogicOperator();

    // Copies kind, op, value and position (not children, not parent).
    void CopyValue(const CCalcNode& source);
    // CopyValue for the engine's own use: throws when the text cannot be
    // copied (the node is then left as it was).
    QORCALC_LOCAL void CopyFrom(const CCalcNode& source);
    // A group with children takes its first child's value and drops them.
    void Unwrap();
    // Sets text and op from an operator spelling; 0 for no operator.
    int ClassifyOperator(const CString& text);
    // Decides what a bare token is (string, number or name); returns 1 when
    // it is a name the host must resolve.  Drops the children.
    int ClassifyToken(const CString& text);

    void SetKind(uint8_t kind) { m_kind = kind; }
    uint8_t GetOp() const { return m_op; }
    void SetOp(uint8_t op) { m_op = op; }
    int GetPosition() const { return m_position; }
    void SetPosition(int position) { m_position = position; }
    uint8_t GetValidMask() const { return m_valid; }
    // The text as it stands, without conversion or quotes.
    const CString& RawText() const { return m_text; }
    // Sets the text exactly as given (no quote removal), mask 2.
    void AssignText(const CString& text);
    // AssignText for the engine's own use, from any text (throws when the
    // text cannot be copied).
    QORCALC_LOCAL void SetTextFrom(std::u16string_view text);
    // SetLiteral of a text that carries no quotes to remove, as SetTextFrom
    // sets it; `form` is what util::MeasureNumberForm says of the text.
    QORCALC_LOCAL void SetLiteralFrom(std::u16string_view text, int form);

    // The children array, for the evaluator's in-place list rewriting.
    // Whoever edits it keeps the ownership invariant, and lets go of a node
    // it takes out with Discard.
    std::vector<CCalcNode*>& Children() { return m_children; }

    // Lets go of a node no parent holds any more, with its subtree: a node
    // of a compiled tree is kept dead by its tree, any other one is deleted.
    static void Discard(CCalcNode* node);
    // Deletes a node the caller owns (a root, or a node of no tree), with
    // its subtree, as `delete` does, except that the engine keeps its plain
    // nodes for the next trees this thread makes: a host that clones a
    // compiled formula for every calculation gives its clones back here.
    static void Release(CCalcNode* node);
    // Clone for a host that calculates copies of its compiled formulas one
    // after another: `spent`, a copy it is done with (calculated or not, of
    // this formula or another), is given up, and its root, nodes and state
    // make the new copy where they can.  The same as Clone() followed by
    // Release(spent), except that the copy may be `spent` itself; null
    // `spent` is a plain Clone().
    CCalcNode* CloneReusing(CCalcNode* spent);
    // The argument texts of a call as its function receives them: unquoted.
    enum ENUM_ARGUMENTS { ArgumentsQuoted, ArgumentsRaw, ArgumentsUnquoted };
    QORCALC_LOCAL void WriteArguments(CStringArray& args, int form);

    // A node of the engine's own: one let go of earlier on this thread when
    // there is one, else a new one; as `new CCalcNode(parent, kind)` would be.
    QORCALC_LOCAL static CCalcNode* Make(CCalcNode* parent, uint8_t kind = NodeEmpty);
    // Make for a root (`spares`: the thread's, null for none): in the memory
    // and with the children storage of a root deleted before when there is
    // one, so that a host deleting each root it is done with and building
    // the next one allocates nothing for it.
    QORCALC_LOCAL static CCalcNode* MakeRoot(qorcalc::expr::CThreadSpares* spares, uint8_t kind);

    // 1 once the node's tree has let go of it.
    int IsDead() const { return m_bDead; }
    // The tree this node belongs to (null for a node of no compiled tree).
    CCalcTree* GetTree() const { return m_pTree; }

private:
    friend class CCalcTree;
    struct WriteFrame;
    QORCALC_LOCAL void WriteTree(CWriter& writer, bool converted, bool nextToText);
    QORCALC_LOCAL void WriteSelf(CWriter& writer, bool converted, bool nextToText, bool& opened);
    QORCALC_LOCAL void CollectDistinctTexts(CStringArray& texts, uint8_t kind);
    QORCALC_LOCAL int FunctionCall(CString& name, CStringArray& args, int raw);
    QORCALC_LOCAL void TextInto(CString& out, int quote);
    QORCALC_LOCAL int ClassifyInto(const CString& text);
    QORCALC_LOCAL const CString& CurrentNumberText();
    QORCALC_LOCAL void ReadLiteral(int form);
    QORCALC_LOCAL static void DeleteChildren(std::vector<CCalcNode*>& children);
    // Lets go of the children, and of the tree when this is its root.
    QORCALC_LOCAL void LetGoOfSubtree();
    // Keeps the emptied children storage of a node being deleted for the
    // thread's next root.
    QORCALC_LOCAL void HandOnChildrenStorage();
    // Frees a childless node no parent holds, or keeps it with the thread's
    // spares (null: none) for Make.
    QORCALC_LOCAL static void Free(CCalcNode* node, qorcalc::expr::CThreadSpares* spares);
    // Free for a node already emptied for reuse.
    QORCALC_LOCAL static void Keep(CCalcNode* node, qorcalc::expr::CThreadSpares* spares);
    // Empties text and children storage, keeping what is small enough to
    // serve the node's next use.
    QORCALC_LOCAL void EmptyForReuse();
    // The part of EmptyForReuse that frees storage too large to keep.
    QORCALC_LOCAL void GiveBackStorage();
    QORCALC_LOCAL static CCalcNode* Make(qorcalc::expr::CThreadSpares* spares, CCalcNode* parent, uint8_t kind);
    QORCALC_LOCAL static void LetGo(CCalcNode* node, qorcalc::expr::CThreadSpares* spares);
    // A childless node no parent holds, kept dead by its tree if the tree
    // keeps its nodes; false when it does not.
    QORCALC_LOCAL static bool RetireIfKept(CCalcNode* node);
    // Discard with the thread's spares at hand.
    QORCALC_LOCAL static void DiscardWith(CCalcNode* node, qorcalc::expr::CThreadSpares* spares);
    QORCALC_LOCAL void Reset(CCalcNode* parent, uint8_t kind);
    // Reset's part that makes a kept node `parent`'s child, alive.
    QORCALC_LOCAL void Join(CCalcNode* parent);
    // Make for a copy of `source`, of a node from `reused` (dead nodes of a
    // spent copy; null: none) before the thread's spares: everything but its
    // text set at once.
    QORCALC_LOCAL static CCalcNode* MakeCopyOf(qorcalc::expr::CThreadSpares* spares,
                                               std::vector<CCalcNode*>* reused, CCalcNode* parent,
                                               const CCalcNode& source);
    // Copies the subtree below this node into `copy`, a copy of this node
    // alone, its nodes made with MakeCopyOf.
    QORCALC_LOCAL void CopyChildrenInto(CCalcNode* copy, qorcalc::expr::CThreadSpares* spares,
                                        std::vector<CCalcNode*>* reused) const;
    // CloneReusing where `spent` is a plain root of its own tree.
    QORCALC_LOCAL CCalcNode* CloneOnto(CCalcNode* spent);
    // CopyFrom but for the text.
    QORCALC_LOCAL void CopyFieldsOf(const CCalcNode& source);

    uint8_t m_kind;
    uint8_t m_op = OpNone;
    int32_t m_position = 0;
    std::vector<CCalcNode*> m_children;
    CCalcNode* m_pParent;
    uint8_t m_valid = 1;
    uint8_t m_bDead = 0;
    uint8_t m_bAnswered = 0;  // the host's value has been set (SetTermValue)
    CString m_text;
    double m_number = 0.0;
    CCalcTree* m_pTree;
};
