// Internal helpers of the number display formats.
//
// Both work on plain number text ("-", digits, one ".") and never round:
// rounding is the caller's choice, made before with CUtilityCalc::RoundStr.
#pragma once

#include <qorcalc/string.h>

namespace qorcalc::util {

// 1 when every character is "-", "0" or "." (the empty text included), so
// "-0", "0.00" and "." all count as zero.
int IsZeroNumberText(const CString& number);

// Fixes the number of decimals to `decimals` by cutting or padding with "0";
// a negative count removes trailing zeros (and then a trailing ".") instead.
void SetDecLen(CString& number, int decimals);

}  // namespace qorcalc::util
