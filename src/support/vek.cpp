// CVek's text and array helpers.  Every one of them takes a null text as
// empty and reads only inside its arguments; the formula scanner calls
// ArrayFindBetween once per character, so it is a binary search.
#include <qorcalc/api.h>
#include <qorcalc/vek.h>

#include "support/text.h"

#include <algorithm>
#include <functional>
#include <string_view>

namespace {

using qorcalc::detail::Shielded;
using qorcalc::detail::ShieldedInto;
using qorcalc::support::Len;
using qorcalc::support::towlower16;

std::u16string_view View(const char16_t* text) { return {text ? text : u"", Len(text)}; }

std::u16string Folded(std::u16string_view text) {
    std::u16string out(text);
    for (char16_t& c : out) c = towlower16(c);
    return out;
}

int ToIndex(size_t pos) { return pos == std::u16string::npos ? -1 : static_cast<int>(pos); }

size_t StartIndex(int start) { return start > 0 ? static_cast<size_t>(start) : 0; }

// Optional sign, digits with at most one ".", at least one digit, then an
// optional exponent.  Tells whether any mantissa digit is non-zero, so the
// answer is exact for any length and needs no floating point.
bool ReadsAsNonZeroNumber(std::u16string_view s) {
    size_t i = 0;
    if (i < s.size() && (s[i] == u'+' || s[i] == u'-')) ++i;
    bool digits = false, nonZero = false, point = false;
    for (; i < s.size(); ++i) {
        if (qorcalc::support::IsAsciiDigit(s[i])) {
            digits = true;
            nonZero = nonZero || s[i] != u'0';
        } else if (s[i] == u'.' && !point) {
            point = true;
        } else {
            break;
        }
    }
    if (!digits) return false;
    if (i < s.size() && (s[i] == u'e' || s[i] == u'E')) {
        ++i;
        if (i < s.size() && (s[i] == u'+' || s[i] == u'-')) ++i;
        const size_t first = i;
        while (i < s.size() && qorcalc::support::IsAsciiDigit(s[i])) ++i;
        if (i == first) return false;
    }
    return i == s.size() && nonZero;
}

}  // namespace

// The length is known before anything is built: many items joined with a
// long separator must not grow past CALC_MAX_TEXT_LENGTH.
void CVek::Array2CString(CString& out, const CStringArray& items, const char16_t* separator) {
    const std::u16string_view sep = View(separator);
    ShieldedInto(u"CVek::Array2CString", [&] {
        size_t length = items.IsEmpty() ? 0 : sep.size() * static_cast<size_t>(items.GetSize() - 1);
        for (const CString& item : items) length += item.Str().size();
        qorcalc::detail::CheckTextLength(length, sep);
        std::u16string joined;
        joined.reserve(length);
        for (int i = 0; i < items.GetSize(); ++i) {
            if (i > 0) joined += sep;
            joined += items[i].Str();
        }
        out = CString(std::move(joined));
    }, out);
}

int CVek::CString2Array(CStringArray& items, const CString& text, const char16_t* separator,
                        int flag) {
    return Shielded(u"CVek::CString2Array", -1, [&] {
        const std::u16string whole = text.Str();  // `text` may live inside `items`
        const std::u16string_view sep = View(separator);
        items.RemoveAll();
        if (whole.empty()) return 0;
        auto add = [&](std::u16string_view piece) {
            CString item{piece};
            if (flag) {
                item.Trim();
                if (item.IsEmpty()) return;
            }
            items.Add(item);
        };
        if (sep.empty()) {
            add(whole);
            return items.GetSize();
        }
        const std::u16string_view rest(whole);
        size_t from = 0;
        for (size_t at; (at = rest.find(sep, from)) != std::u16string_view::npos; from = at + sep.size())
            add(rest.substr(from, at - from));
        add(rest.substr(from));
        return items.GetSize();
    }, items);
}

int CVek::GetLeftRight(const CString& text, const char16_t* separator, CString& left, CString& right,
                       int bFirst) {
    return Shielded(u"CVek::GetLeftRight", 0, [&] {
        const std::u16string whole = text.Str();  // `text` may be `left` or `right`
        const std::u16string_view sep = View(separator);
        const size_t at = sep.empty() ? std::u16string::npos : bFirst ? whole.find(sep) : whole.rfind(sep);
        if (at == std::u16string::npos) {
            left = CString(whole);
            right.Empty();
            return 0;
        }
        left = CString(whole.substr(0, at));
        right = CString(whole.substr(at + sep.size()));
        return 1;
    }, left, right);
}

int CVek::FindQuotes(const CString& text, CUIntArray& starts, CUIntArray& ends, const char16_t* quotes,
                     int flag) {
    starts.RemoveAll();
    ends.RemoveAll();
    const std::u16string_view s(text.Str());
    const std::u16string_view set = View(quotes);
    if (s.empty() || set.empty()) return 0;
    return Shielded(u"CVek::FindQuotes", -1, [&] {
        for (size_t open = qorcalc::support::FindFirstOf(s, set); open != std::u16string_view::npos;
             open = qorcalc::support::FindFirstOf(s, set, open)) {
            const size_t close = s.find(s[open], open + 1);
            const size_t last = close == std::u16string_view::npos ? s.size() - 1 : close;
            starts.Add(static_cast<uint32_t>(open));
            ends.Add(static_cast<uint32_t>(last));
            if (flag) break;
            open = last + 1;
        }
        return starts.GetSize();
    }, starts, ends);
}

int CVek::ArrayFindBetween(const CUIntArray& starts, const CUIntArray& ends, uint32_t pos) {
    const size_t n = std::min(starts.Items().size(), ends.Items().size());
    const auto first = starts.Items().begin();
    // The last stretch that starts at or before `pos` is the only candidate.
    const auto after = std::upper_bound(first, first + static_cast<std::ptrdiff_t>(n), pos);
    if (after == first) return -1;
    const int i = static_cast<int>(after - first) - 1;
    return pos <= ends[i] ? i : -1;
}

int CVek::FindNoCase(const CString& text, const char16_t* word, int start) {
    const std::u16string_view w = View(word);
    if (w.empty() || start > text.GetLength()) return -1;
    return Shielded(u"CVek::FindNoCase", -1,
                    [&] { return ToIndex(Folded(text.Str()).find(Folded(w), StartIndex(start))); });
}

int CVek::ReverseFindNoCase(const CString& text, const char16_t* word) {
    const std::u16string_view w = View(word);
    if (w.empty()) return -1;
    return Shielded(u"CVek::ReverseFindNoCase", -1, [&] { return ToIndex(Folded(text.Str()).rfind(Folded(w))); });
}

int CVek::ArrayCompareNoCase(const CStringArray& items, const char16_t* text, int start) {
    for (int i = start > 0 ? start : 0; i < items.GetSize(); ++i)
        if (items[i].CompareNoCase(text) == 0) return i;
    return -1;
}

void CVek::Pad(CString& text, int length, char16_t ch, int bLeft) {
    const int missing = std::min(length, CALC_MAX_PAD_LENGTH) - text.GetLength();
    if (missing <= 0) return;
    std::u16string& s = text.Str();
    ShieldedInto(u"CVek::Pad", [&] { s.insert(bLeft ? s.begin() : s.end(), static_cast<size_t>(missing), ch); }, text);
}

int CVek::IsDigit(char16_t ch) { return qorcalc::support::IsAsciiDigit(ch) ? 1 : 0; }

int CVek::Str2Bool(const char16_t* text) {
    std::u16string_view s = View(text);
    while (!s.empty() && qorcalc::support::iswspace16(s.front())) s.remove_prefix(1);
    while (!s.empty() && qorcalc::support::iswspace16(s.back())) s.remove_suffix(1);
    for (const std::u16string_view word : {u"true", u"yes", u"y", u"on"})
        if (s.size() == word.size() && std::equal(s.begin(), s.end(), word.begin(), [](char16_t a, char16_t b) {
                return towlower16(a) == b;
            }))
            return 1;
    return ReadsAsNonZeroNumber(s) ? 1 : 0;
}

int CVek::CUIntArrayFind(const CUIntArray& items, uint32_t value, int start) {
    const auto& v = items.Items();
    const size_t from = StartIndex(start);
    if (from >= v.size()) return -1;
    const auto it = std::find(v.begin() + static_cast<std::ptrdiff_t>(from), v.end(), value);
    return it == v.end() ? -1 : static_cast<int>(it - v.begin());
}

void CVek::Sort_CUIntArray(CUIntArray& items, int bAscending) {
    if (bAscending)
        std::sort(items.begin(), items.end());
    else
        std::sort(items.begin(), items.end(), std::greater<uint32_t>());
}

int CVek::strstrs(const char16_t* text, int textLength, const char16_t* separator, int separatorLength,
                  int flag) {
    if (!text || !separator || textLength < 1 || separatorLength < 1 || separatorLength > textLength)
        return 0;
    const std::u16string_view s(text, static_cast<size_t>(textLength));
    const std::u16string_view sep(separator, static_cast<size_t>(separatorLength));
    const size_t step = flag ? sep.size() : 1;
    int count = 0;
    for (size_t at = s.find(sep); at != std::u16string_view::npos; at = s.find(sep, at + step)) ++count;
    return count;
}
