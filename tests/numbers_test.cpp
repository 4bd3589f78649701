// Number text: reading, writing, decimal rounding and the validity tests, at
// the edges where a wrong implementation shows (carries through nines,
// halves, signs of zero results, the comma rules) and on hostile input.
#include <qorcalc/utility.h>

#include <gtest/gtest.h>

#include "text_helpers.h"

#include <climits>
#include <cmath>
#include <limits>
#include <string>

namespace {

using C = CUtilityCalc;

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

TEST(Str2Double, ScanRules) {
    struct Case { const char16_t* text; double want; } cases[] = {
        {u"  -.5", -0.5},   {u"1e3", 1000},     {u"1E+3", 1000},      {u"1e-3", 0.001},   {u"+3", 0},
        {u"1 000", 1},      {u"1,000.25", 1000.25}, {u"1,2,3", 123},  {u"-,5", -5},       {u"--1", 0},
        {u"-1-2", -1},      {u"1e5e3", 1e5},    {u"1.2.3", 1.2},      {u"12abc", 12},     {u"", 0},
        {nullptr, 0},       {u"\t5", 0},        {u"1e", 1},           {u"e5", 0},         {u"-", 0},
        {u"1e999", kInf},   {u"-1e999", -kInf}, {u"1e-999", 0},       {u"１２", 0},
        {u"∞", 0},          {u"-∞", 0},         {u"inf", 0},          {u"nan", 0},  // no infinity is read
        // Plain decimals up to 15 digits and just past: each the nearest double.
        {u"0.1", 0.1},      {u"-12.345", -12.345}, {u"5.", 5},        {u".", 0},          {u"999999999999999", 999999999999999.0},
        {u"0.30000000000000004", 0.30000000000000004}, {u"9007199254740993", 9007199254740992.0},
        {u"123456789.123456789", 123456789.123456789}, {u"0.000000000000001", 1e-15},
    };
    for (const auto& c : cases) EXPECT_EQ(C::Str2Double(c.text), c.want) << U8(c.text);
    EXPECT_TRUE(std::signbit(C::Str2Double(u"-1e-999")));
    EXPECT_TRUE(std::signbit(C::Str2Double(u"-0")));
    // At most 63 characters are read; group separators take no room.
    EXPECT_DOUBLE_EQ(C::Str2Double(Repeat(u"1234567890", 7)), 1.234567890123456789e62);
    EXPECT_DOUBLE_EQ(C::Str2Double(Repeat(u"1,", 100)), 1.1111111111111111e62);
    EXPECT_EQ(C::Str2Double(u"0." + Repeat(u"0", 70) + u"1"), 0.0);
}

TEST(Str2Int, DigitsDirectOtherwiseRounded) {
    struct Case { const char16_t* text; int want; int64_t want64; } cases[] = {
        {nullptr, 0, 0},       {u"", 0, 0},           {u"-45", -45, -45},     {u"12.5", 13, 13},
        {u"-12.5", -13, -13},  {u"12.49", 12, 12},    {u"1,234", 1234, 1234}, {u" 7", 7, 7},
        {u"+5", 0, 0},         {u"--5", 0, 0},        {u"3-", 3, 3},
        {u"12345678901234.5", INT_MAX, 12345678901235}, {u"-9223372036854775808", INT_MIN, INT64_MIN},
        {u"99999999999999999999", INT_MAX, INT64_MAX},  {u"9e99", INT_MAX, INT64_MAX},
        {u"-9e999", INT_MIN, INT64_MIN},
        // Around the nine digits that are read directly, and digits followed by more.
        {u"0", 0, 0},          {u"007", 7, 7},        {u"999999999", 999999999, 999999999},
        {u"2147483647", INT_MAX, INT_MAX},            {u"2147483648", INT_MAX, 2147483648},
        {u"0000000012", 12, 12},                      {u"12a", 12, 12},       {u"12 ", 12, 12},
        {u"123456789.6", 123456790, 123456790},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(C::Str2Int(c.text), c.want) << U8(c.text);
        EXPECT_EQ(C::Str2Int64(c.text), c.want64) << U8(c.text);
    }
}

TEST(Double2Int, HalfAwayFromZeroAndSaturates) {
    struct Case { double value; int want; int64_t want64; } cases[] = {
        {2.5, 3, 3}, {-2.5, -3, -3}, {2.4999, 2, 2}, {-2.4999, -2, -2}, {-0.0, 0, 0}, {0.5, 1, 1}, {kNaN, 0, 0},
        {0.49999999999999994, 0, 1},  // the 64-bit form rounds the 15-digit text, which reads "0.5"
        {2147483647.5, INT_MAX, 2147483648},   {-2147483647.5, INT_MIN, -2147483648},
        {-2147483648.0, INT_MIN, -2147483648}, {1e18, INT_MAX, 1000000000000000000},
        {9.3e18, INT_MAX, INT64_MAX},          {kInf, INT_MAX, INT64_MAX}, {-kInf, INT_MIN, INT64_MIN},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(C::Double2Int(c.value), c.want) << c.value;
        EXPECT_EQ(C::Double2Int64(c.value), c.want64) << c.value;
    }
}

TEST(Double2Str, SignificantDigitsDecimalsAndSign) {
    struct Case { double value; int decimals; const char* want; } cases[] = {
        {0.5, 2, "0.50"},   {1.0 / 3, -1, "0.33333333"},   {0.125, 20, "0.12500000"},
        {123456789012.3456, -1, "123456789012.346"},       {1e15, 2, "1000000000000000.00"},
        {999999999999999.0, 2, "999999999999999.00"},      {99999999999999.99, -1, "100000000000000"},
        {-0.001, 2, "-0.00"}, {-1e-10, -1, "-0"},  {-0.0, 2, "0.00"},   {0.0, -1, "0"},  {-2.5, 0, "-3"},
        {100.0, -1, "100"},   {9.995, 2, "10.00"}, {2.675, 2, "2.68"},  // rounded as written, not as stored
        {1e20, 0, "100000000000000000000"},         {kNaN, 2, ""},      {kInf, -1, ""},
        // whole numbers as they are, up to the last below 10^15
        {-42.0, -1, "-42"},   {-0.0, -1, "0"},     {7.0, -5, "7"},      {1e14, -1, "100000000000000"},
        {999999999999998.0, -1, "999999999999998"}, {-999999999999998.0, -1, "-999999999999998"},
        {1e15, -1, "1000000000000000"},             {4503599627370496.0, -1, "4503599627370496"},
        // 15 significant digits counted from the integer part's length
        {0.123456789012345678, -1, "0.12345679"},   {9.87654321098765, -1, "9.87654321"},
        {9999999.999999999, -1, "10000000"},        {12345678.123456789, -1, "12345678.1234568"},
        {99999999999999.5, -1, "99999999999999.5"}, {100000000000000.5, -1, "100000000000000"},
        {-123456.7890123456, 3, "-123456.789"},     {10.5, -1, "10.5"},  {0.5, -1, "0.5"},
        // A ninth decimal of exactly 5 rounds to the even eighth; the smallest doubles are 0.
        {0.001953125, -1, "0.00195312"},            {0.005859375, -1, "0.00585938"},
        {-0.001953125, -1, "-0.00195312"},          {5e-324, -1, "0"},   {2.2250738585072014e-308, 2, "0.00"},
    };
    for (const auto& c : cases) {
        CString out(u"stale");
        C::Double2Str(out, c.value, c.decimals);
        EXPECT_EQ(U8(out), c.want) << c.value << " with " << c.decimals;
    }
    CString text;
    C::Double2Str(text, std::numeric_limits<double>::max(), -1);
    EXPECT_EQ(text.GetLength(), 309);
    EXPECT_EQ(U8(text.Left(17)), "17976931348623157");
    for (double v : {1234.5678, -0.00012345, 123456789012345.0, 1e-8, 4503599627370497.0}) {
        C::Double2Str(text, v, -1);
        EXPECT_EQ(C::Str2Double(text), v) << U8(text);  // reads back exactly within 15 digits
    }
}

TEST(IntegerText, SignedAndUnsigned) {
    CString out, unsignedOut;
    for (int64_t v : {INT64_MIN, int64_t{-1}, int64_t{0}, INT64_MAX}) {
        C::Int64Str(out, v);
        C::UInt64Str(unsignedOut, v);
        EXPECT_EQ(U8(out), std::to_string(v));
        EXPECT_EQ(U8(unsignedOut), std::to_string(static_cast<uint64_t>(v)));
    }
}

TEST(RoundStr, DecimalRoundingOnText) {
    struct Case { const char16_t* text; int decimals; const char* want; } cases[] = {
        {u"2.345", 2, "2.35"},   {u"-2.345", 2, "-2.35"},  {u"9.995", 2, "10.00"},  {u"0.004", 2, "0.00"},
        {u"-0.004", 2, "0.00"},  {u"1.5", 0, "2"},         {u"-0.5", 0, "-1"},      {u"-9.96", 1, "-10.0"},
        {u"-5.001", 2, "-5.00"}, {u"-5.4", 0, "-5"},       {u"-00.04", 1, "0.0"},   // only a zero loses its sign
        {u"99.99", 1, "100.0"},  {u"0.999", 2, "1.00"},    {u"1.2", 4, "1.2000"},   {u"1.230", -1, "1.23"},
        {u"007.50", 1, "7.5"},   {u"5", 2, "5.00"},        {u"  3.14159  ", 2, "3.14"},
        {u"003.10", 2, "003.10"}, {u"-0", -1, "0"},        {u"-", 0, "-"},          {u"-", -1, "0"},
        {u"", 2, ""},            {u"...", 2, ""},          {u"1.5", INT_MIN, "1.5"},
        {u"1.5", 20, "1.50000000000000000000"},
        // Blanks at either end only, and trailing points after them.
        {u"\u30002.345", 2, "2.35"}, {u"2.345\t", 2, "2.35"}, {u"7.. ", 0, "7"}, {u" 7.", 1, "7.0"},
        {u"2.3 45", 2, "2.3 "},  // an inner blank is a digit place like any other
        // No more than 19 digits in all, nor more than 12 asked-for decimals when rounding.
        {u"1234567890123456789.55", 1, "1234567890123456790"},
        {u"12345678901234567.8951", 3, "12345678901234567.90"},
        {u"12345678901234567890.123", -1, "12345678901234567890"},
        {u"0.1234567890123456", 14, "0.123456789012"}, {u"0.9999999999999", 12, "1.000000000000"},
        {u"0.5", 14, "0.50000000000000"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(Edited(c.text, [&](CString& s) { C::RoundStr(s, c.decimals); }), c.want) << c.decimals;
}

TEST(ResetDoubleString, NormalisesAndChecksIntegerLength) {
    struct Case { const char16_t* text; const char* want; int result; } cases[] = {
        {u"1.2300", "1.23", 1}, {u"5.000", "5", 1}, {u"-0.000", "0", 1}, {u" 7. ", "7", 1}, {u"100", "100", 1},
        {u"", "", 1},           {u"123456789012345678", "123456789012345678", 1},
        {u"1234567890123456789", "1234567890123456789", 0},
        {u"-123456789012345678", "-123456789012345678", 0},
        {u"-12345678901234567.50", "-12345678901234567.5", 1},
        // Texts already in number form are left as they are ("-0" aside).
        {u"-0", "0", 1},        {u"-00", "-00", 1}, {u"0012", "0012", 1},   {u"12.5", "12.5", 1},
        {u"-0.5", "-0.5", 1},   {u"12.", "12", 1},  {u"12.50", "12.5", 1},  {u".5", ".5", 1},
        {u"-", "-", 1},         {u"-.", "-", 1},    {u"1.2.3", "1.2.3", 1}, {u"1e5", "1e5", 1},
        {u"123456789012345678.9", "123456789012345678.9", 1},
        {u"1234567890123456789.5", "1234567890123456789.5", 0},
    };
    for (const auto& c : cases) {
        CString s(c.text);
        EXPECT_EQ(C::ResetDoubleString(s), c.result) << U8(c.text);
        EXPECT_EQ(U8(s), c.want);
    }
}

TEST(GetDecLen, CountsBehindFirstPointAndDigitTest) {
    struct Case { const char16_t* text; int decLen; int allDigits; } cases[] = {
        {u"", 0, 1}, {u"0123", 0, 1}, {u"1.25", 2, 0}, {u"1.", 0, 0}, {u".5.5", 3, 0}, {u"-1", 0, 0}, {u"１２", 0, 0},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(C::GetDecLen(c.text), c.decLen) << U8(c.text);
        EXPECT_EQ(C::IsString0To9(c.text), c.allDigits) << U8(c.text);
    }
    EXPECT_EQ(C::IsString0To9(nullptr), 1);
}

// The same text through both tests: plain decimals with group distances, and
// numbers that may carry an exponent (where commas go unchecked).
TEST(IsPureNumber, AgainstIsConvertAbleNumberString) {
    struct Case { const char16_t* text; int allowComma; int pure; int convertible; } cases[] = {
        {nullptr, 1, 1, 1},      {u"", 1, 1, 1},          {u"   ", 0, 1, 1},        {u"-", 0, 1, 1},
        {u".", 0, 1, 1},         {u"  12", 0, 1, 1},      {u"12 3", 0, 0, 0},       {u"1.2.3", 0, 0, 0},
        {u"1-2", 0, 0, 0},       {u"-1.5", 0, 1, 1},      {u"+1", 0, 0, 0},         {u"1e5", 1, 0, 1},
        {u"1E-5", 0, 0, 1},      {u"1.5e3", 0, 0, 1},     {u"e5", 0, 0, 0},         {u"1e", 0, 0, 0},
        {u"1e5e", 0, 0, 0},      {u"1e 5", 0, 0, 0},      {u"1e3.5", 0, 0, 0},      {u"1e5-", 0, 0, 0},
        {u"1e-", 0, 0, 1},       {u"1,234", 1, 1, 1},     {u"1,234", 0, 0, 0},      {u"1,23.5", 1, 0, 1},
        {u"1,2345.6", 1, 0, 1},  {u"12345,678", 1, 1, 1}, {u"1,23,456", 1, 0, 1},   {u"1,234,5678", 1, 1, 1},
        {u"1.5,000", 1, 0, 1},   {u",", 1, 1, 1},         {u",,", 1, 0, 1},         {u"1,000e3", 1, 0, 1},
        {u"1e1,0", 1, 0, 0},     {u"１", 0, 0, 0},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(C::IsPureNumber(c.text, c.allowComma), c.pure) << U8(c.text) << " " << c.allowComma;
        EXPECT_EQ(C::IsConvertAbleNumberString(c.text, c.allowComma), c.convertible) << U8(c.text);
    }
}

TEST(IsValidNumber, InclusiveBoundsAndIgnoredNonNumbers) {
    struct Case { const char16_t *value, *minimum, *maximum; int want; } cases[] = {
        {u"5", u"", u"", 1},         {u"1", u"1", u"10", 1},      {u"10", u"1", u"10", 1},   {u"0.5", u"1", u"", 0},
        {u"11", u"", u"10", 0},      {u"11", u"abc", u"10", 0},   {u"11", u"1", u"abc", 1},  {u"5", u"1,00", u"", 0},
        {u"1,500", u"1,000", u"2,000", 1}, {u"2,500", u"1,000", u"2,000", 0}, {u"abc", u"-1", u"1", 1},
    };
    for (const auto& c : cases)
        EXPECT_EQ(C::IsValidNumber(c.value, c.minimum, c.maximum), c.want)
            << U8(c.value) << " in [" << U8(c.minimum) << ", " << U8(c.maximum) << "]";
}

TEST(LimitString, CharacterAndDisplayWidthLimits) {
    struct Case { const char16_t* text; int limit; const char16_t* want; int result; } cases[] = {
        {u"abc", 0, u"abc", 0},        {u"abc", 3, u"abc", 0},        {u"abcd", 3, u"abc", 1},
        {u"中文字", -5, u"中文", 1},   {u"中文字", -6, u"中文字", 0}, {u"a中b", -2, u"a", 1},
        {u"abc", INT_MIN, u"abc", 0},  {u"\u0080\u0080", -2, u"\u0080\u0080", 0},
        {u"\u0081\u0081", -2, u"\u0081", 1},
        // A surrogate pair is one wide character and is never split.
        {u"a\U0001F600b", 2, u"a", 1}, {u"\U0001F600\U0001F600", -3, u"\U0001F600", 1},
        {u"\U0001F600", -2, u"\U0001F600", 0},
    };
    for (const auto& c : cases) {
        CString s(c.text);
        EXPECT_EQ(C::LimitString(s, c.limit), c.result) << U8(c.text) << " " << c.limit;
        EXPECT_EQ(s, c.want) << U8(c.text) << " " << c.limit;
    }
}

TEST(NumberText, HostileLongTexts) {
    const CString commas(u',', 100000), minuses(u'-', 100000), digits(u'9', 100000);
    EXPECT_EQ(C::Str2Double(digits), C::Str2Double(CString(u'9', 63)));
    for (const char16_t* unit : {u" ", u",", u"-", u"+", u".", u"e"})
        EXPECT_EQ(C::Str2Double(Repeat(unit, 100000)), 0.0) << U8(unit);
    EXPECT_EQ(C::Str2Int(minuses), 0);
    EXPECT_EQ(C::Str2Int64(commas), 0);
    EXPECT_EQ(C::Str2Int(digits), INT_MAX);
    EXPECT_EQ(C::Str2Int64(digits), INT64_MAX);
    EXPECT_EQ(C::IsPureNumber(commas, 1), 0);
    EXPECT_EQ(C::IsPureNumber(digits, 0), 1);
    EXPECT_EQ(C::IsConvertAbleNumberString(commas, 1), 1);
    EXPECT_EQ(C::IsConvertAbleNumberString(minuses, 0), 0);
    EXPECT_EQ(C::IsString0To9(digits), 1);
    EXPECT_EQ(C::IsValidNumber(digits, u"1", u"1e999"), 1);
    CString signs = minuses;
    EXPECT_EQ(C::ResetDoubleString(signs), 0);

    CString nines = digits + u".5";  // the carry runs through every nine
    C::RoundStr(nines, 0);
    EXPECT_EQ(nines.GetLength(), 100001);
    EXPECT_EQ(nines.Left(2), u"10");
    EXPECT_EQ(nines.Find(u'9'), -1);
    CString padded(u"1.5");
    C::RoundStr(padded, INT_MAX);  // a forged count is capped
    EXPECT_EQ(C::GetDecLen(padded), 4096);
    CString dots(u'.', 100000);
    C::RoundStr(dots, 3);
    EXPECT_TRUE(dots.IsEmpty());
}

}  // namespace
