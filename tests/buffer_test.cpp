// Byte buffers, text builders, memory streams and host windows.
#include <qorcalc/qorcalc.h>

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

TEST(CMem, EditsAreClampedToTheBlock) {
    CMem mem;
    mem.Add("abcdef", 6);
    mem.Insert(99, "gh", 2);   // past the end: appended
    mem.Insert(0, ">", 1);
    mem.Delete(4, 99);         // cut to the end
    mem.Delete(99, 1);         // outside: nothing
    mem.Add(nullptr, 5);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(mem.GetData()), mem.GetSize()), ">abc");
    mem.Add(mem.GetData(), mem.GetSize());  // its own bytes
    mem.Insert(1, mem.GetData() + 4, 4);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(mem.GetData()), mem.GetSize()), ">>abcabc>abc");
}

TEST(CBuffer, ConvertsBetweenUtf16AndUtf8) {
    struct Case { const char16_t* text; const char* utf8; } cases[] = {
        {u"abc", "abc"}, {u"中a", "\xe4\xb8\xad" "a"}, {u"", ""}, {u"\U0001F600", "\xf0\x9f\x98\x80"},
    };
    for (const auto& c : cases) {
        CBuffer buffer(16);
        buffer.SetString(CString(c.text));
        buffer.UTF16ToUTF8();
        EXPECT_EQ(std::string(reinterpret_cast<const char*>(buffer.GetData()), buffer.GetSize()), c.utf8);
        buffer.UTF8ToUTF16();
        EXPECT_TRUE(buffer.GetString() == c.text);
    }
    CBuffer bad;
    bad.Add("\xe4\xb8", 2);  // a cut sequence reads as replacement characters
    bad.UTF8ToUTF16();
    EXPECT_EQ(bad.GetString().ToUtf8(), "\xef\xbf\xbd\xef\xbf\xbd");
}

TEST(CBuffer, TrimsWideWhiteSpaceAtTheFront) {
    CBuffer buffer;
    buffer.SetString(CString(u" \t x "));
    StrBuffer_TrimLeft(buffer);
    EXPECT_TRUE(buffer.GetString() == u"x ");
    CBuffer odd;
    odd.Add(" ", 1);  // half a character is left alone
    StrBuffer_TrimLeft(odd);
    EXPECT_EQ(odd.GetSize(), 1u);
}

TEST(CStringBuilder, CollectsWrittenText) {
    CStringBuilder builder(4);
    CWriter& writer = builder;
    writer.Write(u"ab");
    writer.Write(u'c');
    writer.Write(CString(u"de"));
    writer.Write(static_cast<const char16_t*>(nullptr));
    writer.Write(u"xyz", -1);
    EXPECT_TRUE(builder.ToString() == u"abcde");
    EXPECT_EQ(builder.GetLength(), 5);
}

TEST(MemoryStreams, ValuesRoundTripLittleEndian) {
    CMemStreamOutput out;
    out.Write8(0x12);
    out.Write16(0x3456);
    out.Write32(0x789ABCDE);
    CMem block;
    block.Add("xyz", 3);
    out.WriteMem(block);
    const std::vector<uint8_t> want = {0x12, 0x56, 0x34, 0xDE, 0xBC, 0x9A, 0x78, 3, 0, 0, 0, 'x', 'y', 'z'};
    EXPECT_EQ(out.GetBytes(), want);

    CMemStreamInput in(out.GetBytes());
    uint8_t b = 0;
    uint16_t w = 0;
    uint32_t d = 0;
    CMem back;
    EXPECT_TRUE(in.Read8(b) && in.Read16(w) && in.Read32(d) && in.ReadMem(back));
    EXPECT_EQ(b, 0x12);
    EXPECT_EQ(w, 0x3456);
    EXPECT_EQ(d, 0x789ABCDEu);
    EXPECT_EQ(back.GetSize(), 3u);
    EXPECT_EQ(in.Remaining(), 0);
    EXPECT_EQ(in.Read8(b), 0);  // nothing left
}

TEST(MemoryStreams, ShortAndForgedInputFails) {
    const uint8_t two[] = {1, 2};
    CMemStreamInput in(two, sizeof two);
    uint32_t d = 7;
    EXPECT_EQ(in.Read32(d), 0);
    EXPECT_EQ(d, 7u);            // untouched
    EXPECT_EQ(in.Remaining(), 2);  // and not consumed
    uint16_t w = 0;
    EXPECT_EQ(in.Read16(w), 1);

    const uint8_t forged[] = {0xFF, 0xFF, 0xFF, 0xFF, 'a'};  // a block of 4 GiB announced
    CMemStreamInput blocks(forged, sizeof forged);
    CMem block;
    EXPECT_EQ(blocks.ReadMem(block), 0);
    EXPECT_EQ(block.GetSize(), 0u);
}

TEST(HostWindows, MessagesReachOnlyRegisteredHandlers) {
    uint32_t seen = 0;
    HWND window = RegisterHostWindow([&](uint32_t message, uintptr_t, intptr_t lParam) {
        seen = message;
        return lParam + 1;
    });
    ASSERT_NE(window, nullptr);
    EXPECT_EQ(IsWindow(window), 1);
    EXPECT_EQ(SendMessageW(window, 42, 0, 9), 10);
    EXPECT_EQ(seen, 42u);
    UnregisterHostWindow(window);
    EXPECT_EQ(IsWindow(window), 0);
    EXPECT_EQ(SendMessageW(window, 43, 0, 9), 0);
    EXPECT_EQ(IsWindow(nullptr), 0);
}

}  // namespace
