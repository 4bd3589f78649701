// URL encoding: the keep rules of a URI and a component, the carry after
// high bytes, decoding that never reads past the text, and the query split.
#include <qorcalc/utility.h>

#include <gtest/gtest.h>

#include "text_helpers.h"

#include <string>
#include <vector>

namespace {

using C = CUtilityCalc;

CStringArray Array(std::initializer_list<const char*> items) {
    CStringArray a;
    for (const char* s : items) a.Add(U(s));
    return a;
}

TEST(Url, Encode) {
    const char16_t lone[] = {u'a', 0xD800, u'b', 0xDC00, 0};
    struct Case { const char16_t* in; int component; const char* want; int changed; } cases[] = {
        {u"a b", 0, "a%20b", 1},          {u"a/b?c=1", 0, "a/b?c=1", 0},  {u"a/b?c=1", 1, "a%2fb%3fc%3d1", 1},
        {u"plain-Word_1.~*'()!", 1, "plain-Word_1.~*'()!", 0},           {u"", 1, "", 0},
        {u"100%", 0, "100%25", 1},        {u"<>\"{}", 0, "%3c%3e%22%7b%7d", 1},
        // After a three-byte sequence the carry is left set and escapes the next byte; not after two or four.
        {u"中a", 0, "%e4%b8%ad%61", 1},   {u"中中", 0, "%e4%b8%ad%e4%b8%ad", 1},
        {u"éa", 0, "%c3%a9a", 1},         {u"😀a", 0, "%f0%9f%98%80a", 1},
        {lone, 1, "a%ef%bf%bd%62%ef%bf%bd", 1},  // lone surrogates become U+FFFD, three bytes
    };
    for (const auto& c : cases) {
        CString s(c.in);
        EXPECT_EQ(C::EncodeURI(s, c.component), c.changed) << U8(c.in);
        EXPECT_EQ(U8(s), c.want) << U8(c.in);
    }
    struct Url { const char* in; int component; const char* want; int result; } urls[] = {
        {"http://h/p a?x=a b&y=/", 1, "http://h/p a?x%3da%20b%26y%3d%2f", 1},
        {"http://h/p a?x=a b&y=/", 0, "http://h/p a?x=a%20b&y=/", 1},
        {"http://h/p a", 1, "http://h/p a", 0}, {"p?", 1, "p?", 0},
    };
    for (const auto& c : urls) {
        CString s = U(c.in);
        EXPECT_EQ(C::EncodeURL(s, c.component), c.result) << c.in;
        EXPECT_EQ(U8(s), c.want) << c.in;
    }
    struct Chinese { const char *in, *want; } chinese[] = {
        {"a b/中a", "a b/%e4%b8%ada"}, {"é😀", "%c3%a9%f0%9f%98%80"}, {"", ""},
    };
    for (const auto& c : chinese) EXPECT_EQ(Edited(U(c.in), [](CString& s) { C::EncodeURI_Chinese(s); }), c.want);
}

TEST(Url, Decode) {
    struct Hex { const char16_t* in; int want; } hexes[] = {
        {u"00", 0}, {u"7f", 0x7F}, {u"E4", 0xE4}, {u"aF", 0xAF}, {u"ff", 0xFF}, {u"", 0}, {nullptr, 0},
    };
    for (const auto& c : hexes) EXPECT_EQ(C::DecodeHexChars(c.in), c.want) << U8(c.in);

    struct Case { const char *in, *want; } cases[] = {
        {"%e4%b8%ad", "中"}, {"%E4%B8%AD%20x", "中 x"}, {"100%", "100"}, {"100%2", "100"}, {"a%20b%", "a b"},
        {"a+b", "a+b"},      {"中%20文", "中 文"},       {"%ff", "\xEF\xBF\xBD"},      {"", ""}, {"%", ""},
        {"%e4%b8", "\xEF\xBF\xBD\xEF\xBF\xBD"},  // a cut sequence: each byte becomes U+FFFD
    };
    for (const auto& c : cases) EXPECT_EQ(Edited(U(c.in), [](CString& s) { C::DecodeURI(s); }), c.want) << c.in;
    for (const char* text : {"a b&c=d/中文 é 😀 end", "%", "'quoted' (x)", "中a中b"})
        for (int component : {0, 1})
            EXPECT_EQ(Edited(U(text), [&](CString& s) { C::EncodeURI(s, component); C::DecodeURI(s); }), text);
}

TEST(Url, ParseURL) {
    using V = std::vector<std::string>;
    struct Case { const char* url; int keepBare, result; const char* base; V names, values; } cases[] = {
        {"page?x=1&y&z=3", 0, 2, "page", {"x", "z"}, {"1", "3"}},
        {"page?x=1&y&z=3", 1, 3, "page", {"x", "y", "z"}, {"1", "", "3"}},
        {"page?a=b=c", 0, 1, "page", {"a"}, {"b=c"}}, {"page?=v", 0, 1, "page", {""}, {"v"}},
        {"page", 0, 0, "page", {}, {}},               {"page?", 1, 0, "page?", {}, {}},
        {"?x=1", 0, 1, "", {"x"}, {"1"}},             {"", 0, 0, "", {}, {}},
    };
    for (const auto& c : cases) {
        CString base;
        CStringArray names = Array({"stale"}), values = Array({"stale"});
        EXPECT_EQ(C::ParseURL(U(c.url), base, names, values, c.keepBare), c.result) << c.url;
        EXPECT_EQ(U8(base), c.base) << c.url;
        EXPECT_EQ(Items(names), c.names) << c.url;
        EXPECT_EQ(Items(values), c.values) << c.url;
    }
    CString base;
    CStringArray names, values;
    EXPECT_EQ(C::ParseURL(nullptr, base, names, values, 1), 0);
    EXPECT_EQ(C::ParseURLPara(CString(), names, values, 1), 0);
}

TEST(Url, GenURL) {
    struct Case { const char* base; CStringArray names, values; int keepEmpty; const char* want; } cases[] = {
        {"page", Array({"x", "y"}), Array({"1", ""}), 0, "page?x=1"},
        {"page", Array({"x", "y"}), Array({"1", ""}), 1, "page?x=1&y"},
        {"page", Array({"x", "y", "z"}), Array({"1"}), 1, "page?x=1&y&z"},
        {"page", Array({"", "y"}), Array({"1", "2"}), 0, "page?y=2"},
        {"page?a=1", Array({"b"}), Array({"2"}), 0, "page?a=1?b=2"},
        {"page", Array({}), Array({"1"}), 1, "page"},   {"page", Array({"x"}), Array({}), 0, "page"},
    };
    for (const auto& c : cases) {
        CString out = U("stale");
        C::GenURL(out, U(c.base), c.names, c.values, c.keepEmpty);
        EXPECT_EQ(U8(out), c.want) << c.base;
    }
}

}  // namespace
