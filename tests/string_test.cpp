// CString: clamped positions, the operations the engine relies on, and a
// Format that stays defined whatever format text it is handed.
#include <qorcalc/string.h>

#include <gtest/gtest.h>

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
    };
    for (const auto& c : cases) EXPECT_EQ(U8(c.got), c.want);
    CString s;
    s.Format(nullptr, 1);
    EXPECT_TRUE(s.IsEmpty());
}

}  // namespace
