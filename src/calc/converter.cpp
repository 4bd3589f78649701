#include "calc/converter.h"

#include <qorcalc/message_ids.h>
#include <qorcalc/utility.h>
#include <qorcalc/vek.h>

#include <algorithm>
#include <memory>

#include "expr/tree.h"
#include "support/text.h"
#include "util/number_form.h"

namespace qorcalc::calc {

namespace {

enum TokenKind : uint8_t { TokNone, TokQuoted, TokOperator, TokOpen, TokClose, TokComma, TokWord };

struct Token {
    CString text;
    uint8_t kind = TokNone;
    int start = -1;  // the first character that is not a blank

    bool IsEmpty() const { return text.IsEmpty(); }
    void Append(char16_t ch, int pos, uint8_t newKind) {
        if (start < 0) start = pos;
        text += ch;
        kind = newKind;
    }
    void Set(const char16_t* newText, int pos, uint8_t newKind) {
        if (start < 0) start = pos;
        text = newText;
        kind = newKind;
    }
};

int Fail(ConvertError& error, uint32_t id, int position) {
    error.messageId = id;
    error.position = position;
    return 0;
}

// Counts a node about to be made at `position`; fails past CALC_MAX_NODES.
bool CountNode(ConvertError& error, int position) {
    if (++error.nodeCount <= CALC_MAX_NODES) return true;
    Fail(error, CALC_MSG_TREE_TOO_LARGE, position);
    return false;
}

bool InQuotes(const ConvertSource& src, int pos) {
    return src.quoteStarts.GetSize() > 0 &&
           CVek::ArrayFindBetween(src.quoteStarts, src.quoteEnds, static_cast<uint32_t>(pos)) != -1;
}

bool IsOperatorWord(const CString& text) {
    if (text.IsEmpty() || text.GetLength() > 3) return false;  // most words: no comparison at all
    // Nor does a word that begins with any other ASCII character: ASCII
    // letters fold only to each other.
    switch (const char16_t first = text.Str().front()) {
        case u'a': case u'A': case u'o': case u'O': case u'n': case u'N': case u'&': case u'|': case u'!':
            break;
        default:
            if (first < 0x80) return false;
    }
    // The symbols compare whole, the words as C strings do, up to a NUL.
    const std::u16string_view whole(text.Str());
    const std::u16string_view word(text.GetString());
    return whole == u"&&" || whole == u"||" || whole == u"!" || support::EqualsNoCase(word, u"and") ||
           support::EqualsNoCase(word, u"or") || support::EqualsNoCase(word, u"not");
}

// Whether `tok`, about to open a bracket, is the negation "not(" or "!(".
bool IsNegationWord(const CString& text) {
    // "!" is the whole text; "not" compares as a C string, up to a NUL.
    return std::u16string_view(text.Str()) == u"!" || support::EqualsNoCase(std::u16string_view(text.GetString()), u"not");
}

// Adds a unit of a word or number to `tok`; false, taking nothing, when
// `tok` is an operator, which the unit ends.
bool TakeWordUnit(Token& tok, char16_t c, int& pos) {
    if (tok.kind == TokOperator) return false;
    tok.Append(c, pos++, TokWord);
    return true;
}

// Scans one token from `pos`; `pos` comes back on the first character not
// consumed.  Fails only for a quoted stretch that begins inside a word.
int ScanToken(const ConvertSource& src, int& pos, Token& tok, ConvertError& error) {
    // Read unit by unit where it stands: `pos` stays below `len`.
    const std::u16string& text = src.text.Str();
    const int len = static_cast<int>(text.size());
    while (pos < len) {
        const char16_t c = text[pos];
        if (InQuotes(src, pos)) {
            if (tok.kind == TokWord) return Fail(error, kMsgBadExpression, pos);
            if (!tok.IsEmpty() && tok.kind != TokQuoted) return 1;
            tok.Append(c, pos++, TokQuoted);  // adjacent stretches join
            continue;
        }
        if (tok.kind == TokQuoted) return 1;
        // Most units are the letters and digits of a word or number, which
        // none of the tests below but the last would take.
        if (support::IsAsciiLetter(c) || support::IsAsciiDigit(c)) {
            if (!TakeWordUnit(tok, c, pos)) return 1;
            continue;
        }
        const bool doubled = (c == u'!' || c == u'=') && pos + 1 < len && text[pos + 1] == u'=';
        if (c == u' ') {
            if (tok.kind == TokWord) return 1;
            ++pos;
        } else if (doubled) {
            // "!=" and "==" replace what an operator token held and let
            // more comparison characters follow.
            if (!tok.IsEmpty() && tok.kind != TokOperator) return 1;
            tok.Set(c == u'!' ? u"<>" : u"=", pos, TokOperator);
            pos += 2;
        } else if ((c == u'!' || c == u'=') && tok.IsEmpty()) {
            tok.Append(c, pos++, TokOperator);
            return 1;
        } else if (c == u')' || c == u',') {
            if (!tok.IsEmpty()) return 1;
            tok.Append(c, pos++, c == u')' ? TokClose : TokComma);
            return 1;
        } else if (c == u'(') {
            if (tok.kind == TokOperator) return 1;
            if (IsNegationWord(tok.text)) {
                tok.kind = TokOperator;  // "not(" negates the group that follows
                return 1;
            }
            if (tok.start < 0) tok.start = pos;
            tok.kind = TokOpen;  // its text, possibly empty, names the function
            ++pos;
            return 1;
        } else if (c == u'+' || c == u'-' || c == u'*' || c == u'/') {
            if (!tok.IsEmpty()) return 1;
            tok.Append(c, pos++, TokOperator);
            return 1;
        } else if (c == u'>' || c == u'<' || c == u'=') {
            if (!tok.IsEmpty() && tok.kind != TokOperator) return 1;
            tok.Append(c, pos++, TokOperator);
        } else if (!TakeWordUnit(tok, c, pos)) {
            return 1;
        }
    }
    return 1;
}

// A rejected name.  A word that starts with a digit and goes on with
// something else is a malformed number (12a), reported at that character.
int FailName(const Token& tok, uint32_t id, int badPos, ConvertError& error) {
    const CString& t = tok.text;
    if (t.GetLength() >= 2 && support::IsAsciiDigit(t[0])) {
        for (int i = 1; i < t.GetLength(); ++i)
            if (!support::IsAsciiDigit(t[i])) return Fail(error, kMsgBadNumber, tok.start + i);
    }
    return Fail(error, id, tok.start + badPos);
}

// Gives `node` its kind and value from `tok`; 0 with `error` set when the
// token is no valid operator, name or number.
int MakeNode(const Token& tok, CCalcNode& node, ConvertError& error) {
    const int chinese = CUtilityCalc::Calc_IsChineseEnabled();
    int badPos = 0;
    const bool isOperator = tok.kind == TokOperator || (tok.kind == TokWord && IsOperatorWord(tok.text));
    if (isOperator) {
        if (!node.ClassifyOperator(tok.text)) return Fail(error, kMsgBadExpression, tok.start + 1);
        node.SetKind(NodeOperator);
    } else if (tok.kind == TokOpen) {
        if (tok.IsEmpty()) {
            node.SetKind(NodeGroup);
            return 1;
        }
        if (!CUtilityCalc::IsValidFuncName(tok.text, chinese, badPos))
            return FailName(tok, kMsgBadFunctionName, badPos, error);
        node.AssignText(tok.text);  // a word holds no quote: every quote opens a quoted stretch
        node.SetKind(NodeFunction);
    } else if (tok.kind == TokQuoted) {
        node.SetText(tok.text);
        node.SetKind(NodeString);
    } else if (const int form = util::MeasureNumberForm(tok.text.Str()); form >= 0) {
        // A number as numbers are written, the usual literal: SetLiteral
        // without its measuring again.
        node.SetLiteralFrom(tok.text.Str(), form);
    } else if (CUtilityCalc::IsPureNumber(tok.text, 0)) {
        node.SetLiteral(tok.text);
    } else {
        if (!CUtilityCalc::IsValidVarName(tok.text, chinese, 1, 1, badPos))
            return FailName(tok, kMsgBadName, badPos, error);
        node.AssignText(tok.text);
        node.SetKind(NodeName);
    }
    return 1;
}

// Read as the converter made the node (its own kind, not an override).
bool IsOperand(CCalcNode* node) { return node->CCalcNode::GetKind() != NodeOperator; }

// Appends a node made for `parent` (so already of its tree); the parent owns
// it once the append has succeeded.  A list starts with room for a few
// children, which most lists never outgrow, rather than growing one by one.
CCalcNode* AddChild(CCalcNode* parent, std::unique_ptr<CCalcNode> child) {
    constexpr size_t kFirstChildren = 8;
    std::vector<CCalcNode*>& children = parent->Children();
    if (children.capacity() == 0) children.reserve(kFirstChildren);
    children.push_back(child.get());
    return child.release();
}

int ConvertList(const ConvertSource& src, int& pos, CCalcNode* parent, ConvertError& error, int depth);

// The arguments of a call, each ending at a "," or at the ")" that closes
// the call; f() thus has one empty argument.  A call counts as closed
// whenever the character before `pos` is ")", so a call still open at the end
// of the text passes when its last argument ends with an inner call's or a
// group's ")" (f(g(1) reads as f(g(1))), and fails there otherwise.
int ConvertArguments(const ConvertSource& src, int& pos, CCalcNode* call, ConvertError& error, int depth) {
    const int len = src.text.GetLength();
    for (;;) {
        if (pos > 0 && src.text[pos - 1] == u')') return 1;
        if (pos >= len) return Fail(error, kMsgBrackets, pos);
        if (!CountNode(error, pos)) return 0;
        CCalcNode* arg = AddChild(call, std::unique_ptr<CCalcNode>(CCalcNode::Make(call, NodeArgument)));
        arg->SetPosition(pos);
        if (!ConvertList(src, pos, arg, error, depth)) return 0;
    }
}

int ConvertList(const ConvertSource& src, int& pos, CCalcNode* parent, ConvertError& error, int depth) {
    const uint8_t parentKind = parent->GetKind();
    if (parentKind == NodeFunction) return ConvertArguments(src, pos, parent, error, depth);
    const int len = src.text.GetLength();
    while (pos < len) {
        Token tok;
        if (!ScanToken(src, pos, tok, error)) return 0;
        if (tok.kind == TokNone) break;  // only blanks were left
        if (tok.kind == TokClose) {
            if (parentKind == NodeGroup || parentKind == NodeArgument) return 1;
            return Fail(error, kMsgBrackets, tok.start);
        }
        if (tok.kind == TokComma) {
            if (parentKind == NodeArgument) return 1;
            return Fail(error, kMsgBadExpression, tok.start);
        }
        if (!CountNode(error, tok.start)) return 0;
        std::unique_ptr<CCalcNode> node(CCalcNode::Make(parent));
        node->SetPosition(tok.start);
        if (!MakeNode(tok, *node, error)) return 0;
        CCalcNode* added = AddChild(parent, std::move(node));
        const std::vector<CCalcNode*>& siblings = parent->Children();
        if (siblings.size() >= 2 && IsOperand(siblings[siblings.size() - 2]) && IsOperand(added))
            return Fail(error, kMsgBadExpression, added->GetPosition());
        if (added->GetKind() == NodeFunction || added->GetKind() == NodeGroup) {
            if (depth + 1 > CALC_MAX_NESTING) return Fail(error, kMsgBrackets, added->GetPosition());
            if (!ConvertList(src, pos, added, error, depth + 1)) return 0;
        }
    }
    // The end of the text: a group left open fails at its own bracket.
    if (parentKind == NodeGroup) return Fail(error, kMsgBrackets, parent->GetPosition());
    return 1;
}

}  // namespace

int Convert(const ConvertSource& source, int& pos, CCalcNode* parent, ConvertError& error) {
    if (!parent) return 0;
    // The top-level list is the longest of most formulas, and has at most a
    // child per unit of the text: room for that many, up to a point, spares
    // it the growth a list of the usual room would go through.
    constexpr size_t kMostTopLevelRoom = 16;
    std::vector<CCalcNode*>& top = parent->Children();
    if (top.capacity() == 0) top.reserve(std::min(kMostTopLevelRoom, static_cast<size_t>(source.text.GetLength())));
    return ConvertList(source, pos, parent, error, 0);
}

}  // namespace qorcalc::calc
