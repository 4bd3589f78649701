// URL encoding: the keep rules of a URI and a component, the carry after
// high bytes, decoding that never reads past the text, and the query split.
#include <qorcalc/utility.h>

#include <gtest/gtest.h>

#include "text_helpers.h"

#include <string>
#include <vector>

namespace {

CStringArray Array(std::initializer_list<const char*> items) {
    CStringArray a;
    for (const char* s : items) a.Add(U(s));
    return a;
}

TEST(Url, EncodeURI) {
    struct Case {
        const char* in;
        int component;
        const char* want;
        int changed;
    } cases[] = {
        {"a b", 0, "a%20b", 1},
        {"a/b?c=1", 0, "a/b?c=1", 0},
        {"a/b?c=1", 1, "a%2fb%3fc%3d1", 1},
        {"plain-Word_1.~*'()!", 1, "plain-Word_1.~*'()!", 0},
        {"", 1, "", 0},
        {"100%", 0, "100%25", 1},
        {"<>\"{}", 0, "%3c%3e%22%7b%7d", 1},
        // Three-byte sequence: the carry is left set and escapes the next byte.
        {"中a", 0, "%e4%b8%ad%61", 1},
        {"中中", 0, "%e4%b8%ad%e4%b8%ad", 1},
        // Two- and four-byte sequences leave the next byte alone.
        {"éa", 0, "%c3%a9a", 1},
        {"😀a", 0, "%f0%9f%98%80a", 1},
        // Every byte of 128 or more is escaped, also within a reserved-free URI.
        {"x=中", 0, "x=%e4%b8%ad", 1},
    };
    for (const auto& c : cases) {
        CString s = U(c.in);
        EXPECT_EQ(CUtilityCalc::EncodeURI(s, c.component), c.changed) << c.in;
        EXPECT_EQ(U8(s), c.want) << c.in;
    }
}

TEST(Url, EncodeURIReplacesLoneSurrogates) {
    const char16_t lone[] = {u'a', 0xD800, u'b', 0xDC00, 0};
    CString s(lone);
    EXPECT_EQ(CUtilityCalc::EncodeURI(s, 1), 1);
    // U+FFFD is three bytes, so the carry escapes the "b" after it.
    EXPECT_EQ(U8(s), "a%ef%bf%bd%62%ef%bf%bd");
}

TEST(Url, EncodeURLAndChinese) {
    struct Case {
        const char* in;
        int component;
        const char* want;
        int result;
    } url[] = {
        {"http://h/p a?x=a b&y=/", 1, "http://h/p a?x%3da%20b%26y%3d%2f", 1},
        {"http://h/p a?x=a b&y=/", 0, "http://h/p a?x=a%20b&y=/", 1},
        {"http://h/p a", 1, "http://h/p a", 0},
        {"p?", 1, "p?", 0},
    };
    for (const auto& c : url) {
        CString s = U(c.in);
        EXPECT_EQ(CUtilityCalc::EncodeURL(s, c.component), c.result) << c.in;
        EXPECT_EQ(U8(s), c.want) << c.in;
    }

    struct Chinese {
        const char* in;
        const char* want;
    } chinese[] = {
        {"a b/中a", "a b/%e4%b8%ada"},
        {"中文", "%e4%b8%ad%e6%96%87"},
        {"é😀", "%c3%a9%f0%9f%98%80"},
        {"", ""},
    };
    for (const auto& c : chinese) {
        CString s = U(c.in);
        CUtilityCalc::EncodeURI_Chinese(s);
        EXPECT_EQ(U8(s), c.want) << c.in;
    }
}

TEST(Url, DecodeHexChars) {
    struct Case {
        const char16_t* in;
        int want;
    } cases[] = {
        {u"00", 0}, {u"7f", 0x7F}, {u"e4", 0xE4}, {u"E4", 0xE4}, {u"aF", 0xAF}, {u"ff", 0xFF},
        {u"", 0},
    };
    for (const auto& c : cases) EXPECT_EQ(CUtilityCalc::DecodeHexChars(c.in), c.want);
    EXPECT_EQ(CUtilityCalc::DecodeHexChars(nullptr), 0);
}

TEST(Url, DecodeURI) {
    struct Case {
        const char* in;
        const char* want;
    } cases[] = {
        {"%e4%b8%ad", "中"},
        {"%E4%B8%AD%20x", "中 x"},
        {"100%", "100"},
        {"100%2", "100"},
        {"a%20b%", "a b"},
        {"a+b", "a+b"},
        {"中%20文", "中 文"},
        {"%e4%b8", "\xEF\xBF\xBD\xEF\xBF\xBD"},  // cut sequence: each byte becomes U+FFFD
        {"%ff", "\xEF\xBF\xBD"},
        {"", ""},
        {"%", ""},
    };
    for (const auto& c : cases) {
        CString s = U(c.in);
        CUtilityCalc::DecodeURI(s);
        EXPECT_EQ(U8(s), c.want) << c.in;
    }
}

TEST(Url, EncodeThenDecodeRoundTrips) {
    for (const char* text : {"a b&c=d/中文 é 😀 end", "%", "'quoted' (x)", "中a中b"}) {
        for (int component : {0, 1}) {
            CString s = U(text);
            CUtilityCalc::EncodeURI(s, component);
            CUtilityCalc::DecodeURI(s);
            EXPECT_EQ(U8(s), text) << component;
        }
    }
}

TEST(Url, ParseURL) {
    struct Case {
        const char* url;
        int keepBare;
        int result;
        const char* base;
        std::vector<std::string> names, values;
    } cases[] = {
        {"page?x=1&y&z=3", 0, 2, "page", {"x", "z"}, {"1", "3"}},
        {"page?x=1&y&z=3", 1, 3, "page", {"x", "y", "z"}, {"1", "", "3"}},
        {"page?a=b=c", 0, 1, "page", {"a"}, {"b=c"}},
        {"page?=v", 0, 1, "page", {""}, {"v"}},
        {"page", 0, 0, "page", {}, {}},
        {"page?", 1, 0, "page?", {}, {}},
        {"?x=1", 0, 1, "", {"x"}, {"1"}},
        {"", 0, 0, "", {}, {}},
    };
    for (const auto& c : cases) {
        CString base;
        CStringArray names = Array({"stale"}), values = Array({"stale"});
        EXPECT_EQ(CUtilityCalc::ParseURL(U(c.url), base, names, values, c.keepBare), c.result) << c.url;
        EXPECT_EQ(U8(base), c.base) << c.url;
        EXPECT_EQ(Items(names), c.names) << c.url;
        EXPECT_EQ(Items(values), c.values) << c.url;
    }
    CString base;
    CStringArray names, values;
    EXPECT_EQ(CUtilityCalc::ParseURL(nullptr, base, names, values, 1), 0);
    EXPECT_EQ(CUtilityCalc::ParseURLPara(CString(), names, values, 1), 0);
}

TEST(Url, GenURL) {
    struct Case {
        const char* base;
        CStringArray names, values;
        int keepEmpty;
        const char* want;
    } cases[] = {
        {"page", Array({"x", "y"}), Array({"1", ""}), 0, "page?x=1"},
        {"page", Array({"x", "y"}), Array({"1", ""}), 1, "page?x=1&y"},
        {"page", Array({"x", "y", "z"}), Array({"1"}), 1, "page?x=1&y&z"},
        {"page", Array({"", "y"}), Array({"1", "2"}), 0, "page?y=2"},
        {"page?a=1", Array({"b"}), Array({"2"}), 0, "page?a=1?b=2"},
        {"page", Array({}), Array({"1"}), 1, "page"},
        {"page", Array({"x"}), Array({}), 0, "page"},
    };
    for (const auto& c : cases) {
        CString out = U("stale");
        CUtilityCalc::GenURL(out, U(c.base), c.names, c.values, c.keepEmpty);
        EXPECT_EQ(U8(out), c.want) << c.base;
    }
}

}  // namespace
