// The string pool: loading, lookup, editing, and streams that must be read
// back exactly or refused cleanly.
#include <qorcalc/pool.h>
#include <qorcalc/streams.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using Strings = std::vector<std::string>;
using Bytes = std::vector<uint8_t>;

// Every string of the pool, checking on the way that each one starts and
// ends inside the block, or is the empty string at the block's end.
Strings All(const CStringPool& pool) {
    Strings out;
    const char16_t* begin = pool.GetBlock().GetWideData();
    const char16_t* end = begin + pool.GetBlock().GetWideLength();
    for (int i = 0; i < pool.GetSize(); ++i) {
        const char16_t* s = pool.GetAt(i);
        if (s && *s == 0 && (s < begin || s >= end)) {
            out.emplace_back();
            continue;
        }
        EXPECT_TRUE(s >= begin && s < end) << "string " << i << " outside the block";
        const char16_t* p = s;
        while (p < end && *p) ++p;
        EXPECT_LT(p, end) << "string " << i << " not terminated inside the block";
        out.push_back(CString(std::u16string(s, p)).ToUtf8());
    }
    return out;
}

CStringPool PoolOf(std::initializer_list<const char16_t*> items) {
    CStringPool pool;
    for (const char16_t* s : items) pool.Add(CString(s));
    return pool;
}

TEST(CStringPool, LoadSortedBuf) {
    using namespace std::string_literals;
    struct Case { std::u16string text; int bLower; const char16_t* separator; Strings want; } cases[] = {
        {u"abs,max,sum", 0, u",", {"abs", "max", "sum"}},
        {u"ABS,Max", 1, u",", {"abs", "max"}},
        {u"\u00C4BC,Z", 1, u",", {"\xc3\x84" "bc", "z"}},  // accented capitals are kept
        {u"a,;b", 0, u",;", {"a", "b"}},
        {u"a,b", 0, u",;", {"a", ""}},  // only the comma is compared; b is skipped
        {u"a,b,", 0, u",", {"a", "b", ""}},
        {u"a,", 0, u",;;", {"a", ""}},  // separator running past the end
        {u"ab\0cd\0"s, 0, nullptr, {"ab", "cd", ""}},
        {u"ab\0CD"s, 1, nullptr, {"ab", "cd"}},  // the pool closes the last string
        {u"ab\0cd"s, 0, u"", {"ab", "cd"}},      // an empty separator is no separator
    };
    for (const auto& c : cases) {
        CMem buf;
        buf.Add(c.text.data(), static_cast<uint32_t>(c.text.size() * 2));
        CStringPool pool;
        EXPECT_EQ(pool.LoadSortedBuf(buf, c.bLower, c.separator), 1);
        EXPECT_EQ(All(pool), c.want) << CString(c.text).ToUtf8();
    }
    CStringPool pool = PoolOf({u"keep"});
    CMem oneByte;
    oneByte.AddByte('a');
    EXPECT_EQ(pool.LoadSortedBuf(oneByte, 0, u","), 0);
    EXPECT_EQ(All(pool), Strings{"keep"});
    CMem odd;
    odd.Add(u"ab,cd", 9);  // an odd last byte belongs to no character
    EXPECT_EQ(pool.LoadSortedBuf(odd, 0, u","), 1);
    EXPECT_EQ(All(pool), (Strings{"ab", "c"}));
}

Bytes BytesOf(const std::u16string& text) {
    const auto* p = reinterpret_cast<const uint8_t*>(text.data());
    return Bytes(p, p + text.size() * 2);
}

// The block is the buffer itself with each separator character turned into a
// terminator; only a last string that no separator closes gets one added.
TEST(CStringPool, LoadSortedBufKeepsTheBufferAsTheBlock) {
    using namespace std::string_literals;
    struct Case { std::u16string text; const char16_t* separator; std::u16string block; } cases[] = {
        {u"a,b,", u",", u"a\0b\0"s},       {u"ab\0cd\0"s, nullptr, u"ab\0cd\0"s},
        {u"a,;", u",;", u"a\0;"s},          {u"a,b", u",;", u"a\0b"s},  // "b" stands for the ";"
        {u"a,b", u",", u"a\0b\0"s},        {u"ab\0CD"s, nullptr, u"ab\0CD\0"s},
    };
    for (const auto& c : cases) {
        CMem buf;
        buf.Add(c.text.data(), static_cast<uint32_t>(c.text.size() * 2));
        CStringPool pool;
        ASSERT_EQ(pool.LoadSortedBuf(buf, 0, c.separator), 1);
        EXPECT_EQ(pool.GetBlock().Bytes(), BytesOf(c.block)) << CString(c.text).ToUtf8();
    }
}

TEST(CStringPool, BSearchFindsEveryStringAndNoGap) {
    // Pools of "b", "d", "f", ...: every present key is found at its index,
    // every key before, between and after them is not.
    for (int n = 0; n <= 9; ++n) {
        CStringPool pool;
        for (int i = 0; i < n; ++i) pool.Add(CString(std::u16string(1, static_cast<char16_t>(u'b' + 2 * i))));
        for (int i = 0; i <= 2 * n; ++i) {
            const char16_t key[] = {static_cast<char16_t>(u'a' + i), 0};
            EXPECT_EQ(pool.BSearch(key), i % 2 ? i / 2 : -1) << "n=" << n << " key " << i;
        }
        EXPECT_EQ(pool.BSearch(nullptr), -1);
    }
}

TEST(CStringPool, Find) {
    const CStringPool pool = PoolOf({u"sum", u"Max", u"abs", u"x"});
    struct Case { const char16_t* key; int bCase, bPrefix, want; } cases[] = {
        {u"Sum", 0, 0, 0},  {u"Sum", 1, 0, -1}, {u"sum", 1, 0, 0},   {u"max", 0, 0, 1},
        {u"ABS", 0, 0, 2},  {u"SUMX", 0, 1, -1}, {u"sumx", 0, 1, 0}, {u"sumx", 1, 1, 0},
        {u"su", 0, 1, -1},  {u"Maxi", 0, 1, 1},  {u"maxi", 0, 1, -1}, {u"xyz", 1, 1, 3},
        {u"", 0, 0, -1},    {nullptr, 0, 0, -1}, {nullptr, 1, 1, -1},
    };
    for (const auto& c : cases)
        EXPECT_EQ(pool.Find(c.key, c.bCase, c.bPrefix), c.want)
            << (c.key ? CString(c.key).ToUtf8() : "null") << " case " << c.bCase << " prefix " << c.bPrefix;
    EXPECT_EQ(CStringPool().Find(u"a", 1, 0), -1);
}

TEST(CStringPool, InsertAndRemoveKeepTagsAligned) {
    CStringPool pool = PoolOf({u"a", u"b", u"c", u"d"});
    pool.GetTags().Add(1);
    pool.GetTags().Add(2);
    struct Step { bool insert; int index; const char16_t* text; Strings want; std::vector<uint32_t> tags; } steps[] = {
        {true, 1, u"xx", {"a", "xx", "b", "c", "d"}, {1, 0, 2}},
        {true, 4, u"", {"a", "xx", "b", "c", "", "d"}, {1, 0, 2}},  // past the tags
        {true, 6, u"no", {"a", "xx", "b", "c", "", "d"}, {1, 0, 2}},
        {true, -1, u"no", {"a", "xx", "b", "c", "", "d"}, {1, 0, 2}},
        {false, 0, nullptr, {"xx", "b", "c", "", "d"}, {0, 2}},
        {false, 4, nullptr, {"xx", "b", "c", ""}, {0, 2}},
        {false, 9, nullptr, {"xx", "b", "c", ""}, {0, 2}},
    };
    for (const auto& s : steps) {
        if (s.insert) {
            pool.InsertAt(s.index, CString(s.text));
        } else {
            pool.RemoveAt(s.index);
        }
        EXPECT_EQ(All(pool), s.want);
        EXPECT_EQ(pool.GetTags().Items(), s.tags);
    }
}

uint32_t OffsetOf(const CStringPool& pool, int index) {
    return static_cast<uint32_t>(reinterpret_cast<const uint8_t*>(pool.GetAt(index)) - pool.GetBlock().GetData());
}

TEST(CStringPool, SetAt) {
    struct Case { int index; const char16_t* text; Strings want; } cases[] = {
        {0, u"x", {"x", "bbb", "cc"}}, {0, u"aaaa", {"aaaa", "bbb", "cc"}}, {1, u"", {"aa", "", "cc"}},
        {2, u"longer", {"aa", "bbb", "longer"}}, {3, u"no", {"aa", "bbb", "cc"}}, {-1, u"no", {"aa", "bbb", "cc"}},
    };
    for (const auto& c : cases) {
        CStringPool pool = PoolOf({u"aa", u"bbb", u"cc"});
        pool.SetAt(c.index, CString(c.text));
        EXPECT_EQ(All(pool), c.want) << c.index << " " << CString(c.text).ToUtf8();
    }
    // A shorter string leaves later offsets and the block alone; a longer one
    // moves them by the growth.
    CStringPool pool = PoolOf({u"abcdef", u"g", u"h"});
    const uint32_t second = OffsetOf(pool, 1), third = OffsetOf(pool, 2), size = pool.GetBlock().GetSize();
    pool.SetAt(0, CString(u"ab"));
    EXPECT_EQ(OffsetOf(pool, 1), second);
    EXPECT_EQ(pool.GetBlock().GetSize(), size);
    pool.SetAt(1, CString(u"longer"));
    EXPECT_EQ(OffsetOf(pool, 2), third + 10);
    EXPECT_EQ(pool.GetBlock().GetSize(), size + 10);
    EXPECT_EQ(All(pool), (Strings{"ab", "longer", "h"}));
}

TEST(CStringPool, LoadCopyEmpty) {
    CStringArray items;
    for (const char16_t* s : {u"one", u"", u"three"}) items.Add(CString(s));
    CStringPool pool = PoolOf({u"old"});
    pool.Load(items);
    EXPECT_EQ(All(pool), (Strings{"one", "", "three"}));

    pool.GetTags().Add(7);
    CStringPool copy;
    copy.Copy(&pool);
    pool.SetAt(0, CString(u"changed"));
    pool.GetTags().SetAt(0, 8);
    EXPECT_EQ(All(copy), (Strings{"one", "", "three"}));
    EXPECT_EQ(copy.GetTags().Items(), std::vector<uint32_t>{7});
    copy.Copy(nullptr);
    EXPECT_EQ(copy.GetSize(), 3);

    copy.Empty();
    EXPECT_EQ(copy.GetSize(), 0);
    EXPECT_EQ(copy.GetTags().GetSize(), 0);
    EXPECT_EQ(copy.GetBlock().GetSize(), 0u);
    EXPECT_EQ(copy.GetAt(0), nullptr);
    EXPECT_EQ(pool.GetAt(-1), nullptr);
    EXPECT_EQ(pool.GetAt(3), nullptr);
}

Bytes Stream(const CStringPool& pool) {
    CMemStreamOutput out;
    EXPECT_EQ(pool.Serialize(&out), 1);
    return out.GetBytes();
}

// A stream that cannot tell how much it holds.
class CUnsizedInput : public CMemStreamInput {
public:
    using CMemStreamInput::CMemStreamInput;
    int64_t Remaining() const override { return -1; }
};

// Reads `bytes` from a sized and from an unsized stream into pools that held
// a string before; `check` sees each.
template <class Check>
void ReadBoth(const Bytes& bytes, Check check) {
    CMemStreamInput sized(bytes);
    CUnsizedInput unsized(bytes);
    for (IStreamInput* in : {static_cast<IStreamInput*>(&sized), static_cast<IStreamInput*>(&unsized)}) {
        CStringPool pool = PoolOf({u"stale"});
        check(pool, pool.Deserialize(in));
    }
}

TEST(CStringPool, StreamRoundTrip) {
    CStringPool pool = PoolOf({u"abs", u"max", u"\u4E2D"});
    pool.GetTags().Add(5);
    ReadBoth(Stream(pool), [&](CStringPool& back, int ok) {
        EXPECT_EQ(ok, 1);
        EXPECT_EQ(All(back), All(pool));
        EXPECT_EQ(back.GetTags().Items(), std::vector<uint32_t>{5});
    });
    CMemStreamInput in(Stream(pool));
    CStringPool back;
    back.Deserialize(&in);
    EXPECT_EQ(in.Remaining(), 0);

    // An empty pool is its two sizes and nothing else.
    CStringPool empty;
    empty.GetTags().Add(1);
    EXPECT_EQ(Stream(empty), (Bytes{0, 0, 0, 0, 1, 0, 0, 0}));
    ReadBoth(Stream(empty), [](CStringPool& read, int ok) {
        EXPECT_EQ(ok, 1);
        EXPECT_EQ(read.GetSize(), 0);
        EXPECT_EQ(read.GetTags().GetSize(), 0);
    });
    EXPECT_EQ(back.Deserialize(nullptr), 0);
    EXPECT_EQ(pool.Serialize(nullptr), 0);
}

Bytes Words(std::initializer_list<uint32_t> words) {
    Bytes out;
    for (uint32_t w : words)
        for (int i = 0; i < 4; ++i) out.push_back(static_cast<uint8_t>(w >> (8 * i)));
    return out;
}

TEST(CStringPool, TruncatedAndHostileStreamsFail) {
    std::vector<std::pair<std::string, Bytes>> cases = {
        // Layout: size, tag count, block size, block bytes, offsets, tags. The
        // block "a\0" is the word 0x00000061.
        {"huge block size", Words({1, 0, 0xFFFFFFFF})},
        {"huge string count", Words({0xFFFFFFFF, 0, 4, 0x61})},
        {"count beyond the stream", Words({0x40000000, 0, 4, 0x61, 0})},
        {"huge tag count", Words({1, 0xFFFFFFF0, 4, 0x61, 0})},
        {"tags beyond the stream", Words({1, 0x10000000, 4, 0x61, 0})},
        {"offset past the block's end", Words({1, 0, 4, 0x61, 6})},
        {"offset far outside", Words({1, 0, 4, 0x61, 0x7FFFFFF0})},
        {"odd offset", Words({2, 0, 8, 0x61, 0x62, 0, 3})},
        {"odd block size", {1, 0, 0, 0, 0, 0, 0, 0, 3, 0, 0, 0, 0x61, 0, 0, 0, 0, 0, 0}},
        {"empty block", Words({1, 0, 0, 0})},
    };
    const Bytes whole = Stream(PoolOf({u"ab", u"c"}));
    for (size_t n = 0; n < whole.size(); ++n)
        cases.emplace_back(std::to_string(n) + " bytes", Bytes(whole.begin(), whole.begin() + std::ptrdiff_t(n)));
    for (const auto& c : cases) {
        const std::string& what = c.first;
        ReadBoth(c.second, [&](CStringPool& pool, int ok) {
            EXPECT_EQ(ok, 0) << what;
            EXPECT_EQ(pool.GetSize(), 0) << what;
            EXPECT_EQ(pool.GetTags().GetSize(), 0) << what;
        });
    }
    // The same layout with sound values is accepted.
    ReadBoth(Words({2, 1, 8, 0x61, 0x62, 0, 4, 9}), [](CStringPool& pool, int ok) {
        EXPECT_EQ(ok, 1);
        EXPECT_EQ(All(pool), (Strings{"a", "b"}));
        EXPECT_EQ(pool.GetTags().Items(), std::vector<uint32_t>{9});
    });
}

// Streams of blocks loaded from buffers: the last offset may be the block's
// size (a buffer that ended on a separator), and the last string may lack its
// terminator (a buffer that did not), which reading adds.
TEST(CStringPool, StreamsOfLoadedBlocksReadBack) {
    struct Case { const char* what; Bytes stream; Strings want; uint32_t blockSize; } cases[] = {
        {"trailing separator", Words({3, 0, 8, 0x61, 0x62, 0, 4, 8}), {"a", "b", ""}, 8},
        {"only the end offset", Words({1, 0, 4, 0x61, 4}), {""}, 4},
        {"open last string", Words({2, 0, 8, 0x61, 0x00640063, 0, 4}), {"a", "cd"}, 10},
        {"open tail behind the end offset", Words({2, 0, 4, 0x003B0000, 0, 4}), {"", ""}, 4},
    };
    for (const auto& c : cases) {
        ReadBoth(c.stream, [&](CStringPool& pool, int ok) {
            EXPECT_EQ(ok, 1) << c.what;
            EXPECT_EQ(All(pool), c.want) << c.what;
            EXPECT_EQ(pool.GetBlock().GetSize(), c.blockSize) << c.what;
        });
    }
    // What a pool loaded from "a,b," writes is that first stream, and it reads
    // back to the same pool.
    const std::u16string text = u"a,b,";
    CMem buf;
    buf.Add(text.data(), static_cast<uint32_t>(text.size() * 2));
    CStringPool loaded;
    ASSERT_EQ(loaded.LoadSortedBuf(buf, 0, u","), 1);
    EXPECT_EQ(Stream(loaded), cases[0].stream);
    ReadBoth(Stream(loaded), [&](CStringPool& back, int ok) {
        EXPECT_EQ(ok, 1);
        EXPECT_EQ(All(back), All(loaded));
        EXPECT_EQ(back.BSearch(u"b"), 1);
    });
}

}  // namespace
