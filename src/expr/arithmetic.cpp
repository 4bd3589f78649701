// The number and text primitives of the list reduction.
#include "expr/evaluate.h"

#include <qorcalc/utility.h>

#include <cmath>

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

// Splits a number's text at its point into the whole part and the signed
// fraction ("-20000.25" gives "-20000" and "-0.25").
void SplitAtPoint(double x, CString& whole, CString& fraction) {
    CString text;
    CUtilityCalc::Double2Str(text, x, -1);
    const int point = text.Find(u'.');
    if (point < 0) {
        whole = text;
        fraction.Empty();
        return;
    }
    whole = text.Left(point);
    fraction = (x < 0 ? CString(u"-0") : CString(u"0")) + text.Mid(point);
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
    CString wholeA, fractionA, wholeB, fractionB;
    SplitAtPoint(a, wholeA, fractionA);
    SplitAtPoint(b, wholeB, fractionB);
    int64_t whole = 0;
    if (__builtin_add_overflow(CUtilityCalc::Str2Int64(wholeA), CUtilityCalc::Str2Int64(wholeB), &whole)) {
        return a + b;
    }
    return static_cast<double>(whole) + CUtilityCalc::Str2Double(fractionA) + CUtilityCalc::Str2Double(fractionB);
}

}  // namespace qorcalc::expr
