// The number and text primitives of the list reduction.
#include "expr/evaluate.h"

#include <qorcalc/utility.h>

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace qorcalc::expr {

namespace {

template <class T>
int CompareByOp(T a, uint8_t op, T b) {
    switch (op) {
    case OpEqual: return a == b;
    case OpGreater: return a > b;
    case OpLess: return a < b;
    case OpGreaterEqual: return a >= b;
    case OpLessEqual: return a <= b;
    default: return a != b;
    }
}

double RoundedForCompare(double value, int decimals) {
    CString text;
    CUtilityCalc::Double2Str(text, value, decimals);
    return CUtilityCalc::Str2Double(text);
}

// The parts of a number as its 15-significant-digit text shows them: the
// whole part and the signed fraction (-20000.25 gives -20000 and -0.25).
// Sums are made of these parts so that what the text shows adds exactly.
// The text is never written: the digits come from the exact binary value,
// rounded to nearest with ties to even as the number writer rounds them.
struct ShownParts {
    int64_t whole;
    double fraction;
};

// From here on a double's text has no fraction (CUtilityCalc::Double2Str).
constexpr double kWholeOnly = 999999999999999.0;
constexpr int kShownDigits = 15;
constexpr int kMaxShownDecimals = 8;
constexpr int64_t kPowersOfTen[] = {1, 10, 100, 1000, 10000, 100000, 1000000, 10000000, 100000000};

int IntegerDigits(double whole) {
    int digits = 1;
    for (double limit = 10; whole >= limit && digits < 18; limit *= 10) ++digits;
    return digits;
}

// round(a * 10^decimals) for 0 <= a < kWholeOnly, exactly.
int64_t ScaledAndRounded(double a, int decimals) {
    int exponent = 0;
    const double mantissa = std::frexp(a, &exponent);
    const auto bits = static_cast<unsigned __int128>(std::ldexp(mantissa, 53));
    const int shift = 53 - exponent;  // a = bits / 2^shift, shift > 0 below 2^53
    if (shift >= 120) return 0;       // far below the last decimal shown
    const unsigned __int128 product = bits * static_cast<unsigned __int128>(kPowersOfTen[decimals]);
    unsigned __int128 quotient = product >> shift;
    const unsigned __int128 rest = product - (quotient << shift);
    const unsigned __int128 half = static_cast<unsigned __int128>(1) << (shift - 1);
    if (rest > half || (rest == half && (quotient & 1))) ++quotient;
    return static_cast<int64_t>(quotient);
}

ShownParts SplitAsShown(double x) {
    const double a = std::fabs(x);
    if (a >= kWholeOnly) return {static_cast<int64_t>(std::trunc(x)), 0.0};
    const int decimals = std::clamp(kShownDigits - IntegerDigits(std::trunc(a)), 0, kMaxShownDecimals);
    const int64_t scaled = ScaledAndRounded(a, decimals);
    const int64_t unit = kPowersOfTen[decimals];
    const int64_t whole = scaled / unit;
    // The quotient of two exact integers is correctly rounded, as reading
    // the fraction's text would be.
    const double fraction = static_cast<double>(scaled % unit) / static_cast<double>(unit);
    return x < 0 ? ShownParts{-whole, -fraction} : ShownParts{whole, fraction};
}

// The whole parts stay exact in 64-bit integers only below this magnitude;
// larger operands are added as plain doubles.
constexpr double kExactWholeLimit = 1e18;

}  // namespace

int CompareNumbers(double a, uint8_t op, double b) {
    const int decimals = CUtilityCalc::Calc_GetCompareCalcDeclen();
    if (decimals != -1) {
        a = RoundedForCompare(a, decimals);
        b = RoundedForCompare(b, decimals);
    }
    return CompareByOp(a, op, b);
}

int CompareTexts(const CString& a, uint8_t op, const CString& b) { return CompareByOp(a.Collate(b), op, 0); }

double AddPrecise(double a, double b) {
    if (a == 0) return b;
    if (b == 0) return a;
    if (a > -10000 && a < 10000 && b > -10000 && b < 10000) return a + b;
    if (!(std::fabs(a) < kExactWholeLimit && std::fabs(b) < kExactWholeLimit)) return a + b;
    // Whole numbers that their text shows in full add exactly as doubles:
    // the text path would find no fractions and add the same integers.
    if (a == std::trunc(a) && b == std::trunc(b) && std::fabs(a) < 1e15 && std::fabs(b) < 1e15) return a + b;
    const ShownParts pa = SplitAsShown(a);
    const ShownParts pb = SplitAsShown(b);
    int64_t whole = 0;
    if (__builtin_add_overflow(pa.whole, pb.whole, &whole)) return a + b;
    return static_cast<double>(whole) + pa.fraction + pb.fraction;
}

}  // namespace qorcalc::expr
