// Number display formats: thousands separators, the one-byte display format
// of cells, and picture patterns of "#", "0", "," and ".".
//
// The decimal point is always "." and the separator ",".  FormatNum never
// rounds (the pattern form of ConvertToDispFormat rounds before it) and reads
// at most 63 integer and 63 fraction digits, so a value text of any length
// costs one scan.
#include "util/display_format.h"

#include <qorcalc/api.h>
#include <qorcalc/limits.h>
#include <qorcalc/utility.h>

#include "support/text.h"

#include <string>
#include <string_view>
#include <utility>

namespace {

using qorcalc::support::IsAsciiDigit;

constexpr uint8_t kDecimalsMask = 0x3F;
constexpr uint8_t kAllDecimals = 0x3F;
constexpr uint8_t kShowZero = 0x40;
constexpr uint8_t kSeparators = 0x80;
constexpr size_t kMaxPatternDigits = CALC_MAX_PATTERN_DIGITS;

int DecimalsOf(uint8_t format) {
    const int n = format & kDecimalsMask;
    return n == kAllDecimals ? -1 : n;
}

// `integer` with "," between every three characters counted from the right.
std::u16string Grouped(std::u16string_view integer) {
    std::u16string out;
    out.reserve(integer.size() + (integer.empty() ? 0 : (integer.size() - 1) / 3));
    for (size_t i = 0; i < integer.size(); ++i) {
        if (i > 0 && (integer.size() - i) % 3 == 0) out += u',';
        out += integer[i];
    }
    return out;
}

// The digits of a value text as FormatNum reads them.
struct PatternDigits {
    std::u16string integer;   // without leading zeros
    std::u16string fraction;  // without trailing zeros
    bool negative = false;
};

PatternDigits ReadDigits(const std::u16string& text) {
    PatternDigits d;
    bool inFraction = false;
    bool seenDigit = false;
    for (const char16_t c : text) {
        if (inFraction) {
            if (!IsAsciiDigit(c)) break;
            if (d.fraction.size() < kMaxPatternDigits) d.fraction += c;
            continue;
        }
        if (IsAsciiDigit(c)) {
            seenDigit = true;
            if (d.integer.size() < kMaxPatternDigits) d.integer += c;
        } else if ((c == u' ' && !seenDigit) || c == u',') {
            continue;
        } else if (c == u'-' && !seenDigit) {
            d.negative = true;
        } else if (c == u'.') {
            inFraction = true;
        } else {
            break;
        }
    }
    d.integer.erase(0, d.integer.find_first_not_of(u'0'));
    const size_t lastDigit = d.fraction.find_last_not_of(u'0');
    d.fraction.erase(lastDigit == std::u16string::npos ? 0 : lastDigit + 1);
    return d;
}

// In the pattern that `text` holds from `base` on, replaces the run of "#"
// (with the "," inside and around it when `withCommas`) that holds the first
// "#" by `digits`.  Later "#" stay literal.
void FillHashRun(std::u16string& text, size_t base, std::u16string_view digits, bool withCommas) {
    const size_t hash = text.find(u'#', base);
    if (hash == std::u16string::npos) return;
    auto inRun = [&](char16_t c) { return c == u'#' || (withCommas && c == u','); };
    size_t first = hash;
    while (first > base && inRun(text[first - 1])) --first;
    size_t last = hash;
    while (last < text.size() && inRun(text[last])) ++last;
    text.replace(first, last - first, digits);
}

// Appends the integer pattern filled: "0" places take digits from the right
// (the sign travels with the digits and fills a place like one); whatever is
// left goes into the first "#" run.  Without a "#", digits that found no
// place are dropped.
void AppendIntegerPart(std::u16string& out, std::u16string_view pattern, PatternDigits& d) {
    size_t hashes = 0, zeros = 0;
    bool comma = false;
    for (const char16_t c : pattern) {
        hashes += c == u'#';
        zeros += c == u'0';
        comma = comma || c == u',';
    }
    // A pattern of "0" places alone keeps its "," as a literal between them.
    const bool grouping = comma && !(hashes == 0 && zeros > 0);
    std::u16string digits = grouping ? Grouped(d.integer) : std::move(d.integer);
    if (digits.empty() && d.negative) digits = u"0";
    if (d.negative) digits.insert(0, 1, u'-');

    const size_t base = out.size();
    out.append(pattern);
    if (zeros > 0) {
        for (size_t i = out.size(); i > base && !digits.empty(); --i) {
            if (out[i - 1] != u'0') continue;
            out[i - 1] = digits.back();
            digits.pop_back();
        }
    }
    if (hashes > 0) FillHashRun(out, base, digits, true);
}

// Appends the fraction pattern filled: "0" places from the first one take
// digits from the left; the first "#" run takes all that remain.  Nothing is
// rounded.
void AppendFractionPart(std::u16string& out, std::u16string_view pattern, std::u16string_view digits) {
    const size_t base = out.size();
    out.append(pattern);
    const size_t zero = out.find(u'0', base);
    if (zero != std::u16string::npos) {
        size_t used = 0;
        for (size_t i = zero; i < out.size() && used < digits.size(); ++i) {
            if (out[i] == u'0') out[i] = digits[used++];
        }
        digits.remove_prefix(used);
    }
    FillHashRun(out, base, digits, false);
}

}  // namespace

namespace qorcalc::util {

int IsZeroNumberText(const CString& number) {
    for (const char16_t c : number.Str()) {
        if (c != u'-' && c != u'0' && c != u'.') return 0;
    }
    return 1;
}

void SetDecLen(CString& number, int decimals) {
    const int point = number.Find(u'.');
    if (decimals < 0) {
        if (point >= 0) {
            number.TrimRight(u'0');
            if (number[number.GetLength() - 1] == u'.') number.Delete(number.GetLength() - 1);
        }
        return;
    }
    if (number.IsEmpty()) return;
    if (point < 0) {
        if (decimals > 0) number += u'.' + CString(u'0', decimals);
        return;
    }
    const int wanted = decimals == 0 ? point : point + decimals + 1;
    if (number.GetLength() > wanted) {
        number = number.Left(wanted);
    } else {
        number += CString(u'0', wanted - number.GetLength());
    }
}

}  // namespace qorcalc::util

using qorcalc::util::IsZeroNumberText;
using qorcalc::util::SetDecLen;
using qorcalc::detail::ShieldedInto;

void CUtilityCalc::SepNumber(CString& number) {
    ShieldedInto(u"CUtilityCalc::SepNumber", [&] {
        const std::u16string& s = number.Str();
        size_t start = 0;
        while (start < s.size() && s[start] != u'.' && !IsAsciiDigit(s[start])) ++start;
        std::u16string rest = s.substr(start);
        std::erase(rest, u',');
        const size_t point = std::min(rest.find(u'.'), rest.size());
        number = CString(s.substr(0, start) + Grouped(std::u16string_view(rest).substr(0, point)) +
                         rest.substr(point));
    }, number);
}

// Leading spaces, when kept, are put back in front of the result; otherwise
// the spaces around the number are dropped.
void CUtilityCalc::ConvertToDispFormat(CString& number, uint8_t format, int round, int keepLeadingSpaces) {
    ShieldedInto(u"CUtilityCalc::ConvertToDispFormat", [&] {
        if (!IsPureNumber(number, 1)) return;
        int spaces = 0;
        while (keepLeadingSpaces && number[spaces] == u' ') ++spaces;
        number.Trim(u' ');
        number.Remove(u',');
        const bool showZero = format & kShowZero;
        if (!showZero && IsZeroNumberText(number)) {
            number.Empty();
            return;
        }
        const int decimals = DecimalsOf(format);
        if (round) RoundStr(number, decimals);
        SetDecLen(number, decimals);
        if (format & kSeparators) SepNumber(number);
        if (!showZero && IsZeroNumberText(number)) number.Empty();
        if (spaces > 0) number.Insert(0, CString(u' ', spaces));
    }, number);
}

// Without the show-zero bit this form shows nothing at all, unlike the text
// form: a cell given only a double has no text to keep.
void CUtilityCalc::ConvertToDispFormat(double value, CString& out, uint8_t format) {
    ShieldedInto(u"CUtilityCalc::ConvertToDispFormat", [&] {
        out.Empty();
        if (value == 0.0 || !(format & kShowZero)) return;
        const int decimals = DecimalsOf(format);
        Double2Str(out, value, -1);
        RoundStr(out, decimals);
        SetDecLen(out, decimals);
        if (format & kSeparators) SepNumber(out);
    }, out);
}

void CUtilityCalc::ConvertToDispFormat(double value, CString& out, const CString& pattern) {
    ShieldedInto(u"CUtilityCalc::ConvertToDispFormat", [&] {
        int decimals = -1;
        if (!pattern.IsEmpty()) {
            decimals = GetDecLen(pattern);
            // A fraction ending in "#" shows every decimal, so nothing is rounded away.
            if (decimals > 0 && pattern[pattern.GetLength() - 1] == u'#') decimals = -1;
        }
        Double2Str(out, value, -1);
        RoundStr(out, decimals);
        FormatNum(out, pattern);
    }, out);
}

void CUtilityCalc::FormatNum(CString& value, const CString& pattern) {
    ShieldedInto(u"CUtilityCalc::FormatNum", [&] {
        if (pattern.IsEmpty()) return;
        // The text is written over the value; a pattern that is the value
        // itself is read from a copy.
        std::u16string aside;
        const std::u16string_view whole = &pattern == &value ? (aside = pattern.Str()) : pattern.Str();
        const size_t point = whole.find(u'.');
        const std::u16string_view integerPattern = whole.substr(0, point);
        const std::u16string_view fractionPattern =
            point == std::u16string_view::npos ? std::u16string_view() : whole.substr(point + 1);
        PatternDigits digits = ReadDigits(value.Str());
        std::u16string& out = value.Str();
        out.clear();
        if (!integerPattern.empty()) AppendIntegerPart(out, integerPattern, digits);
        if (!fractionPattern.empty()) {
            out += u'.';
            AppendFractionPart(out, fractionPattern, digits.fraction);
        }
    }, value);
}
