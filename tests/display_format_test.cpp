// Number display formats: grouping, the one-byte cell format with its
// show-zero and separator bits, and picture patterns that truncate and fill
// "0" places from the right.
#include <qorcalc/utility.h>

#include "util/display_format.h"

#include <gtest/gtest.h>

#include "text_helpers.h"

#include <string>

namespace {

using C = CUtilityCalc;

TEST(DisplayFormat, SepNumberAndSetDecLen) {
    struct Sep { const char *in, *want; } seps[] = {
        {"1234567.891", "1,234,567.891"}, {"-1234", "-1,234"}, {"123", "123"},   {"1,2345", "12,345"},
        {"$ 1234.5", "$ 1,234.5"},        {"123456", "123,456"}, {".123456", ".123456"}, {"-", "-"}, {"", ""},
    };
    for (const auto& c : seps) EXPECT_EQ(Edited(U(c.in), [](CString& s) { C::SepNumber(s); }), c.want) << c.in;
    // SetDecLen cuts or pads, never rounds.
    struct Dec { const char* in; int decimals; const char* want; } decs[] = {
        {"1.239", 2, "1.23"}, {"1.2", 3, "1.200"}, {"12", 2, "12.00"}, {"12", 0, "12"}, {"1.99", 0, "1"},
        {"1.500", -1, "1.5"}, {"1.000", -1, "1"},  {"100", -1, "100"}, {"", 2, ""},     {".5", 0, ""},
    };
    for (const auto& c : decs)
        EXPECT_EQ(Edited(U(c.in), [&](CString& s) { qorcalc::util::SetDecLen(s, c.decimals); }), c.want) << c.in;
    for (const char* zero : {"", "0", "-0", "0.00", ".", "-0.0"}) EXPECT_TRUE(qorcalc::util::IsZeroNumberText(U(zero)));
    for (const char* nonZero : {"0.01", "1", " 0", "0,0"}) EXPECT_FALSE(qorcalc::util::IsZeroNumberText(U(nonZero)));
}

TEST(DisplayFormat, ByteFormat) {
    struct Text { const char* in; uint8_t format; int round, keepSpaces; const char* want; } texts[] = {
        {"1234.567", 0xC2, 1, 0, "1,234.57"}, {"1234.567", 0xC2, 0, 0, "1,234.56"}, {"0.00", 2, 1, 0, ""},
        {"-0", 2, 1, 0, ""},                  {"0", 0x42, 1, 0, "0.00"},
        {"0.004", 2, 1, 0, ""},               {"0.004", 0x42, 1, 0, "0.00"},  // zero only after rounding
        {"1,234.5", 0x40, 1, 0, "1235"},      {"1,234.5", 0x40, 0, 0, "1234"},
        {"1.2345", 0x7F, 1, 0, "1.2345"},     {"1.2300", 0x7F, 0, 0, "1.23"},  // 63: as many decimals as needed
        {"-1234567", 0x80, 1, 0, "-1,234,567"}, {"  12.5", 0x41, 1, 1, "  12.5"}, {"  12.5", 0x41, 1, 0, "12.5"},
        {"  0", 0x01, 1, 1, ""},              // a hidden zero drops its spaces too
        {"12abc", 0xC2, 1, 0, "12abc"},       {"", 0xC2, 1, 0, ""},
    };
    for (const auto& c : texts)
        EXPECT_EQ(Edited(U(c.in), [&](CString& s) { C::ConvertToDispFormat(s, c.format, c.round, c.keepSpaces); }),
                  c.want) << c.in << " format " << int(c.format);
    struct Value { double value; uint8_t format; const char* want; } values[] = {
        {1234.567, 0xC2, "1,234.57"}, {1234.567, 2, ""}, {-5.0, 2, ""}, {0.0, 0xC2, ""},  // bit 6 shows values
        {-0.5, 0x40, "-1"},           {2.5, 0x43, "2.500"}, {1.0 / 3.0, 0x7F, "0.33333333"},
    };
    for (const auto& c : values) {
        CString out = U("stale");
        C::ConvertToDispFormat(c.value, out, c.format);
        EXPECT_EQ(U8(out), c.want) << c.value << " format " << int(c.format);
    }
}

TEST(DisplayFormat, FormatNumPatterns) {
    struct Case { const char *value, *pattern, *want; } cases[] = {
        // Truncation, not rounding; "0" places fill from the right, digits without a place are lost.
        {"1234567.891", "#,##0.00", "1,234,567.89"}, {"-5", "#,##0.00", "-5.00"}, {"0.999", "0.00", "0.99"},
        {"42", "0000", "0042"},  {"1234", "0,000", "1,234"}, {"12345", "0,000", "2,345"}, {"12345", "000", "345"},
        {"-5", "000", "0-5"},
        // "#" takes what is left; only the first run takes digits.
        {"3.14159", "#.#", "3.14159"}, {"1234", "#x#", "1234x#"}, {"0", "#", ""}, {"0", "#0", "0"}, {"-0", "#", "-0"},
        {"1234567", "#,###", "1,234,567"}, {"12", ",##0", "12"}, {"3.5", "0.0#0", "3.50"}, {"3.125", "0.0#", "3.125"},
        {"12.5", "#x#.#", "12x#.5"}, {"-12.05", "#0.0#x#", "-12.05x#"}, {"7.25", "0.#,#", "7.25,#"},
        // Literals stay where they are, and the value is not scaled.
        {"1234.5", "¥#,##0.00", "¥1,234.50"}, {"0.5", "0.0%", "0.5%"}, {"12", "[#]", "[12]"},
        {"12.5", ".", ""}, {"12.5", "", "12.5"}, {"12.5", "##", "12"}, {"12.5", ".##", ".5"}, {"12.5", "..", ".."},
        // Reading the value: blanks, commas, a sign only in front.
        {"  1,234.50", "#0.000", "1234.500"}, {"  1,234.50", "0.000", "4.500"}, {"12 34", "#", "12"},
        {"1-2", "#", "1"}, {"1.2.3", "#.#", "1.2"}, {"abc", "0.0", "0.0"}, {"", "#", ""},
    };
    for (const auto& c : cases)
        EXPECT_EQ(Edited(U(c.value), [&](CString& s) { C::FormatNum(s, U(c.pattern)); }), c.want) << c.pattern;
    // At most 63 integer and 63 fraction digits are read; long patterns are walked once.
    CString s = CString(u'9', 10000) + u"." + CString(u'1', 10000);
    C::FormatNum(s, U("#.#"));
    EXPECT_EQ(U8(s), std::string(63, '9') + "." + std::string(63, '1'));
    CString value = U("123");
    C::FormatNum(value, CString(u'#', 5000));
    EXPECT_EQ(U8(value), "123");
    C::FormatNum(value, CString(u'.', 5000));
    EXPECT_EQ(U8(value), std::string(5000, '.'));
    // A pattern that is the value itself is read before the value is written.
    CString both = U("#,##0.00");
    C::FormatNum(both, both);
    EXPECT_EQ(U8(both), "0.00");
}

TEST(DisplayFormat, PatternOverloadRoundsOnlyFixedDecimals) {
    struct Case { double value; const char *pattern, *want; } cases[] = {
        {2.345, "0.00", "2.35"}, {2.345, "0.##", "2.345"}, {-2.345, "#,##0.0", "-2.3"},
        {1234.5, "#,##0", "1,235"}, {1234.5, "", "1234.5"}, {0.125, "0.0%", "0.1%"},
    };
    for (const auto& c : cases) {
        CString out;
        C::ConvertToDispFormat(c.value, out, U(c.pattern));
        EXPECT_EQ(U8(out), c.want) << c.value << " with " << c.pattern;
    }
}

}  // namespace
