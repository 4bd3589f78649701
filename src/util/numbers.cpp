// Numbers and numeric text: the engine's arithmetic as the user sees it.
//
// Every value travels as plain decimal text ("." the point, "," the group
// separator, whatever the locale), so these routines decide how text reads as
// a number, how a double is written back (15 significant digits, at most 8
// decimals) and how decimal text is rounded (half away from zero, at most 19
// digits).  Invariants kept here:
//   - nothing reads past a text's terminating zero or a buffer's end, and a
//     null text reads as the empty text;
//   - no conversion between double and integer is ever out of range: the
//     results saturate instead (see utility.h);
//   - numbers never depend on the process locale (from_chars / to_chars).
#include <qorcalc/api.h>
#include <qorcalc/limits.h>
#include <qorcalc/utility.h>

#include "support/text.h"
#include "util/number_form.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <climits>
#include <cmath>
#include <string>

using qorcalc::detail::Shielded;
using qorcalc::detail::ShieldedInto;
using qorcalc::support::IsAsciiDigit;
using qorcalc::support::iswspace16;

namespace {

constexpr int kScanLimit = CALC_MAX_NUMBER_TEXT;
// Double2Str writes 15 significant digits, and never more than 8 decimals.
constexpr int kSignificantDigits = 15;
constexpr int kMaxWrittenDecimals = 8;
// From here on a double has no fraction worth writing.
constexpr double kWholeOnly = 999999999999999.0;
constexpr long long kMaxDigits = CALC_MAX_ROUND_DIGITS;
constexpr long long kMaxRoundedDecimals = CALC_MAX_ROUND_DECIMALS;
constexpr int kMaxPaddedDecimals = CALC_MAX_PAD_DECIMALS;
// ResetDoubleString accepts integer parts (sign included) up to this length.
constexpr int kMaxIntegerChars = 18;
// LimitString counts characters above this code twice (wide glyphs).
constexpr char16_t kLastNarrow = 128;

template <class Pred>
bool AllOf(const char16_t* p, Pred pred) {
    for (; p && *p; ++p)
        if (!pred(*p)) return false;
    return true;
}

bool IsDigitOrMinus(char16_t c) { return c == u'-' || IsAsciiDigit(c); }
bool IsExponent(char16_t c) { return c == u'e' || c == u'E'; }

const char16_t* SkipSpaces(const char16_t* p) {
    while (*p == u' ') ++p;
    return p;
}

int OnlySpaces(const char16_t* p) { return *SkipSpaces(p) == 0; }

// Widen into `out`, reusing its storage: the characters are copied over
// in place (assigning from narrow characters would build a wide copy first).
void AssignWidened(CString& out, const char* first, const char* last) {
    std::u16string& s = out.Str();
    s.resize(static_cast<size_t>(last - first));
    std::copy(first, last, s.begin());
}

template <class Int>
void AssignInteger(CString& out, Int value) {
    char buf[24];
    const auto res = std::to_chars(buf, buf + sizeof buf, value);
    AssignWidened(out, buf, res.ptr);
}

// atof over the scanned buffer: the longest number at its start, 0.0 when
// there is none.  Out of range only happens through the exponent (63
// characters of mantissa stay far inside a double), so its sign tells an
// underflow (zero) from an overflow (infinity), as the C library gives them.
// A plain decimal of at most 15 digits ("-12.345", "7", "0.5"): its digits
// make a whole number below 2^53 and its decimals a power of ten up to 10^15,
// both exact in a double, so the one rounding of the division is the
// correct rounding of the decimal, which is what reading it gives.
template <class Char>
bool ReadShortDecimal(const Char* first, const Char* last, double& value) {
    static constexpr double kPowersOfTen[] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                              1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
    const bool negative = first < last && *first == '-';
    uint64_t digits = 0;
    int count = 0, decimals = -1;
    for (const Char* p = first + (negative ? 1 : 0); p < last; ++p) {
        if (*p == '.' && decimals < 0) {
            decimals = 0;
        } else if (*p >= '0' && *p <= '9' && count < 15) {
            digits = digits * 10 + static_cast<uint64_t>(*p - '0');
            ++count;
            if (decimals >= 0) ++decimals;
        } else {
            return false;
        }
    }
    if (count == 0) return false;
    value = static_cast<double>(digits) / kPowersOfTen[decimals > 0 ? decimals : 0];
    if (negative) value = -value;
    return true;
}

double ParseScanned(const char* first, const char* last) {
    double value = 0.0;
    if (ReadShortDecimal(first, last, value)) return value;
    const auto [end, ec] = std::from_chars(first, last, value);
    if (ec == std::errc::result_out_of_range) {
        const char* e = std::find_if(first, end, [](char c) { return c == 'e' || c == 'E'; });
        const double magnitude = (e != end && e[1] == '-') ? 0.0 : HUGE_VAL;
        return *first == '-' ? -magnitude : magnitude;
    }
    return ec == std::errc() ? value : 0.0;
}

// The end of the number text [first, last) without the trailing zeros of
// its fraction, and without its point when they were the whole fraction.
template <class Char>
Char* FractionZerosDropped(Char* first, Char* last) {
    if (std::find(first, last, Char('.')) == last) return last;
    while (last != first && last[-1] == Char('0')) --last;
    if (last != first && last[-1] == Char('.')) --last;
    return last;
}

// Removes trailing "0"s of a text with a ".", then a "." left at the end.
void DropFractionZeros(std::u16string& s) { s.resize(FractionZerosDropped(s.data(), s.data() + s.size()) - s.data()); }

void DropTrailingZeros(std::u16string& digits) { digits.erase(digits.find_last_not_of(u'0') + 1); }

// Adds one to a run of decimal digits, each "9" turning into "0" as the carry
// moves left; true when the carry runs off the left end (always for no digits).
bool AddOne(std::u16string& digits) {
    for (auto it = digits.rbegin(); it != digits.rend(); ++it) {
        if (*it != u'9') {
            ++*it;
            return false;
        }
        *it = u'0';
    }
    return true;
}

bool IsHighSurrogate(char16_t c) { return c >= 0xD800 && c < 0xDC00; }
bool IsLowSurrogate(char16_t c) { return c >= 0xDC00 && c < 0xE000; }

// The number of UTF-16 units of the character at `i` (a surrogate pair is one character).
size_t CharUnits(const std::u16string& s, size_t i) {
    return IsHighSurrogate(s[i]) && i + 1 < s.size() && IsLowSurrogate(s[i + 1]) ? 2 : 1;
}

// The count of decimal digits of a whole number ("0" has one).
int DecimalDigits(uint64_t value) {
    int digits = 1;
    for (; value >= 10; value /= 10) ++digits;
    return digits;
}

// The decimals a number below kWholeOnly is written with before its
// rounding: what its 15 significant digits leave, at most 8.
int FixedPrecision(double a) {
    return std::clamp(kSignificantDigits - DecimalDigits(static_cast<uint64_t>(a)), 0, kMaxWrittenDecimals);
}

// `a` (at most 15 integer digits, so that a * 10^precision stays within
// 10^15) in fixed point with `precision` (at most 8) decimals, rounded half
// to even as the exact value is: its binary digits times 10^precision, an
// exact 128-bit product, divided by its power of two with the remainder
// deciding the rounding.  Much cheaper than the general decimal writer.
char* WriteFixed(char* first, char* last, double a, int precision) {
    static constexpr uint64_t kPowersOfTen[] = {1, 10, 100, 1000, 10000, 100000, 1000000, 10000000, 100000000};
    static_assert(std::size(kPowersOfTen) == kMaxWrittenDecimals + 1);
    // a = mantissa / 2^shift, read off its bits (the implicit leading one
    // of a normal number added).
    const uint64_t bits = std::bit_cast<uint64_t>(a);
    const int biased = static_cast<int>(bits >> 52);
    const uint64_t mantissa = (bits & ((uint64_t{1} << 52) - 1)) | (biased ? uint64_t{1} << 52 : 0);
    const int shift = 1075 - std::max(biased, 1);
    if (shift <= 0) return std::to_chars(first, last, a, std::chars_format::fixed, precision).ptr;
    uint64_t scaled = 0;  // what is left of a below 2^-100 rounds to 0
    if (shift < 100) {
        using Wide = unsigned __int128;
        const Wide product = static_cast<Wide>(mantissa) * kPowersOfTen[precision];
        const Wide quotient = product >> shift;
        const Wide rest = product - (quotient << shift);
        const Wide half = static_cast<Wide>(1) << (shift - 1);
        scaled = static_cast<uint64_t>(quotient) + (rest > half || (rest == half && (quotient & 1)) ? 1 : 0);
    }
    char* end = std::to_chars(first, last, scaled / kPowersOfTen[precision]).ptr;
    if (precision == 0) return end;
    *end++ = '.';
    uint64_t decimals = scaled % kPowersOfTen[precision];
    for (int i = precision - 1; i >= 0; --i, decimals /= 10) end[i] = static_cast<char>('0' + decimals % 10);
    return end + precision;
}

}  // namespace

double CUtilityCalc::Str2Double(const char16_t* text) {
    if (!text) return 0.0;
    // Nearly every text read is such a decimal and nothing else, which the
    // scan below would copy unchanged: it is read where it stands.
    double value = 0.0;
    if (ReadShortDecimal(text, text + std::char_traits<char16_t>::length(text), value)) return value;
    char buf[kScanLimit + 1];
    int w = 0;
    bool seenDot = false, seenMinus = false, seenExponent = false, seenPlus = false;
    for (const char16_t* p = text; *p && w < kScanLimit; ++p) {
        const char16_t c = *p;
        if (c == u' ') {
            if (w > 0) break;
        } else if (IsExponent(c)) {
            if (seenExponent) break;
            seenExponent = true;
            seenMinus = false;  // the exponent may carry its own sign
            buf[w++] = static_cast<char>(c);
        } else if (c == u'+') {
            // A leading plus is not a number here; only the exponent's sign may be "+".
            if (!seenExponent || seenPlus) break;
            seenPlus = true;
            buf[w++] = '+';
        } else if (c == u'-') {
            if (seenMinus || (!seenExponent && w != 0)) break;
            seenMinus = true;
            buf[w++] = '-';
        } else if (c == u',') {
            continue;  // group separators are skipped wherever they stand
        } else if (c == u'.') {
            if (seenDot) break;
            seenDot = true;
            if (w == 0 || (w == 1 && buf[0] == '-')) buf[w++] = '0';  // ".5" reads as "0.5"
            buf[w++] = '.';
        } else if (IsAsciiDigit(c)) {
            buf[w++] = static_cast<char>(c);
        } else {
            break;
        }
    }
    return ParseScanned(buf, buf + w);
}

int CUtilityCalc::Str2Int(const char16_t* text) {
    if (!text || !*text) return 0;
    // Nine digits or fewer alone, as counts and positions come, cannot
    // overflow: they are read without the general reader's checks.
    constexpr int kSafeDigits = 9;
    int value = 0;
    for (int i = 0; i < kSafeDigits && IsAsciiDigit(text[i]); ++i) {
        value = value * 10 + (text[i] - u'0');
        if (!text[i + 1]) return value;
    }
    if (AllOf(text, IsDigitOrMinus)) return qorcalc::support::wtoi(text);
    return Double2Int(Str2Double(text));
}

int64_t CUtilityCalc::Str2Int64(const char16_t* text) {
    if (!text) return 0;
    if (AllOf(text, IsDigitOrMinus)) return qorcalc::support::wtoi64(text);
    return Double2Int64(Str2Double(text));
}

int CUtilityCalc::Double2Int(double value) {
    if (value == 0.0 || std::isnan(value)) return 0;
    const double a = std::fabs(value);
    if (a >= 2147483648.0) return value < 0 ? INT_MIN : INT_MAX;
    int64_t i = static_cast<int32_t>(a);
    // The fraction is compared after scaling by 100 against 50; the form is kept on purpose.
    if ((a - static_cast<double>(i)) * 100.0 >= 50.0) ++i;
    return static_cast<int>(std::clamp<int64_t>(value < 0 ? -i : i, INT_MIN, INT_MAX));
}

int64_t CUtilityCalc::Double2Int64(double value) {
    return Shielded(u"CUtilityCalc::Double2Int64", int64_t{0}, [&]() -> int64_t {
        if (std::isnan(value)) return 0;
        if (std::isinf(value)) return value < 0 ? INT64_MIN : INT64_MAX;
        // Decimal rounding on the written text: 0.49999999999999994 is written "0.5"
        // and so gives 1, as the user reading it expects.
        CString text;
        Double2Str(text, value, -1);
        RoundStr(text, 0);
        return qorcalc::support::wtoi64(text);
    });
}

void CUtilityCalc::Double2Str(CString& out, double value, int decimals) {
    ShieldedInto(u"CUtilityCalc::Double2Str", [&] {
        out.Empty();
        if (!std::isfinite(value)) return;
        const double a = std::fabs(value);
        const int n = std::min(decimals, kMaxWrittenDecimals);
        // 309 integer digits for the largest double, plus the point and 8 decimals.
        char buf[400];
        if (decimals < 0 && a < kWholeOnly) {
            // Asked for as it is, the text is finished here, with its sign,
            // and widened once: a short one needs no storage of its own.  A
            // whole number is its digits (what rounding would leave of its
            // fixed-point text); any other has at most 15 digits, fewer than
            // rounding keeps, so only its fraction's trailing zeros go.
            char* const first = buf + 1;
            char* const last =
                a == std::trunc(a) ? std::to_chars(first, buf + sizeof buf, static_cast<uint64_t>(a)).ptr
                                   : FractionZerosDropped(first, WriteFixed(first, buf + sizeof buf, a, FixedPrecision(a)));
            // The sign follows the value, not the text: -0.0000000000000001 is "-0".
            if (value < 0) buf[0] = '-';
            AssignWidened(out, value < 0 ? buf : first, last);
            return;
        }
        if (a >= kWholeOnly) {
            const auto whole = std::to_chars(buf, buf + sizeof buf, std::trunc(a), std::chars_format::fixed, 0);
            AssignWidened(out, buf, whole.ptr);
            if (n > 0) {
                out += u'.';
                out += CString(u'0', n);
            }
        } else {
            AssignWidened(out, buf, WriteFixed(buf, buf + sizeof buf, a, FixedPrecision(a)));
            RoundStr(out, n);
        }
        // The sign follows the value, not the rounded text: -0.001 to 2 decimals is "-0.00".
        if (value < 0) out.Insert(0, u'-');
    }, out);
}

void CUtilityCalc::Int64Str(CString& out, int64_t value) {
    ShieldedInto(u"CUtilityCalc::Int64Str", [&] { AssignInteger(out, value); }, out);
}

void CUtilityCalc::UInt64Str(CString& out, int64_t value) {
    ShieldedInto(u"CUtilityCalc::UInt64Str", [&] { AssignInteger(out, static_cast<uint64_t>(value)); }, out);
}

void CUtilityCalc::RoundStr(CString& number, int decimals) {
    ShieldedInto(u"CUtilityCalc::RoundStr", [&] {
        std::u16string& s = number.Str();
        // Most numbers have nothing to trim: their ends are looked at first.
        if (!s.empty() && (iswspace16(s.front()) || iswspace16(s.back()))) number.Trim();
        if (!s.empty() && s.back() == u'.') number.TrimRight(u'.');
        if (s.empty()) return;
        const size_t point = std::min(s.find(u'.'), s.size());
        const long long d = point < s.size() ? static_cast<long long>(s.size() - point - 1) : 0;
        const long long n = decimals;
        if (n == d) return;
        if (n > d) {
            const long long want = std::min<long long>(n, std::max<long long>(d, kMaxPaddedDecimals));
            if (d == 0) s += u'.';
            s.append(static_cast<size_t>(want - d), u'0');
            return;
        }

        // The integer without leading zeros and the fraction without trailing
        // ones are copied out as far as they are kept.
        const bool hadMinus = s[0] == u'-';
        const std::u16string_view text(s);
        const size_t integerStart = std::min(text.find_first_not_of(u'0', hadMinus ? 1 : 0), point);
        std::u16string integer(text.substr(integerStart, point - integerStart));
        std::u16string_view digits = point < text.size() ? text.substr(point + 1) : std::u16string_view();
        digits = digits.substr(0, digits.find_last_not_of(u'0') + 1);

        // Never more than 19 digits in all, nor more than 12 asked-for decimals.
        const long long room = std::max<long long>(kMaxDigits - static_cast<long long>(integer.size()), 0);
        long long m = std::min(n, kMaxRoundedDecimals);
        if (m < 0 || m > room) m = room;

        const bool cut = static_cast<long long>(digits.size()) > m;
        const bool up = cut && digits[static_cast<size_t>(m)] > u'4';
        std::u16string fraction(cut ? digits.substr(0, static_cast<size_t>(m)) : digits);
        bool carry = false;
        if (cut) {
            carry = up && AddOne(fraction);
            DropTrailingZeros(fraction);
        }
        // Only a zero result loses its sign ("-0.004" to 2 decimals is "0.00", never
        // "-0.00"); any other keeps it: "-5.4" to 0 decimals is "-5" and "-5.001" to
        // 2 is "-5.00", which the signed rounding of Double2Int64 and of amounts needs.
        bool negative = hadMinus;
        if (integer.empty()) {
            integer.push_back(u'0');
            if (!carry && fraction.empty()) negative = false;
        }
        if (carry && AddOne(integer)) integer.insert(0, 1, u'1');
        if (n >= 0 && m > 0) fraction.resize(static_cast<size_t>(m), u'0');

        // Written over the number's own storage, without joined temporaries.
        s.clear();
        if (negative) s += u'-';
        s += integer;
        if (!fraction.empty()) {
            s += u'.';
            s += fraction;
        }
    }, number);
}

namespace qorcalc::util {

int MeasureNumberForm(std::u16string_view s) {
    size_t i = !s.empty() && s[0] == u'-' ? 1 : 0;
    const size_t digits = i;
    while (i < s.size() && IsAsciiDigit(s[i])) ++i;
    if (i == digits || s == u"-0") return -1;
    const int fits = i <= static_cast<size_t>(kMaxIntegerChars) ? 1 : 0;
    if (i == s.size()) return fits;
    if (s[i] != u'.' || s.back() == u'0' || i + 1 == s.size()) return -1;
    for (++i; i < s.size(); ++i)
        if (!IsAsciiDigit(s[i])) return -1;
    return fits;
}

}  // namespace qorcalc::util

int CUtilityCalc::ResetDoubleString(CString& number) {
    if (const int fits = qorcalc::util::MeasureNumberForm(number.Str()); fits >= 0) return fits;
    number.Trim();
    number.TrimRight(u'.');
    DropFractionZeros(number.Str());
    if (number == u"-0") number = u"0";
    const int point = number.Find(u'.');
    return (point < 0 ? number.GetLength() : point) <= kMaxIntegerChars;
}

int CUtilityCalc::GetDecLen(const CString& number) {
    const int point = number.Find(u'.');
    return point < 0 ? 0 : number.GetLength() - point - 1;
}

int CUtilityCalc::IsString0To9(const char16_t* text) { return AllOf(text, IsAsciiDigit); }

int CUtilityCalc::IsPureNumber(const char16_t* text, int allowComma) {
    if (!text) return 1;
    const char16_t* const start = SkipSpaces(text);
    const char16_t* lastComma = nullptr;
    bool seenDot = false;
    for (const char16_t* p = start; *p; ++p) {
        switch (*p) {
            case u' ':
                return OnlySpaces(p);
            case u'.':
                // Behind a group separator the point must close a group of three.
                if (seenDot || (lastComma && p - lastComma != 4)) return 0;
                seenDot = true;
                break;
            case u'-':
                if (p != start) return 0;
                break;
            case u',':
                // The first separator has no distance rule; later ones close groups of three.
                if (!allowComma || seenDot || (lastComma && p - lastComma != 4)) return 0;
                lastComma = p;
                break;
            default:
                if (!IsAsciiDigit(*p)) return 0;
        }
    }
    return 1;
}

int CUtilityCalc::IsConvertAbleNumberString(const char16_t* text, int allowComma) {
    if (!text) return 1;
    const char16_t* const start = SkipSpaces(text);
    const char16_t* exponent = nullptr;
    bool seenDot = false;
    const char16_t* p = start;
    for (; *p && *p != u' '; ++p) {
        switch (*p) {
            case u'e':
            case u'E':
                if (exponent || p == start) return 0;
                exponent = p;
                break;
            case u'.':
                if (exponent || seenDot) return 0;
                seenDot = true;
                break;
            case u'-':
                if (p != (exponent ? exponent + 1 : start)) return 0;
                break;
            case u'+':
                if (!exponent || p != exponent + 1) return 0;
                break;
            case u',':
                if (!allowComma || exponent) return 0;
                break;
            default:
                if (!IsAsciiDigit(*p)) return 0;
        }
    }
    if (!OnlySpaces(p)) return 0;
    return p == start || !IsExponent(p[-1]);
}

int CUtilityCalc::IsValidNumber(const CString& value, const CString& minimum, const CString& maximum) {
    if (minimum.IsEmpty() && maximum.IsEmpty()) return 1;
    const double v = Str2Double(value);
    // A bound that is not a number is ignored; both bounds are inclusive.
    if (!minimum.IsEmpty() && IsPureNumber(minimum, 1) && Str2Double(minimum) > v) return 0;
    if (maximum.IsEmpty() || !IsPureNumber(maximum, 1)) return 1;
    return v > Str2Double(maximum) ? 0 : 1;
}

int CUtilityCalc::LimitString(CString& text, int limit) {
    if (limit == 0) return 0;
    std::u16string& s = text.Str();
    size_t cut = 0;
    if (limit > 0) {
        if (s.size() <= static_cast<size_t>(limit)) return 0;
        cut = static_cast<size_t>(limit);
        if (IsLowSurrogate(s[cut]) && IsHighSurrogate(s[cut - 1])) --cut;  // keep pairs whole
    } else {
        // A display-width limit: narrow characters count 1, wide ones 2.
        const long long budget = -static_cast<long long>(limit);
        long long width = 0;
        for (; cut < s.size(); cut += CharUnits(s, cut)) {
            width += s[cut] <= kLastNarrow ? 1 : 2;
            if (width > budget) break;
        }
        if (cut >= s.size()) return 0;
    }
    s.resize(cut);
    return 1;
}
