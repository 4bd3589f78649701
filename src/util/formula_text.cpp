// Formula-text helpers: quoting of string values, lines of "\r\n"-separated
// text, function and variable names, the flat split of a call text, and the
// element-wise sum of dimension texts.
//
// A string value is quoted with "'" unless it holds one, then with the
// double quote.  Function names take ASCII letters only, variable names the
// letters of the current locale; wider characters pass when the caller
// allows them.
#include <qorcalc/api.h>
#include <qorcalc/buffer.h>
#include <qorcalc/limits.h>
#include <qorcalc/utility.h>
#include <qorcalc/vek.h>

#include "support/text.h"
#include "util/quotes.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

namespace {

using qorcalc::detail::Shielded;
using qorcalc::detail::ShieldedInto;
using qorcalc::support::IsAsciiDigit;
using qorcalc::support::IsAsciiLetter;

constexpr std::u16string_view kLineBreak = u"\r\n";
// Texts this long or longer keep their digits, not a double.
constexpr int kMaxNumberPartLength = 18;

constexpr char16_t kFirstWideChar = 129;

// The text of a byte block read as UTF-16 (an odd last byte is ignored).
std::u16string WideText(const CMem& mem) {
    std::u16string text(mem.GetWideLength(), u'\0');
    if (!text.empty()) std::memcpy(text.data(), mem.GetData(), text.size() * 2);
    return text;
}

// Whether a name consists of the one character `c` alone, repeated.
bool OnlyOf(const CString& name, char16_t c) {
    return std::all_of(name.Str().begin(), name.Str().end(), [c](char16_t x) { return x == c; });
}

// Applies the rule shared by both name checks to a character that the
// caller's rules did not accept: a digit may follow the first place.  The
// position is recorded either way, so after a passing name badPos holds its
// last digit.
int RejectUnlessDigit(int i, char16_t c, int& badPos) {
    badPos = i;
    return i > 0 && IsAsciiDigit(c) ? 1 : 0;
}

// A name of an ASCII letter and then ASCII letters, digits and underscores,
// nearly every name there is, passes both name rules as it stands (nothing
// to trim, no locale to ask) and leaves badPos as they would: on its last
// digit, else 0.  False, badPos untouched, for any other name.
bool PassesAsPlainAsciiName(const char16_t* name, int& badPos) {
    if (!name || !IsAsciiLetter(name[0])) return false;
    int lastDigit = 0;
    for (int i = 0; name[i]; ++i) {
        if (IsAsciiDigit(name[i])) lastDigit = i;
        else if (!IsAsciiLetter(name[i]) && name[i] != u'_') return false;
    }
    badPos = lastDigit;
    return true;
}

}  // namespace

char16_t CUtilityCalc::Dettach_Quotes(CString& text, uint8_t* kind) {
    // Unquoting only shortens the text in place, which cannot fail; only
    // telling the kind runs shielded.
    std::u16string& s = text.Str();
    const std::u16string_view inner = qorcalc::util::Unquoted(s);
    const size_t first = static_cast<size_t>(inner.data() - s.data());
    const char16_t removed = first > 0 ? s[first - 1] : 0;
    if (removed) {
        s.erase(first + inner.size());
        s.erase(0, first);
    }
    if (!kind) return removed;
    return Shielded(u"CUtilityCalc::Dettach_Quotes", char16_t{0}, [&]() -> char16_t {
        if (text.IsEmpty()) {
            *kind = 0;
        } else if (!IsPureNumber(text, 0)) {
            *kind = CVek::IsDateString(text, 1) ? 4 : 0;
        } else {
            const int point = text.Find(u'.');
            const int numberPart = point < 0 ? text.GetLength() : text.GetLength() - point;
            *kind = numberPart < kMaxNumberPartLength ? 6 : 0;
        }
        return removed;
    }, text);
}

void CUtilityCalc::Attach_Quotes(CString& text) {
    ShieldedInto(u"CUtilityCalc::Attach_Quotes", [&] {
        if (text.GetLength() == 1) {
            const char16_t c = text[0];
            const char16_t quote = c == u'\'' ? u'"' : u'\'';
            text = CString(quote) + c + quote;
            return;
        }
        if (!text.IsEmpty()) Dettach_Quotes(text, nullptr);
        std::u16string& s = text.Str();
        // A "'" in the first place is left to the single quotes around it.
        const char16_t quote = s.find(u'\'', 1) == std::u16string::npos ? u'\'' : u'"';
        if (s.capacity() < s.size() + 2) {  // one allocation for both quotes
            std::u16string quoted;
            quoted.reserve(s.size() + 2);
            s.swap(quoted.append(1, quote).append(s));
        } else {
            s.insert(s.begin(), quote);
        }
        s += quote;
    }, text);
}

int CUtilityCalc::GetLeftPara(CString& line, CString& text, int remove, int trim) {
    return Shielded(u"CUtilityCalc::GetLeftPara", 0, [&]() -> int {
        line.Empty();
        const size_t at = text.Str().find(kLineBreak);
        if (at == std::u16string::npos) return 0;
        line = CString(text.Str().substr(0, at));
        if (remove) text = CString(text.Str().substr(at + kLineBreak.size()));
        if (trim) {
            line.TrimRight();
            if (remove) text.TrimLeft();
        }
        return 1;
    }, line);
}

// The buffer forms split the buffer's text as the text forms do; what the
// split keeps is a suffix (left) or a prefix (right) of it, so the buffer
// only loses bytes at its front or its end.
int CUtilityCalc::GetLeftPara(CString& line, CBuffer& text, int remove, int trim) {
    return Shielded(u"CUtilityCalc::GetLeftPara", 0, [&]() -> int {
        CString rest(WideText(text));
        const int whole = rest.GetLength();
        if (!GetLeftPara(line, rest, remove, trim)) return 0;
        if (remove) text.Delete(0, static_cast<uint32_t>(whole - rest.GetLength()) * 2);
        return 1;
    }, line);
}

int CUtilityCalc::GetRightPara(CString& line, CString& text, int remove, int trim) {
    return Shielded(u"CUtilityCalc::GetRightPara", 0, [&]() -> int {
        line.Empty();
        const size_t at = text.Str().rfind(kLineBreak);
        if (at == std::u16string::npos) return 0;
        line = CString(text.Str().substr(at + kLineBreak.size()));
        if (remove) text = CString(text.Str().substr(0, at));
        if (trim) {
            line.TrimLeft();
            if (remove) text.TrimRight();
        }
        return 1;
    }, line);
}

int CUtilityCalc::GetRightPara(CString& line, CMem& text, int remove, int trim) {
    return Shielded(u"CUtilityCalc::GetRightPara", 0, [&]() -> int {
        CString rest(WideText(text));
        if (!GetRightPara(line, rest, remove, trim)) return 0;
        if (remove) text.Delete(static_cast<uint32_t>(rest.GetLength()) * 2, text.GetSize());
        return 1;
    }, line);
}

// badPos counts in the trimmed name.
int CUtilityCalc::IsValidFuncName(const char16_t* name, int allowWide, int& badPos) {
    badPos = 0;
    if (PassesAsPlainAsciiName(name, badPos)) return 1;
    CString s(name);
    s.Trim();
    if (s.IsEmpty()) return 0;
    for (int i = 0; i < s.GetLength(); ++i) {
        const char16_t c = s[i];
        if (IsAsciiLetter(c) || c == u'_' || (allowWide && c >= kFirstWideChar)) continue;
        if (!RejectUnlessDigit(i, c, badPos)) return 0;
    }
    return OnlyOf(s, u'_') ? 0 : 1;
}

// badPos counts in the trimmed name.  Letters are those of the current
// locale, unlike a function name's.
int CUtilityCalc::IsValidVarName(const char16_t* name, int allowWide, int allowDot, int allowHash,
                                 int& badPos) {
    badPos = 0;
    if (PassesAsPlainAsciiName(name, badPos)) return 1;
    CString s(name);
    s.Trim();
    if (s.IsEmpty()) return 0;
    const int n = s.GetLength();
    for (int i = 0; i < n; ++i) {
        const char16_t c = s[i];
        const bool ok = qorcalc::support::iswalpha16(c) || (c == u':' && n > 1) ||
                        (c == u'#' && i == 0 && allowHash && n > 1) || c == u'_' || c == u'@' ||
                        c == u'$' || (c == u'.' && allowDot && i > 0 && i < n - 1) ||
                        (allowWide && c >= kFirstWideChar);
        if (!ok && !RejectUnlessDigit(i, c, badPos)) return 0;
    }
    return OnlyOf(s, u'_') || OnlyOf(s, u'@') || OnlyOf(s, u'$') ? 0 : 1;
}

// A flat splitter: parentheses do not nest, so an inner call is cut at its
// commas like the outer one and the first ")" ends the list.  Nested calls
// are the expression parser's business.  The name is the text before the
// "(" as it stands.
int CUtilityCalc::ParseFunction(const char16_t* text, CString& name, CStringArray& args) {
    return Shielded(u"CUtilityCalc::ParseFunction", 0, [&]() -> int {
        name.Empty();
        args.RemoveAll();
        CString whole(text);
        whole.Trim();
        if (whole.IsEmpty()) return 1;

        const int open = whole.Find(u'(');
        if (open >= 0) name = whole.Left(open);
        const std::u16string& s = whole.Str();
        size_t i = open < 0 ? 0 : static_cast<size_t>(open) + 1;
        while (i < s.size()) {
            while (i < s.size() && qorcalc::support::iswspace16(s[i])) ++i;
            CString arg;
            char16_t quote = 0;
            char16_t end = 0;
            for (; i < s.size(); ++i) {
                const char16_t c = s[i];
                if (qorcalc::util::IsQuote(c) && quote == 0 && arg.IsEmpty()) {
                    quote = c;
                } else if (quote != 0 && c == quote) {
                    quote = 0;
                } else if (quote == 0 && (c == u',' || c == u')')) {
                    end = c;
                    ++i;
                    break;
                } else {
                    arg += c;
                }
            }
            arg.Trim();
            if (end == u')') {
                if (!arg.IsEmpty() || !args.IsEmpty()) args.Add(arg);
                break;
            }
            args.Add(arg);
        }
        return 1;
    }, name, args);
}

void CUtilityCalc::SafeDelete(CString& text, int position, int count) {
    if (position < 0 || count < 1 || position >= text.GetLength()) return;
    text.Delete(position, std::min(count, text.GetLength() - position));
}

int CUtilityCalc::StrChrs(const CString& text, char16_t ch) {
    return static_cast<int>(std::count(text.Str().begin(), text.Str().end(), ch));
}

int CUtilityCalc::IsMatchStr(const CString& text, const CString& pattern, char16_t mode) {
    if (text.IsEmpty()) return 0;
    if (pattern.IsEmpty()) return mode == u'*' ? 1 : 0;
    if (mode != u'*') return text.CompareNoCase(pattern) == 0 ? 1 : 0;
    if (text.GetLength() < pattern.GetLength()) return 0;
    return text.Left(pattern.GetLength()).CompareNoCase(pattern) == 0 ? 1 : 0;
}

// --- Sum of dimension texts --------------------------------------------------
//
// SumDim adds texts such as "10 x 20" and "3 x 4" element by element into
// "13 x 24".  Choices made here:
//   - The separator is what stands between the first and the second number
//     of the last argument (number characters are digits, "." and "-"),
//     trimmed of blanks.  When there is none and the last argument is not a
//     number, the last argument as a whole is the separator and is not summed.
//     Without a separator every argument is one element.
//   - An argument with fewer elements adds nothing to the missing ones; the
//     result has as many elements as the longest argument.
//   - Blanks are spaces and tabs.  The separator is written with as many
//     spaces before it as the widest run of blanks seen before a separator in
//     the arguments, and as many after it as the widest run seen after one;
//     blanks before the first and after the last element are dropped.
//   - The result is the number of elements written; 0 (and an empty text)
//     when there is nothing to sum; -1 (and an empty text) when the text
//     would pass CALC_MAX_TEXT_LENGTH, found before it is built.
namespace {

constexpr const char16_t* kBlanks = u" \t";

bool IsNumberChar(char16_t c) { return IsAsciiDigit(c) || c == u'.' || c == u'-'; }

CString SeparatorBetweenNumbers(const CString& text) {
    const std::u16string& s = text.Str();
    size_t i = 0;
    while (i < s.size() && !IsNumberChar(s[i])) ++i;
    while (i < s.size() && IsNumberChar(s[i])) ++i;
    const size_t start = i;
    while (i < s.size() && !IsNumberChar(s[i])) ++i;
    // Text after the first number that no second number closes is no separator.
    if (i == s.size()) return CString();
    CString separator(s.substr(start, i - start));
    separator.Trim(kBlanks);
    return separator;
}

size_t LeadingBlanks(std::u16string_view s) { return std::min(s.find_first_not_of(kBlanks), s.size()); }
size_t TrailingBlanks(std::u16string_view s) {
    const size_t last = s.find_last_not_of(kBlanks);
    return last == std::u16string_view::npos ? s.size() : s.size() - last - 1;
}

}  // namespace

int CUtilityCalc::SumDim(CString& out, const CStringArray& args) {
    return Shielded(u"CUtilityCalc::SumDim", -1, [&]() -> int {
        out.Empty();
        int summed = args.GetSize();
        if (summed == 0) return 0;
        const CString& last = args[summed - 1];
        CString separator = SeparatorBetweenNumbers(last);
        if (separator.IsEmpty() && !IsConvertAbleNumberString(last, 0)) {
            separator = last;
            --summed;
        }

        std::vector<double> sums;
        size_t blanksBefore = 0, blanksAfter = 0;
        CStringArray elements;
        for (int a = 0; a < summed; ++a) {
            CVek::CString2Array(elements, args[a], separator.IsEmpty() ? nullptr : separator.GetString(), 0);
            const int count = elements.GetSize();
            if (sums.size() < static_cast<size_t>(count)) sums.resize(static_cast<size_t>(count), 0.0);
            for (int e = 0; e < count; ++e) {
                CString element = elements[e];
                if (e + 1 < count) blanksBefore = std::max(blanksBefore, TrailingBlanks(element.Str()));
                if (e > 0) blanksAfter = std::max(blanksAfter, LeadingBlanks(element.Str()));
                element.Trim(kBlanks);
                sums[static_cast<size_t>(e)] += Str2Double(element);
            }
        }

        const CString joint = CString(u' ', static_cast<int>(blanksBefore)) + separator +
                              CString(u' ', static_cast<int>(blanksAfter));
        if (sums.empty()) return 0;
        std::vector<CString> numbers(sums.size());
        int64_t length = static_cast<int64_t>(joint.GetLength()) * static_cast<int64_t>(sums.size() - 1);
        for (size_t e = 0; e < sums.size(); ++e) {
            Double2Str(numbers[e], sums[e], -1);
            length += numbers[e].GetLength();
        }
        if (length > CALC_MAX_TEXT_LENGTH) return -1;
        for (size_t e = 0; e < sums.size(); ++e) {
            if (e > 0) out += joint;
            out += numbers[e];
        }
        return static_cast<int>(sums.size());
    }, out);
}
