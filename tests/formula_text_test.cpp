// Formula-text helpers: quoting round trips and value kinds, line splitting
// on CString and on byte buffers, name checks with their bad position, the
// flat call splitter, and the element-wise sum of dimension texts.
#include <qorcalc/buffer.h>
#include <qorcalc/utility.h>

#include <gtest/gtest.h>

#include "text_helpers.h"

#include <clocale>
#include <string>
#include <vector>

namespace {

using C = CUtilityCalc;

TEST(FormulaText, DettachQuotes) {
    struct Case { const char *in, *want; char16_t removed; int kind; } cases[] = {
        {"'\"abc\"'", "abc", u'"', 0},  {"'abc\"", "'abc\"", 0, 0},   {"'12.5'", "12.5", u'\'', 6},
        {"-3", "-3", 0, 6},             {"''", "", u'\'', 0},         {"'''", "'", u'\'', 0},
        {"\"\"\"\"", "", u'"', 0},      {"'", "'", 0, 0},             {"", "", 0, 0},
        {"1,234", "1,234", 0, 0},       // commas are not read here
        {"'2014-03-05'", "2014-03-05", u'\'', 4}, {"2014/3/5", "2014/3/5", 0, 4},
        // Seventeen characters from the point on still make a number, eighteen do not.
        {"1.2345678901234567", "1.2345678901234567", 0, 6}, {"1.23456789012345678", "1.23456789012345678", 0, 0},
        {"12345678901234567", "12345678901234567", 0, 6},   {"123456789012345678", "123456789012345678", 0, 0},
    };
    for (const auto& c : cases) {
        CString s = U(c.in), again = U(c.in);
        uint8_t kind = 99;
        EXPECT_EQ(C::Dettach_Quotes(s, &kind), c.removed) << c.in;
        EXPECT_EQ(U8(s), c.want) << c.in;
        EXPECT_EQ(kind, c.kind) << c.in;
        EXPECT_EQ(C::Dettach_Quotes(again, nullptr), c.removed) << c.in;
    }
}

TEST(FormulaText, AttachQuotes) {
    struct Case { const char *in, *want; } cases[] = {
        {"abc", "'abc'"}, {"it's", "\"it's\""}, {"'x'", "'x'"}, {"\"x\"", "'x'"},   {"", "''"},
        {"\"", "'\"'"},   {"'", "\"'\""},       {"''", "''"},   {"'it's'", "\"it's\""},
        {"'a", "''a'"},   // a leading quote alone does not count
        // Texts too long to be kept inline, with room for the quotes or without.
        {"twelve chars", "'twelve chars'"}, {"it's twelve!", "\"it's twelve!\""},
        {"'quoted, and long enough'", "'quoted, and long enough'"}, {"\"it's long, and quoted\"", "\"it's long, and quoted\""},
    };
    for (const auto& c : cases) EXPECT_EQ(Edited(U(c.in), [](CString& s) { C::Attach_Quotes(s); }), c.want) << c.in;
}

struct ParaCase { const char* text; int remove, trim, result; const char *line, *rest; };

// Runs the cases through the CString form and the buffer form of one side.
template <class OnText, class OnBuffer>
void CheckPara(const std::vector<ParaCase>& cases, OnText onText, OnBuffer onBuffer) {
    for (const auto& c : cases) {
        CString line = U("stale"), text = U(c.text);
        EXPECT_EQ(onText(line, text, c.remove, c.trim), c.result) << c.text;
        EXPECT_EQ(U8(line), c.line) << c.text;
        EXPECT_EQ(U8(text), c.rest) << c.text;
        CBuffer buffer;
        buffer.SetString(U(c.text));
        line = U("stale");
        EXPECT_EQ(onBuffer(line, buffer, c.remove, c.trim), c.result) << c.text;
        EXPECT_EQ(U8(line), c.line) << c.text;
        EXPECT_EQ(U8(buffer.GetString()), c.rest) << c.text;
    }
}

TEST(FormulaText, GetLeftAndRightPara) {
    CheckPara({{"a\r\nb\r\nc", 1, 0, 1, "a", "b\r\nc"}, {"a\r\nb", 0, 0, 1, "a", "a\r\nb"},
               {"a  \r\n  b", 1, 1, 1, "a", "b"},     {"a  \r\n  b", 0, 1, 1, "a", "a  \r\n  b"},
               {"\r\nb", 1, 0, 1, "", "b"},           {"no break", 1, 1, 0, "", "no break"},
               {"a\rb\n", 1, 0, 0, "", "a\rb\n"},     {"", 1, 1, 0, "", ""}},
              static_cast<int (*)(CString&, CString&, int, int)>(&C::GetLeftPara),
              static_cast<int (*)(CString&, CBuffer&, int, int)>(&C::GetLeftPara));
    CheckPara({{"a\r\nb\r\nc", 1, 0, 1, "c", "a\r\nb"}, {"a\r\nb", 0, 0, 1, "b", "a\r\nb"},
               {"a  \r\n  b", 1, 1, 1, "b", "a"},     {"a  \r\n  b", 1, 0, 1, "  b", "a  "},
               {"a\r\n", 1, 0, 1, "", "a"},           {"\r", 1, 1, 0, "", "\r"}, {"", 1, 1, 0, "", ""}},
              static_cast<int (*)(CString&, CString&, int, int)>(&C::GetRightPara),
              static_cast<int (*)(CString&, CMem&, int, int)>(&C::GetRightPara));

    CBuffer odd;
    odd.SetString(U("a\r"));
    odd.AddByte('\n');  // half a character: no line break
    CString line;
    EXPECT_EQ(C::GetLeftPara(line, odd, 1, 1), 0);
    EXPECT_EQ(C::GetRightPara(line, odd, 1, 1), 0);
    EXPECT_EQ(odd.GetSize(), 5u);
}

TEST(FormulaText, IsValidFuncAndVarName) {
    struct Func { const char* name; int allowWide, valid, badPos; } funcs[] = {
        {"sum", 0, 1, 0}, {"_x1", 0, 1, 2}, {"x_1", 0, 1, 2}, {" sum ", 0, 1, 0}, {"1x", 0, 0, 0},
        {"__", 0, 0, 0},  {"", 0, 0, 0},   {"   ", 0, 0, 0}, {"a-b", 0, 0, 1},   {"ab c", 0, 0, 2},
        {"合计", 0, 0, 0}, {"a合计1", 1, 1, 3}, {"é", 0, 0, 0},
    };
    for (const auto& c : funcs) {
        int badPos = -1;
        EXPECT_EQ(C::IsValidFuncName(U(c.name), c.allowWide, badPos), c.valid) << c.name;
        EXPECT_EQ(badPos, c.badPos) << c.name;
    }
    int badPos = -1;
    EXPECT_EQ(C::IsValidFuncName(nullptr, 1, badPos), 0);

    struct Var { const char* name; int allowWide, allowDot, allowHash, valid, badPos; } vars[] = {
        {"#x", 0, 0, 1, 1, 0},  {"#x", 0, 0, 0, 0, 0},  {"#", 0, 0, 1, 0, 0},  {"x#", 0, 0, 1, 0, 1},
        {"a.b", 0, 1, 0, 1, 0}, {"a.b", 0, 0, 0, 0, 1}, {"a.", 0, 1, 0, 0, 1}, {".a", 0, 1, 0, 0, 0},
        {"$", 0, 0, 0, 0, 0},   {"@@", 0, 0, 0, 0, 0},  {"__", 0, 0, 0, 0, 0}, {"_@", 0, 0, 0, 1, 0},
        {"a:b", 0, 0, 0, 1, 0}, {":", 0, 0, 0, 0, 0},   {"$A$1", 0, 0, 0, 1, 3}, {"1a", 0, 0, 0, 0, 0},
        {"变量", 1, 0, 0, 1, 0}, {"变量", 0, 0, 0, 0, 0}, {"a b", 0, 0, 0, 0, 1}, {"", 1, 1, 1, 0, 0},
    };
    for (const auto& c : vars) {
        badPos = -1;
        EXPECT_EQ(C::IsValidVarName(U(c.name), c.allowWide, c.allowDot, c.allowHash, badPos), c.valid) << c.name;
        EXPECT_EQ(badPos, c.badPos) << c.name;
    }

    // A variable name takes the letters of the current locale, a function name ASCII letters only.
    const std::string saved = std::setlocale(LC_CTYPE, nullptr);
    ASSERT_NE(std::setlocale(LC_CTYPE, "C.UTF-8"), nullptr);
    EXPECT_EQ(C::IsValidVarName(U("été"), 0, 0, 0, badPos), 1);
    EXPECT_EQ(C::IsValidFuncName(U("été"), 0, badPos), 0);
    std::setlocale(LC_CTYPE, saved.c_str());
    EXPECT_EQ(C::IsValidVarName(U("été"), 0, 0, 0, badPos), 0);
}

TEST(FormulaText, ParseFunction) {
    struct Case { const char *text, *name; std::vector<std::string> args; } cases[] = {
        {"max(1, 'a,b' , 3)", "max", {"1", "a,b", "3"}},     {"now()", "now", {}},
        {"f(g(1,2),3)", "f", {"g(1", "2"}},                  {"f(a'b, 'x'y)", "f", {"a'b", "xy"}},
        {"f(\"it's\", 'say \"hi\"')", "f", {"it's", "say \"hi\""}}, {"f( , )", "f", {"", ""}},
        {"f(1,", "f", {"1"}},  {"f(1) trailing", "f", {"1"}}, {"f ( 1 )", "f ", {"1"}}, {"1, 2", "", {"1", "2"}},
        {"f('unclosed, 2)", "f", {"unclosed, 2)"}},          {"", "", {}},
    };
    for (const auto& c : cases) {
        CString name = U("stale");
        CStringArray args;
        args.Add(U("stale"));
        EXPECT_EQ(C::ParseFunction(U(c.text), name, args), 1) << c.text;
        EXPECT_EQ(U8(name), c.name) << c.text;
        EXPECT_EQ(Items(args), c.args) << c.text;
    }
}

TEST(FormulaText, SmallTextHelpers) {
    struct Delete { int position, count; const char* want; } deletes[] = {
        {1, 2, "adef"}, {4, 99, "abcd"}, {-1, 2, "abcdef"}, {6, 1, "abcdef"}, {0, 0, "abcdef"}, {0, 6, ""},
    };
    for (const auto& d : deletes)
        EXPECT_EQ(Edited(U("abcdef"), [&](CString& s) { C::SafeDelete(s, d.position, d.count); }), d.want);
    EXPECT_EQ(C::StrChrs(U("a,b,,c"), u','), 3);
    EXPECT_EQ(C::StrChrs(U(""), u','), 0);

    struct Match { const char *text, *pattern; char16_t mode; int want; } matches[] = {
        {"Hello", "he", u'*', 1}, {"Hello", "HELLO", u'=', 1}, {"Hello", "he", u'=', 0}, {"he", "hello", u'*', 0},
        {"Hello", "", u'*', 1},   {"Hello", "", u'=', 0},      {"", "", u'*', 0},        {"abc", "abd", u'*', 0},
    };
    for (const auto& m : matches)
        EXPECT_EQ(C::IsMatchStr(U(m.text), U(m.pattern), m.mode), m.want) << m.text << " / " << m.pattern;
}

TEST(FormulaText, SumDim) {
    struct Case { std::vector<const char*> args; const char* want; int count; } cases[] = {
        {{"10x20", "3x4"}, "13x24", 2},            {{"10 x 20", "3 x 4"}, "13 x 24", 2},
        {{"10x20", "3  x  4"}, "13  x  24", 2},    {{"10*20*30", "1*2"}, "11*22*30", 3},
        {{"1.5x2", "2.25x-1"}, "3.75x1", 2},       {{"2 x 3", "4x5", "x"}, "6 x 8", 2},  // a lone separator last
        {{"1", "2", "3"}, "6", 1},                 {{"10x20"}, "10x20", 2},
        {{"x"}, "", 0},                            {{}, "", 0},
    };
    for (const auto& c : cases) {
        CStringArray args;
        for (const char* a : c.args) args.Add(U(a));
        CString out = U("stale");
        EXPECT_EQ(C::SumDim(out, args), c.count) << c.want;
        EXPECT_EQ(U8(out), c.want);
    }
}

}  // namespace
