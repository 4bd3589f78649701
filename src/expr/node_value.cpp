// The node as a value: the dual number/text with its validity mask, and the
// classification of literal tokens and operator spellings.
#include <qorcalc/api.h>
#include <qorcalc/node.h>

#include <qorcalc/utility.h>

#include "support/thread_spare.h"
#include "util/number_form.h"
#include "util/quotes.h"

using qorcalc::detail::Shielded;
using qorcalc::detail::ShieldedInto;

namespace {

constexpr char16_t kApostrophe = u'\'';
constexpr char16_t kDoubleQuote = u'"';


}  // namespace

const CString& CCalcNode::CurrentNumberText() {
    if (!(m_valid & 2)) {
        CUtilityCalc::Double2Str(m_text, m_number, -1);
        m_valid |= 2;
    }
    return m_text;
}

void CCalcNode::GetText(CString& out, int quote) {
    ShieldedInto(u"CCalcNode::GetText", [&] { TextInto(out, quote); }, out);
}

void CCalcNode::TextInto(CString& out, int quote) {
    if (m_kind == NodeNumber) {
        out = CurrentNumberText();
        if (out.IsEmpty()) out = u"0";
    } else if (m_kind == NodeString && quote) {
        // No escaping: a text holding both quote characters is written as it is.
        const char16_t q = m_text.Find(kApostrophe) >= 0 ? kDoubleQuote : kApostrophe;
        std::u16string& quoted = out.Str();
        quoted.assign(1, q);
        // Up to a NUL character, as every C-string reader of the text stops.
        quoted += std::u16string_view(m_text.GetString());
        quoted += q;
    } else {
        out = m_text;
    }
}

void CCalcNode::GetDisplayText(CString& out, int quote, uint8_t format) {
    ShieldedInto(u"CCalcNode::GetDisplayText", [&] {
        if (m_kind != NodeNumber) {
            TextInto(out, quote);
            return;
        }
        out = CurrentNumberText();
        if (out.IsEmpty()) {
            if (format & 64) out = u"0";
        } else if (format & 128) {
            CUtilityCalc::ConvertToDispFormat(out, format, 1, 0);
        }
    }, out);
}

void CCalcNode::GetRoundedText(CString& out, int decimals) {
    ShieldedInto(u"CCalcNode::GetRoundedText", [&] {
        TextInto(out, 0);
        if (m_kind == NodeNumber && decimals != -1) CUtilityCalc::RoundStr(out, decimals);
    }, out);
}

// The text is made aside and only then taken: without memory for it the
// node is left as it was.
int CCalcNode::SetText(const CString& text) {
    return Shielded(u"CCalcNode::SetText", 0, [&] {
        CString unquoted = text;
        const int removed = qorcalc::util::Unquote(unquoted) != 0 ? 1 : 0;
        m_text.Str().swap(unquoted.Str());
        m_valid = 2;
        return removed;
    });
}

void CCalcNode::AssignText(const CString& text) {
    ShieldedInto(u"CCalcNode::AssignText", [&] {
        m_text = text;
        m_valid = 2;
    });
}

void CCalcNode::SetTextFrom(std::u16string_view text) {
    m_text.Str().assign(text);
    m_valid = 2;
}

double CCalcNode::GetNumber() {
    if (!(m_valid & 1)) {
        m_number = CUtilityCalc::Str2Double(m_text);
        m_valid |= 1;
    }
    return m_number;
}

void CCalcNode::SetNumber(double value, int roundTrip) {
    if (roundTrip) {
        // The number first: without memory for the text the node holds the
        // number alone, its text marked stale.
        m_number = value;
        m_valid = 1;
        ShieldedInto(u"CCalcNode::SetNumber", [&] {
            CUtilityCalc::Double2Str(m_text, value, -1);
            m_number = CUtilityCalc::Str2Double(m_text);
            m_valid = 3;
        });
        return;
    }
    // An equal number leaves the node untouched, mask and text included.
    // This is intended: the text may then say something other than the
    // number (a "∞" stays "∞").
    if (m_number == value) return;
    m_number = value;
    m_valid = 1;
}

int CCalcNode::SetLiteral(const CString& text) {
    return Shielded(u"CCalcNode::SetLiteral", 0, [&] {
        const int unquoted = SetText(text);
        m_kind = NodeString;
        if (!unquoted) ReadLiteral(qorcalc::util::MeasureNumberForm(m_text.Str()));
        return unquoted;
    });
}

void CCalcNode::SetLiteralFrom(std::u16string_view text, int form) {
    SetTextFrom(text);
    m_kind = NodeString;
    ReadLiteral(form);
}

// An unquoted literal is a number when it reads as one within the integer
// digits a number keeps; its text is put in number form either way.  A text
// already in number form, as nearly every literal is, is only measured
// (`form` is that measure of the text).
void CCalcNode::ReadLiteral(int form) {
    if (form >= 0) {
        if (form) m_kind = NodeNumber;
        return;
    }
    if (!m_text.IsEmpty() && CUtilityCalc::IsPureNumber(m_text, 0)) {
        if (CUtilityCalc::ResetDoubleString(m_text) > 0) m_kind = NodeNumber;
    }
}

int CCalcNode::ClassifyToken(const CString& text) {
    return Shielded(u"CCalcNode::ClassifyToken", 0, [&] { return ClassifyInto(text); });
}

int CCalcNode::ClassifyInto(const CString& text) {
    int isName = 0;
    CString unquoted = text;
    if (qorcalc::util::Unquote(unquoted) || text.IsEmpty()) {
        m_kind = NodeString;
        AssignText(unquoted);
    } else if (CUtilityCalc::IsPureNumber(text, 1)) {
        SetLiteral(text);
    } else {
        m_kind = NodeName;
        AssignText(text);
        isName = 1;
    }
    RemoveAll();
    return isName;
}

namespace {

// The operator a one-character spelling stands for; OpNone for none.
uint8_t OneCharacterOperator(char16_t c) {
    switch (c) {
        case u'+': return OpAdd;
        case u'-': return OpSubtract;
        case u'*': return OpMultiply;
        case u'/': return OpDivide;
        case u'=': return OpEqual;
        case u'>': return OpGreater;
        case u'<': return OpLess;
        case u'!': return OpNot;
        default: return OpNone;
    }
}

}  // namespace

int CCalcNode::ClassifyOperator(const CString& text) {
    struct Spelling {
        const char16_t* spelling;
        uint8_t op;
        const char16_t* kept;  // null: the spelling itself
        bool anyCase;
    };
    // The longer spellings; the one-character ones, nearly all there are,
    // go by OneCharacterOperator.
    static const Spelling kSpellings[] = {
        {u">=", OpGreaterEqual, nullptr, false}, {u"<=", OpLessEqual, nullptr, false},
        {u"<>", OpNotEqual, nullptr, false},     {u"&&", OpAnd, nullptr, false},
        {u"and", OpAnd, u" and ", true},         {u"||", OpOr, nullptr, false},
        {u"or", OpOr, u" or ", true},            {u"not", OpNot, u"!", true},
    };
    if (text.GetLength() == 1) {
        const uint8_t op = OneCharacterOperator(text.Str().front());
        if (op == OpNone) return 0;
        m_op = op;
        AssignText(text);
        return 1;
    }
    for (const Spelling& s : kSpellings) {
        const bool match = s.anyCase ? text.CompareNoCase(s.spelling) == 0 : text == s.spelling;
        if (!match) continue;
        m_op = s.op;
        AssignText(s.kept ? CString(s.kept) : text);
        return 1;
    }
    return 0;
}

int CCalcNode::IsCompareOperator() {
    return m_kind == NodeOperator && m_op >= OpEqual && m_op <= OpNotEqual;
}

int CCalcNode::IsLogicOperator() {
    return m_kind == NodeOperator && (m_op == OpAnd || m_op == OpOr || m_op == OpNot);
}
