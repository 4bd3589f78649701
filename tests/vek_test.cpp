// CVek's text and array helpers: the splitting and quoting the formula
// front end relies on, and their behaviour on null, empty and huge input.
#include <qorcalc/vek.h>

#include <gtest/gtest.h>

#include "text_helpers.h"

#include <string>
#include <vector>

namespace {

TEST(CVekSplit, CString2ArrayAndBack) {
    using V = std::vector<std::string>;
    struct Case { const char16_t *text, *sep; int flag; V want; } cases[] = {
        {u"a,b,c", u",", 0, {"a", "b", "c"}}, {u"a,,b", u",", 0, {"a", "", "b"}}, {u"a,", u",", 0, {"a", ""}},
        {u",", u",", 0, {"", ""}},            {u" a , ,b ,", u",", 1, {"a", "b"}},
        {u"a\r\nb\r\n", u"\r\n", 0, {"a", "b", ""}}, {u"a&&b", u"&&", 0, {"a", "b"}},
        {u"", u",", 0, {}}, {nullptr, u",", 0, {}}, {u"a,b", nullptr, 0, {"a,b"}}, {u"a,b", u"", 0, {"a,b"}},
        {u"   ", nullptr, 1, {}},
    };
    for (const auto& c : cases) {
        CStringArray got;
        got.Add(u"stale");
        EXPECT_EQ(CVek::CString2Array(got, c.text, c.sep, c.flag), static_cast<int>(c.want.size()));
        EXPECT_EQ(Items(got), c.want) << U8(c.text);
    }
    CStringArray items;
    items.Add(u"x;y");
    EXPECT_EQ(CVek::CString2Array(items, items[0], u";"), 2);  // splitting an item of the target array
    EXPECT_EQ(Items(items), (V{"x", "y"}));

    CString out(u"stale");
    CVek::Array2CString(out, CStringArray(), u",");
    EXPECT_EQ(U8(out), "");
    items.Add(u"");
    CVek::Array2CString(out, items, u", ");
    EXPECT_EQ(U8(out), "x, y, ");
    CVek::Array2CString(out, items, nullptr);
    EXPECT_EQ(U8(out), "xy");
}

TEST(CVekSplit, GetLeftRight) {
    struct Case { const char16_t *text, *sep; int first, found; const char *left, *right; } cases[] = {
        {u"B2:C3", u":", 1, 1, "B2", "C3"}, {u"a:b:c", u":", 1, 1, "a", "b:c"}, {u"a:b:c", u":", 0, 1, "a:b", "c"},
        {u":", u":", 1, 1, "", ""},         {u"abc", u":", 1, 0, "abc", ""},    {u"a<>b", u"<>", 1, 1, "a", "b"},
        {u"abc", u"", 1, 0, "abc", ""},     {u"abc", nullptr, 1, 0, "abc", ""}, {nullptr, u":", 1, 0, "", ""},
    };
    for (const auto& c : cases) {
        CString left(u"old"), right(u"old");
        EXPECT_EQ(CVek::GetLeftRight(c.text, c.sep, left, right, c.first), c.found) << U8(c.text);
        EXPECT_EQ(U8(left), c.left);
        EXPECT_EQ(U8(right), c.right);
    }
    CString text(u"k=v"), other;
    EXPECT_EQ(CVek::GetLeftRight(text, u"=", text, other), 1);  // the text may be an output
    EXPECT_EQ(U8(text), "k");
    EXPECT_EQ(U8(other), "v");
}

TEST(CVekQuotes, FindQuotes) {
    using V = std::vector<uint32_t>;
    struct Case { const char16_t *text, *quotes; int flag; V starts, ends; } cases[] = {
        {u"a+'b'+\"c\"", u"\"'", 0, {2, 6}, {4, 8}}, {u"'a\"b'", u"\"'", 0, {0}, {4}},
        {u"'it''s'", u"'", 0, {0, 4}, {3, 6}},       {u"x 'open", u"'", 0, {2}, {6}}, {u"'", u"'", 0, {0}, {0}},
        {u"'a' 'b'", u"'", 1, {0}, {2}},             {u"no quotes", u"'", 0, {}, {}},
        {u"'a'", nullptr, 0, {}, {}}, {u"'a'", u"", 0, {}, {}}, {u"", u"'", 0, {}, {}},
        {u"g\u0127'x'", u"'", 0, {2}, {4}},           {u"\u00aba\u00ab'b'", u"\u00ab'", 0, {0, 3}, {2, 5}},
    };
    for (const auto& c : cases) {
        CUIntArray starts, ends;
        starts.Add(99);
        EXPECT_EQ(CVek::FindQuotes(c.text, starts, ends, c.quotes, c.flag), static_cast<int>(c.starts.size()));
        EXPECT_EQ(starts.Items(), c.starts) << U8(c.text);
        EXPECT_EQ(ends.Items(), c.ends) << U8(c.text);
    }
}

// Every position of a text with many stretches is classified as a plain
// linear scan over the stretches would classify it.
TEST(CVekQuotes, ArrayFindBetweenAgreesWithALinearScan) {
    std::u16string text;
    for (int i = 0; i < 200; ++i) text += (i % 3 == 0) ? u"ab'cd'" : (i % 3 == 1) ? u"''x" : u"\"q'\"";
    text += u"'tail";
    CUIntArray starts, ends;
    const int n = CVek::FindQuotes(CString(text), starts, ends, u"'\"");
    ASSERT_EQ(n, 201);
    for (uint32_t pos = 0; pos <= text.size() + 1; ++pos) {
        int want = -1;
        for (int i = 0; i < n; ++i)
            if (starts[i] <= pos && pos <= ends[i]) want = i;
        ASSERT_EQ(CVek::ArrayFindBetween(starts, ends, pos), want) << pos;
    }
    starts.RemoveAll();
    ends.RemoveAll();
    EXPECT_EQ(CVek::ArrayFindBetween(starts, ends, 0), -1);
    starts.Add(5);
    ends.Add(9);
    starts.Add(12);  // no end: ignored
    EXPECT_EQ(CVek::ArrayFindBetween(starts, ends, 12), -1);
    EXPECT_EQ(CVek::ArrayFindBetween(starts, ends, 0xFFFFFFFFu), -1);
}

TEST(CVekSearch, NoCase) {
    struct Case { const char16_t *text, *word; int start, want; } cases[] = {
        {u"Hello World", u"world", 0, 6}, {u"Hello World", u"WORLD", 7, -1}, {u"aXa", u"xA", -5, 1},
        {u"abcABC", u"abc", 1, 3},        {u"abc", u"abc", 3, -1},           {u"abc", u"c", 99, -1},
        {u"abc", u"", 0, -1},             {u"abc", nullptr, 0, -1},          {nullptr, u"a", 0, -1},
    };
    for (const auto& c : cases) EXPECT_EQ(CVek::FindNoCase(c.text, c.word, c.start), c.want) << U8(c.word);
    struct Reverse { const char16_t *text, *word; int want; } reverses[] = {
        {u"a.B.b", u"b", 4}, {u"xyzXYZ", u"XyZ", 3}, {u"abc", u"abcd", -1}, {u"abc", u"", -1}, {nullptr, u"a", -1},
    };
    for (const auto& c : reverses) EXPECT_EQ(CVek::ReverseFindNoCase(c.text, c.word), c.want) << U8(c.word);

    CStringArray items;
    for (const char16_t* s : {u"Sum", u"", u"IF", u"sum"}) items.Add(s);
    struct Item { const char16_t* text; int start, want; } lookups[] = {
        {u"SUM", 0, 0}, {u"sum", 1, 3}, {u"if", -3, 2}, {u"", 0, 1}, {nullptr, 0, 1}, {u"max", 0, -1},
        {u"sum", 4, -1}, {u"su", 0, -1},
    };
    for (const auto& c : lookups) EXPECT_EQ(CVek::ArrayCompareNoCase(items, c.text, c.start), c.want) << U8(c.text);
}

TEST(CVekText, PadAndStr2Bool) {
    struct Case { const char16_t* text; int length; char16_t ch; int left; const char* want; } cases[] = {
        {u"7", 3, u'0', 1, "007"}, {u"7", 3, u' ', 0, "7  "}, {u"1234", 3, u'0', 1, "1234"},
        {u"", 2, u'*', 1, "**"},   {u"ab", -5, u'*', 1, "ab"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(Edited(c.text, [&](CString& s) { CVek::Pad(s, c.length, c.ch, c.left); }), c.want) << U8(c.text);
    CString huge(u"x");
    CVek::Pad(huge, 0x7FFFFFFF, u'.', 0);
    EXPECT_EQ(huge.GetLength(), CALC_MAX_PAD_LENGTH);
    EXPECT_EQ(huge[0], u'x');

    struct Bool { const char16_t* text; int want; } bools[] = {
        {u"1", 1}, {u"TRUE", 1}, {u"Yes", 1}, {u"y", 1}, {u"ON", 1}, {u" on ", 1}, {u"-1", 1}, {u"+3", 1},
        {u".5", 1}, {u"1e-999", 1}, {u"5.", 1}, {u"0", 0}, {u"0.0", 0}, {u"-0", 0}, {u"0e5", 0}, {u"false", 0},
        {u"no", 0}, {u"off", 0}, {u"", 0}, {nullptr, 0}, {u"1x", 0}, {u"1e", 0}, {u".", 0}, {u"1.2.3", 0},
        {u"inf", 0}, {u"nan", 0}, {u"0x1", 0}, {u"yess", 0}, {u"--1", 0},
    };
    for (const auto& c : bools) EXPECT_EQ(CVek::Str2Bool(c.text), c.want) << U8(c.text);
}

TEST(CVekText, Strstrs) {
    const char16_t zeros[] = {u'a', 0, u'b', 0, u'c', 0};
    struct Case { const char16_t* text; int len; const char16_t* sep; int sepLen, flag, want; } cases[] = {
        {u"a,b,c", 5, u",", 1, 1, 2}, {u"aaaa", 4, u"aa", 2, 1, 2}, {u"aaaa", 4, u"aa", 2, 0, 3},
        {u"a,b,c", 3, u",", 1, 1, 1}, {zeros, 6, u"\0", 1, 1, 3},   {u"ab", 2, u"abc", 3, 1, 0},
        {u"abc", 0, u"a", 1, 1, 0},   {u"abc", -1, u"a", 1, 1, 0},  {u"abc", 3, u"a", 0, 1, 0},
        {nullptr, 3, u"a", 1, 1, 0},  {u"abc", 3, nullptr, 1, 1, 0},
    };
    for (const auto& c : cases) EXPECT_EQ(CVek::strstrs(c.text, c.len, c.sep, c.sepLen, c.flag), c.want);
}

TEST(CVekUInt, FindAndSort) {
    CUIntArray a;
    for (uint32_t v : {5u, 1u, 0xFFFFFFFFu, 1u, 0u}) a.Add(v);
    struct Case { uint32_t value; int start, want; } cases[] = {
        {1, 0, 1}, {1, 2, 3}, {1, 4, -1}, {5, -7, 0}, {0, 4, 4}, {7, 0, -1}, {0xFFFFFFFFu, 0, 2}, {5, 99, -1},
    };
    for (const auto& c : cases) EXPECT_EQ(CVek::CUIntArrayFind(a, c.value, c.start), c.want);
    CVek::Sort_CUIntArray(a);
    EXPECT_EQ(a.Items(), (std::vector<uint32_t>{0, 1, 1, 5, 0xFFFFFFFFu}));
    CVek::Sort_CUIntArray(a, 0);
    EXPECT_EQ(a.Items(), (std::vector<uint32_t>{0xFFFFFFFFu, 5, 1, 1, 0}));
}

TEST(Collections, AppendMayTakeTheArrayItself) {
    CStringArray texts;
    texts.Add(u"x");
    texts.Add(u"y");
    EXPECT_EQ(texts.Append(texts), 2);
    EXPECT_EQ(Items(texts), (std::vector<std::string>{"x", "y", "x", "y"}));
    CUIntArray numbers;
    for (uint32_t v : {1u, 2u, 3u}) numbers.Add(v);
    EXPECT_EQ(numbers.Append(numbers), 3);
    EXPECT_EQ(numbers.Items(), (std::vector<uint32_t>{1, 2, 3, 1, 2, 3}));
}

TEST(CVekHostile, HugeTexts) {
    const int n = 100000;
    CUIntArray starts, ends;
    EXPECT_EQ(CVek::FindQuotes(CString(u'\'', n), starts, ends, u"'"), n / 2);
    EXPECT_EQ(CVek::ArrayFindBetween(starts, ends, n - 1), n / 2 - 1);

    const CString list = Repeat(u"x,", n);
    CStringArray items;
    EXPECT_EQ(CVek::CString2Array(items, list, u","), n + 1);
    EXPECT_EQ(CVek::CString2Array(items, list, u",", 1), n);
    EXPECT_EQ(CVek::strstrs(list, 2 * n, u",", 1), n);

    const CString hay = CString(u'a', n) + u"B";
    EXPECT_EQ(CVek::FindNoCase(hay, u"ab"), n - 1);
    EXPECT_EQ(CVek::ReverseFindNoCase(hay, u"A"), n - 1);
    EXPECT_EQ(CVek::Str2Bool(hay), 0);
    EXPECT_EQ(CVek::Str2Bool(CString(u'0', n)), 0);
    EXPECT_EQ(CVek::Str2Bool(CString(u'0', n) + u"1"), 1);
}

}  // namespace
