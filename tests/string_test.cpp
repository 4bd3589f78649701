// CString: clamped positions, the operations the engine relies on, and a
// Format that stays defined whatever format text it is handed.
#include <qorcalc/string.h>

#include <gtest/gtest.h>

#include "support/text.h"

#include <climits>
#include <clocale>
#include <cmath>
#include <string>

namespace {

std::string U8(const CString& s) { return s.ToUtf8(); }

template <class... Args>
CString f(const char16_t* fmt, const Args&... args) {
    CString s;
    s.Format(fmt, args...);
    return s;
}

struct FormatCase {
    CString got;
    const char* want;
};

TEST(CString, ClampsPositionsAndCounts) {
    const CString s(u"abcdef");
    struct Case { CString got; const char* want; } cases[] = {
        {s.Mid(2), "cdef"},       {s.Mid(-3), "abcdef"},  {s.Mid(99), ""},
        {s.Mid(2, 2), "cd"},      {s.Mid(4, 99), "ef"},   {s.Mid(1, -1), ""},
        {s.Left(3), "abc"},       {s.Left(-1), ""},       {s.Left(99), "abcdef"},
        {s.Right(2), "ef"},       {s.Right(-2), ""},      {s.Right(99), "abcdef"},
    };
    for (const auto& c : cases) EXPECT_EQ(U8(c.got), c.want);
    EXPECT_EQ(s.GetAt(-1), 0);
    EXPECT_EQ(s.GetAt(6), 0);
    EXPECT_EQ(s.Find(u'c', -5), 2);
    EXPECT_EQ(s.Find(u"cd", 3), -1);
    EXPECT_EQ(s.Find(u"", 0), -1);
    EXPECT_EQ(s.Find(static_cast<const char16_t*>(nullptr)), -1);
    EXPECT_EQ(s.Find(u"ef", 99), -1);
}

// The first unit of the set: units that share their low six bits with a
// set member (g and ' are 64 apart, U+0127 is 256 above ') are no match,
// and a set beyond ASCII is searched as well.
TEST(CString, FindOneOfFindsOnlyTheSetsUnits) {
    struct Case { const char16_t *text, *chars; int want; } cases[] = {
        {u"ab|c&", u"|&", 2},     {u"abc", u"|&", -1},           {u"g\u0127'", u"'", 2},
        {u"\u0127g", u"g", 1},     {u"x\u00ab\u00bb", u"\u00bb\u00ab", 1}, {u"\u6570x", u"\u6570", 0},
        {u"a\x7f", u"\x7f", 1},   {u"\x3f\x7f", u"\x7f\x3f", 0}, {u"abc", u"", -1},
        {u"", u"a", -1},          {u"abc", nullptr, -1},
    };
    for (const auto& c : cases) EXPECT_EQ(CString(c.text).FindOneOf(c.chars), c.want) << U8(c.text);
}

TEST(CString, EditingOperations) {
    CString s(u"a-b-c");
    EXPECT_EQ(s.Replace(u"-", u"--"), 2);
    EXPECT_EQ(U8(s), "a--b--c");
    EXPECT_EQ(s.Replace(u"--", nullptr), 2);
    EXPECT_EQ(U8(s), "abc");
    EXPECT_EQ(s.Insert(99, u'd'), 4);
    EXPECT_EQ(s.Insert(-1, u"<"), 5);
    EXPECT_EQ(U8(s), "<abcd");
    EXPECT_EQ(s.Delete(1, 99), 1);
    EXPECT_EQ(s.Delete(-1, 1), 1);
    CString t(u"  xx  ");
    EXPECT_EQ(U8(CString(t).Trim()), "xx");
    EXPECT_EQ(U8(CString(t).TrimLeft()), "xx  ");
    EXPECT_EQ(U8(CString(u"--x-+").Trim(u"-+")), "x");
    EXPECT_EQ(CString(u"banana").Remove(u'a'), 3);
    EXPECT_EQ(U8(CString(u"MiXeD").MakeLower()), "mixed");
    EXPECT_EQ(U8(CString(u"MiXeD").MakeUpper()), "MIXED");
}

TEST(CString, Comparisons) {
    EXPECT_TRUE(CString(u"abc") == u"abc");
    EXPECT_TRUE(CString(u"abc") != u"abd");
    EXPECT_TRUE(CString() == nullptr);
    EXPECT_LT(CString(u"abc").Compare(u"abd"), 0);
    EXPECT_GT(CString(u"b").Compare(nullptr), 0);
    EXPECT_EQ(CString(u"ABC").CompareNoCase(u"abc"), 0);
}

TEST(CString, Utf8RoundTripAndBadInput) {
    const std::string text = "a\xe4\xb8\xad\xf0\x9f\x98\x80";  // a, 中, an emoji
    const CString s = CString::FromUtf8(text);
    EXPECT_EQ(s.GetLength(), 4);
    EXPECT_EQ(s.ToUtf8(), text);
    EXPECT_EQ(CString::FromUtf8("\xff" "a\xe4\xb8").ToUtf8(), "\xef\xbf\xbd" "a\xef\xbf\xbd\xef\xbf\xbd");
    const char16_t lone[] = {u'x', 0xD800, 0};
    EXPECT_EQ(CString(lone).ToUtf8(), "x\xef\xbf\xbd");
}

TEST(CStringFormat, Directives) {
    const FormatCase cases[] = {
        {f(u"%d|%5d|%-5d|%05d", 42, -7, 3, -12), "42|   -7|3    |-0012"},
        {f(u"%I64d %I64u", int64_t{-9000000000}, uint64_t{18446744073709551615u}),
         "-9000000000 18446744073709551615"},
        {f(u"%s(%s)", CString(u"sum"), u"1, 2"), "sum(1, 2)"},
        {f(u"%c%s%c", u'\'', CString(u"x"), u'\''), "'x'"},
        {f(u"%%%d.%df", 5, 2), "%5.2f"},
        {f(u"%5.2f|%.0f|%f", 3.14159, 2.5, 1.0), " 3.14|2|1.000000"},
        {f(u"%.3f", -0.0005), "-0.001"},
        {f(u"%x %X %#x", 255, 255, 255), "ff FF 0xff"},
        {f(u"%.2s", u"abc"), "ab"},
        {f(u"%E %G %F %e %g", INFINITY, NAN, -INFINITY, 1.5, NAN), "INF NAN -INF 1.500000e+00 nan"},
    };
    for (const auto& c : cases) EXPECT_EQ(U8(c.got), c.want);
}

TEST(CStringFormat, HostileFormatTextIsLiteral) {
    const FormatCase cases[] = {
        {f(u"%s %s %s"), "%s %s %s"},                        // no arguments at all
        {f(u"%d then %s", CString(u"t")), "%d then t"},      // wrong type waits for %s
        {f(u"%n%p%*d", 1), "%n%p%*d"},                       // unknown directives
        {f(u"%99999999d", 1), "%99999999d"},                 // absurd width
        {f(u"%.99999999f", 1.0), "%.99999999f"},             // absurd precision
        {f(u"end %"), "end %"},
        {f(u"%s", static_cast<const char16_t*>(nullptr)), ""},
        // The format or an argument may be the string being written.
        {[] { CString s(u"ab"); s.Format(u"(%s)", s); return s; }(), "(ab)"},
        {[] { CString s(u"x%%y"); s.Format(s); return s; }(), "x%y"},
        {[] { CString s(u"abcdefgh%%"); s.AppendFormat(s); return s; }(), "abcdefgh%%abcdefgh%"},
    };
    for (const auto& c : cases) EXPECT_EQ(U8(c.got), c.want);
    CString s;
    s.Format(nullptr, 1);
    EXPECT_TRUE(s.IsEmpty());
}

// The C runtime counterparts read numbers the same under every locale: ASCII
// digits only, a fixed set of white space, saturation at the type's limits.
TEST(TextRuntime, IntegersReadTheSameUnderEveryLocale) {
    using qorcalc::support::wtoi;
    using qorcalc::support::wtoi64;
    struct Case { const char16_t* text; int i; int64_t i64; } cases[] = {
        {u"  42x", 42, 42},           {u"\t\r\n-17", -17, -17},   {u"+5", 5, 5},
        {u"- 5", 0, 0},               {u"+-5", 0, 0},                {u"", 0, 0},
        {nullptr, 0, 0},              {u"\u06637", 0, 0},            {u"\uFF117", 0, 0},
        {u"\u3000 7", 7, 7},          {u"\u00A0\u20037", 7, 7},      {u"\u200B7", 0, 0},
        {u"2147483647", INT_MAX, 2147483647},     {u"2147483648", INT_MAX, 2147483648},
        {u"-2147483648", INT_MIN, -2147483648LL},  {u"-2147483649", INT_MIN, -2147483649LL},
        {u"9223372036854775807", INT_MAX, INT64_MAX}, {u"9223372036854775808", INT_MAX, INT64_MAX},
        {u"-9223372036854775808", INT_MIN, INT64_MIN}, {u"-99999999999999999999", INT_MIN, INT64_MIN},
    };
    const std::string saved = std::setlocale(LC_ALL, nullptr);
    for (const char* locale : {"C", "C.UTF-8"}) {
        if (!std::setlocale(LC_ALL, locale)) continue;
        for (const auto& c : cases) {
            EXPECT_EQ(wtoi(c.text), c.i) << locale << " " << U8(CString(c.text));
            EXPECT_EQ(wtoi64(c.text), c.i64) << locale << " " << U8(CString(c.text));
        }
        EXPECT_EQ(U8(CString(u"\u3000 1.5\u2003").Trim()), "1.5") << locale;
        EXPECT_EQ(U8(CString(u"\u200B1.5").Trim()), "\u200B1.5") << locale;
    }
    std::setlocale(LC_ALL, saved.c_str());
}

// ASCII letters change case the same under every locale, so that a Turkish
// dotless i cannot hide a name; other letters follow the locale.
TEST(TextRuntime, AsciiCaseIgnoresATurkishLocale) {
    const std::string saved = std::setlocale(LC_ALL, nullptr);
    if (!std::setlocale(LC_ALL, "tr_TR.UTF-8")) GTEST_SKIP() << "no tr_TR.UTF-8 locale";
    EXPECT_EQ(U8(CString(u"if").MakeUpper()), "IF");
    EXPECT_EQ(U8(CString(u"MIN").MakeLower()), "min");
    EXPECT_EQ(U8(CString(u"\u00e9").MakeUpper()), "\u00c9");
    EXPECT_EQ(CString(u"IF").CompareNoCase(u"if"), 0);
    EXPECT_EQ(CString(u"IF").CollateNoCase(u"if"), 0);
    EXPECT_EQ(CString(u"\u00c9T\u00c9").CollateNoCase(u"\u00e9t\u00e9"), 0);
    std::setlocale(LC_ALL, saved.c_str());
}

}  // namespace
