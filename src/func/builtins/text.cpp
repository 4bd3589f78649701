// The text built-ins: substrings, search, comparison, case and blank
// handling, URL encoding, and number, amount and date formatting.
//
// Positions are 0-based and counts are read with Str2Int; a negative count
// fails the call with status 0, a start before the text is raised to 0, and
// a start or count reaching past the end stops at the end.
#include "func/builtins/builtins.h"
#include "func/builtins/call_record.h"

#include <qorcalc/vek.h>

#include <algorithm>
#include <string>

namespace qorcalc::builtins {
namespace {

// The optional case flag at argument `i`: false when absent.
bool CaseFlag(const CFuncPara* para, int argc, int i) { return i < argc && CVek::Str2Bool(Arg(para, i)); }

// The first `count` characters of the first argument, or the last ones,
// copied straight into the result.
int LeftOrRight(CFuncPara* para, int argc, bool fromLeft) {
    if (argc != 2) return kWrongCount;
    const int count = IntArg(para, argc, 1, 0);
    if (count < 0) return kWrongCount;
    const std::u16string& text = Arg(para, 0).Str();
    const size_t n = std::min(static_cast<size_t>(count), text.size());
    para->m_strResult.Str().assign(text, fromLeft ? 0 : text.size() - n, n);
    return QuoteResult(para);
}

// The first argument changed by `change`, quoted; no argument gives an
// empty result.
template <class Change>
int ChangeFirst(CFuncPara* para, int argc, Change change) {
    if (argc < 1) {
        para->m_strResult.Empty();
        return kOk;
    }
    CString text = Arg(para, 0);
    change(text);
    return SetQuoted(para, text);
}

enum class Ends { Both, Left, Right };

// Blanks, or the characters of the optional second argument, removed at the
// chosen ends.  A given set is used as it stands: an empty one removes nothing.
int TrimEnds(CFuncPara* para, int argc, Ends ends) {
    const bool hasSet = argc > 1;
    const CString set = hasSet ? Arg(para, 1) : CString();
    return ChangeFirst(para, argc, [&](CString& text) {
        if (ends != Ends::Right) hasSet ? text.TrimLeft(set) : text.TrimLeft();
        if (ends != Ends::Left) hasSet ? text.TrimRight(set) : text.TrimRight();
    });
}

int Encode(CFuncPara* para, int argc, int component) {
    if (argc != 1) return kWrongCount;
    CString text = Arg(para, 0);
    CUtilityCalc::EncodeURI(text, component);
    return SetQuoted(para, text);
}

// Overwrites text[start, start + count), never past its end, with `fill`
// repeated from its first character.
void OverwriteRepeating(CString& text, int start, int count, const CString& fill) {
    const int end = start + std::min(count, std::max(0, text.GetLength() - start));
    for (int i = start; i < end; ++i) text.SetAt(i, fill.GetAt((i - start) % fill.GetLength()));
}

}  // namespace

int Len(CFuncPara* para, int argc) {
    if (argc != 1) return kWrongCount;
    para->SetResult(Arg(para, 0).GetLength());
    return kOk;
}

int Left(CFuncPara* para, int argc) { return LeftOrRight(para, argc, true); }
int Right(CFuncPara* para, int argc) { return LeftOrRight(para, argc, false); }

int Mid(CFuncPara* para, int argc) {
    if (argc != 3) return kWrongCount;
    const int start = std::max(0, IntArg(para, argc, 1, 0));
    const int count = IntArg(para, argc, 2, 0);
    if (count < 0) return kWrongCount;
    return SetQuoted(para, Arg(para, 0).Mid(start, count));
}

// An empty sought text is found at the start itself, as long as the start
// lies within the text.
int IndexOf(CFuncPara* para, int argc) {
    if (argc < 2) return kWrongCount;
    const int start = IntArg(para, argc, 2, 0);
    if (start < 0) return kWrongCount;
    CString text = Arg(para, 0);
    CString sought = Arg(para, 1);
    if (!CaseFlag(para, argc, 3)) {
        text.MakeLower();
        sought.MakeLower();
    }
    if (sought.IsEmpty())
        para->SetResult(start <= text.GetLength() ? start : -1);
    else
        para->SetResult(text.Find(sought, start));
    return kOk;
}

// The collation value itself: its sign tells the order.
int Compare(CFuncPara* para, int argc) {
    if (argc < 2) return kWrongCount;
    const CString& a = Arg(para, 0);
    const CString& b = Arg(para, 1);
    para->SetResult(CaseFlag(para, argc, 2) ? a.Collate(b) : a.CollateNoCase(b));
    return kOk;
}

int EndWith(CFuncPara* para, int argc) {
    if (argc < 2) return kWrongCount;
    const CString& text = Arg(para, 0);
    const CString& suffix = Arg(para, 1);
    const CString tail = text.Right(suffix.GetLength());
    const bool ends = suffix.IsEmpty() ||
                      (text.GetLength() >= suffix.GetLength() &&
                       (CaseFlag(para, argc, 2) ? tail.Compare(suffix) : tail.CompareNoCase(suffix)) == 0);
    para->SetResult(ends ? 1 : 0);
    return kOk;
}

// The new text overwrites the count in place, repeating to fill it, and the
// text never grows; an empty new text deletes the count instead.
int Replace(CFuncPara* para, int argc) {
    if (argc != 4) return kWrongCount;
    const int start = std::max(0, IntArg(para, argc, 1, 0));
    const int count = IntArg(para, argc, 2, 0);
    if (count < 0) return kWrongCount;
    CString text = Arg(para, 0);
    const CString& fill = Arg(para, 3);
    if (fill.IsEmpty())
        text.Delete(start, count);
    else
        OverwriteRepeating(text, start, count, fill);
    return SetQuoted(para, text);
}

// The length of `text` with every `from` replaced by `to`, as
// CString::Replace finds them (left to right, without overlaps).
int64_t ReplacedLength(const CString& text, const char16_t* from, const char16_t* to) {
    const std::u16string_view f(from), t(to);
    const std::u16string& s = text.Str();
    if (f.empty()) return static_cast<int64_t>(s.size());
    int64_t count = 0;
    for (size_t pos = s.find(f); pos != std::u16string::npos; pos = s.find(f, pos + f.size())) ++count;
    return static_cast<int64_t>(s.size()) + count * (static_cast<int64_t>(t.size()) - static_cast<int64_t>(f.size()));
}

int ReplaceAll(CFuncPara* para, int argc) {
    if (argc != 3) return kWrongCount;
    // Measured before it is built: nested calls could otherwise grow a text
    // tenfold per level.
    if (ReplacedLength(Arg(para, 0), Arg(para, 1), Arg(para, 2)) > CALC_MAX_TEXT_LENGTH) return TextTooLong(para);
    CString text = Arg(para, 0);
    text.Replace(Arg(para, 1), Arg(para, 2));
    return SetQuoted(para, text);
}

int ToLowerCase(CFuncPara* para, int argc) {
    return ChangeFirst(para, argc, [](CString& text) { text.MakeLower(); });
}

int ToUpperCase(CFuncPara* para, int argc) {
    return ChangeFirst(para, argc, [](CString& text) { text.MakeUpper(); });
}

int Trim(CFuncPara* para, int argc) { return TrimEnds(para, argc, Ends::Both); }
int TrimLeft(CFuncPara* para, int argc) { return TrimEnds(para, argc, Ends::Left); }
int TrimRight(CFuncPara* para, int argc) { return TrimEnds(para, argc, Ends::Right); }

int EncodeURI(CFuncPara* para, int argc) { return Encode(para, argc, 0); }
int EncodeURIComponent(CFuncPara* para, int argc) { return Encode(para, argc, 1); }

// An amount the capital-numeral writer cannot take is a bad argument.  The
// writer trims the amount it reads, so it is given the argument itself,
// kept first as handed over for the failure.
int Rmb(CFuncPara* para, int argc) {
    if (argc != 1) return kWrongCount;
    func::KeepArguments(*para);
    return CUtilityCalc::RMB(para->m_strResult, para->m_arrParas[0], 1) ? kOk : kBadValue;
}

// The number is formatted in the result's own storage, which the call
// record keeps from call to call.
int FormatNum(CFuncPara* para, int argc) {
    if (argc < 2) return kWrongCount;
    para->m_strResult = Arg(para, 0);
    CUtilityCalc::FormatNum(para->m_strResult, Arg(para, 1));
    return QuoteResult(para);
}

int FormatDate(CFuncPara* para, int argc) {
    if (argc < 2) return kWrongCount;
    para->m_strResult = Arg(para, 1);
    CUtilityCalc::FormatDate(Arg(para, 0), para->m_strResult);
    return kOk;
}

}  // namespace qorcalc::builtins
