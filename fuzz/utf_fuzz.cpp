// The buffer's conversions between UTF-8 and UTF-16, fed any bytes read both
// ways.  What holds: a conversion always yields well-formed text (malformed
// input becomes U+FFFD); well-formed text survives a round trip unchanged;
// converting what a conversion produced is stable; and the buffer agrees with
// CString's own conversions.
#include "fuzz_input.h"

#include <string>
#include <vector>

namespace {

using Bytes = std::vector<uint8_t>;

bool IsWellFormedUtf16(const std::u16string& s) {
    for (size_t i = 0; i < s.size(); ++i) {
        const char16_t c = s[i];
        if (c >= 0xDC00 && c < 0xE000) return false;
        if (c >= 0xD800 && c < 0xDC00) {
            if (i + 1 >= s.size() || s[i + 1] < 0xDC00 || s[i + 1] >= 0xE000) return false;
            ++i;
        }
    }
    return true;
}

// Shortest form only, no surrogates, nothing above U+10FFFF.
bool IsWellFormedUtf8(const Bytes& s) {
    for (size_t i = 0; i < s.size();) {
        const uint8_t b = s[i];
        size_t extra = 0;
        char32_t c = 0;
        if (b < 0x80) { c = b; }
        else if ((b & 0xE0) == 0xC0) { extra = 1; c = b & 0x1F; }
        else if ((b & 0xF0) == 0xE0) { extra = 2; c = b & 0x0F; }
        else if ((b & 0xF8) == 0xF0) { extra = 3; c = b & 0x07; }
        else return false;
        if (i + extra >= s.size() && extra) return false;
        for (size_t k = 1; k <= extra; ++k) {
            if ((s[i + k] & 0xC0) != 0x80) return false;
            c = (c << 6) | (s[i + k] & 0x3F);
        }
        static constexpr char32_t kMin[] = {0, 0x80, 0x800, 0x10000};
        if (c < kMin[extra] || c > 0x10FFFF || (c >= 0xD800 && c < 0xE000)) return false;
        i += extra + 1;
    }
    return true;
}

std::u16string ToUtf16(const Bytes& utf8) {
    CBuffer buffer;
    buffer.Bytes() = utf8;
    buffer.UTF8ToUTF16();
    return buffer.GetString().Str();
}

Bytes ToUtf8(const std::u16string& text) {
    CBuffer buffer;
    buffer.SetString(CString(text));
    buffer.UTF16ToUTF8();
    return buffer.Bytes();
}

void FromUtf8Side(const Bytes& bytes) {
    const std::u16string wide = ToUtf16(bytes);
    fuzzing::Require(IsWellFormedUtf16(wide), "UTF-8 to UTF-16 yields well-formed UTF-16");
    const std::string_view view(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    fuzzing::Require(CString::FromUtf8(view).Str() == wide, "the buffer and CString read UTF-8 alike");
    const Bytes narrow = ToUtf8(wide);
    fuzzing::Require(IsWellFormedUtf8(narrow), "UTF-16 to UTF-8 yields well-formed UTF-8");
    if (IsWellFormedUtf8(bytes)) fuzzing::Require(narrow == bytes, "well-formed UTF-8 survives a round trip");
    fuzzing::Require(ToUtf16(narrow) == wide, "converted text converts back to itself");
}

void FromUtf16Side(const Bytes& bytes) {
    std::u16string wide(bytes.size() / 2, u'\0');
    if (!wide.empty()) std::memcpy(wide.data(), bytes.data(), wide.size() * 2);
    const Bytes narrow = ToUtf8(wide);
    fuzzing::Require(IsWellFormedUtf8(narrow), "UTF-16 to UTF-8 yields well-formed UTF-8");
    const std::string_view view(reinterpret_cast<const char*>(narrow.data()), narrow.size());
    fuzzing::Require(CString(wide).ToUtf8() == view, "the buffer and CString write UTF-8 alike");
    const std::u16string back = ToUtf16(narrow);
    if (IsWellFormedUtf16(wide)) fuzzing::Require(back == wide, "well-formed UTF-16 survives a round trip");
    fuzzing::Require(back.size() == wide.size() && IsWellFormedUtf16(back),
                     "only the lone surrogates change, one unit each");
    CBuffer trimmed;
    trimmed.Bytes() = bytes;
    StrBuffer_TrimLeft(trimmed);
    fuzzing::Require(trimmed.GetSize() <= bytes.size(), "trimming never grows a buffer");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzzing::InstallMessages();
    const Bytes bytes(data, data + size);
    FromUtf8Side(bytes);
    FromUtf16Side(bytes);
    return 0;
}
