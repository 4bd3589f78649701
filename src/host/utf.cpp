// UTF-8 validation and conversion, name folding.
#include "host/internal.h"

#include <cstring>

namespace qorcalc::host {
namespace {

// Whether there are eight bytes at `p` and all are ASCII: one test of a
// machine word passes them, where a whole record is checked at once.
bool EightAscii(const unsigned char* p, const unsigned char* end) {
    if (end - p < 8) return false;
    uint64_t word;
    std::memcpy(&word, p, sizeof word);
    return !(word & 0x8080808080808080u);
}

}  // namespace

bool IsValidUtf8(std::string_view text) {
    const auto* p = reinterpret_cast<const unsigned char*>(text.data());
    const auto* end = p + text.size();
    while (p < end) {
        if (EightAscii(p, end)) {
            p += 8;
            continue;
        }
        const unsigned char c = *p;
        if (c < 0x80) {
            ++p;
            continue;
        }
        int length;
        uint32_t min, cp;
        if ((c & 0xE0) == 0xC0) length = 2, min = 0x80, cp = c & 0x1F;
        else if ((c & 0xF0) == 0xE0) length = 3, min = 0x800, cp = c & 0x0F;
        else if ((c & 0xF8) == 0xF0) length = 4, min = 0x10000, cp = c & 0x07;
        else return false;
        if (end - p < length) return false;
        for (int i = 1; i < length; ++i) {
            if ((p[i] & 0xC0) != 0x80) return false;
            cp = cp << 6 | (p[i] & 0x3F);
        }
        if (cp < min || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) return false;
        p += length;
    }
    return true;
}

namespace detail {

// Both conversions write into room made for the longest result (a UTF-8
// byte gives at most one UTF-16 unit, a UTF-16 unit at most three bytes)
// and then cut the string to what was written: no growth check per unit.
// ASCII, the common case, takes the shortest path through each loop, four
// units at a time where four in a row are ASCII.
void Utf8ToUtf16(std::string_view utf8, std::u16string& out) {
    out.resize(utf8.size());
    char16_t* o = out.data();
    const auto* p = reinterpret_cast<const unsigned char*>(utf8.data());
    const auto* end = p + utf8.size();
    while (p < end) {
        if (end - p >= 4 && (p[0] | p[1] | p[2] | p[3]) < 0x80) {
            o[0] = p[0];
            o[1] = p[1];
            o[2] = p[2];
            o[3] = p[3];
            o += 4;
            p += 4;
            continue;
        }
        uint32_t cp = *p++;
        if (cp < 0x80) {
            *o++ = static_cast<char16_t>(cp);
            continue;
        }
        int more = cp >= 0xF0 ? 3 : cp >= 0xE0 ? 2 : cp >= 0xC0 ? 1 : 0;
        if (more) cp &= 0x3F >> more;
        for (; more > 0 && p < end; --more) cp = cp << 6 | (*p++ & 0x3F);
        if (cp >= 0x10000) {
            cp -= 0x10000;
            *o++ = static_cast<char16_t>(0xD800 + (cp >> 10));
            *o++ = static_cast<char16_t>(0xDC00 + (cp & 0x3FF));
        } else {
            *o++ = static_cast<char16_t>(cp);
        }
    }
    out.resize(static_cast<size_t>(o - out.data()));
}

namespace {

// A character below U+10000, past U+07FF, as UTF-8 at `o`; the end.
char* PutThreeBytes(uint32_t cp, char* o) {
    *o++ = static_cast<char>(0xE0 | cp >> 12);
    *o++ = static_cast<char>(0x80 | (cp >> 6 & 0x3F));
    *o++ = static_cast<char>(0x80 | (cp & 0x3F));
    return o;
}

}  // namespace

void Utf16ToUtf8(std::u16string_view text, std::string& out) {
    // An ASCII text is copied at its own size: a short result then fits in
    // the string itself and needs no heap block.  The rest of a text that
    // is not ASCII goes through the general loop.
    out.resize(text.size());
    char* to = out.data();
    const char16_t* from = text.data();
    const size_t size = text.size();
    size_t ascii = 0;
    for (; size - ascii >= 4 && (from[ascii] | from[ascii + 1] | from[ascii + 2] | from[ascii + 3]) < 0x80; ascii += 4) {
        to[ascii] = static_cast<char>(from[ascii]);
        to[ascii + 1] = static_cast<char>(from[ascii + 1]);
        to[ascii + 2] = static_cast<char>(from[ascii + 2]);
        to[ascii + 3] = static_cast<char>(from[ascii + 3]);
    }
    for (; ascii < size && from[ascii] < 0x80; ++ascii) to[ascii] = static_cast<char>(from[ascii]);
    if (ascii == text.size()) return;
    out.resize(ascii + (text.size() - ascii) * 3);
    char* o = out.data() + ascii;
    for (size_t i = ascii; i < text.size(); ++i) {
        const uint32_t cp = text[i];
        if (cp < 0x80) {
            *o++ = static_cast<char>(cp);
        } else if (cp < 0x800) {
            *o++ = static_cast<char>(0xC0 | cp >> 6);
            *o++ = static_cast<char>(0x80 | (cp & 0x3F));
        } else if (cp < 0xD800 || cp > 0xDFFF) {
            o = PutThreeBytes(cp, o);
        } else if (cp <= 0xDBFF && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] <= 0xDFFF) {
            const uint32_t pair = 0x10000 + ((cp - 0xD800) << 10) + (text[++i] - 0xDC00);
            *o++ = static_cast<char>(0xF0 | pair >> 18);
            *o++ = static_cast<char>(0x80 | (pair >> 12 & 0x3F));
            *o++ = static_cast<char>(0x80 | (pair >> 6 & 0x3F));
            *o++ = static_cast<char>(0x80 | (pair & 0x3F));
        } else {
            o = PutThreeBytes(0xFFFD, o);  // an unpaired surrogate
        }
    }
    out.resize(static_cast<size_t>(o - out.data()));
}

std::string ToUtf8(std::u16string_view text) {
    std::string out;
    Utf16ToUtf8(text, out);
    return out;
}

std::u16string ToUtf16(std::string_view utf8) {
    std::u16string out;
    Utf8ToUtf16(utf8, out);
    return out;
}

void FoldName(std::u16string_view name, std::u16string& out) {
    out.assign(name);
    for (char16_t& c : out)
        if (c >= u'A' && c <= u'Z') c = static_cast<char16_t>(c - u'A' + u'a');
}

}  // namespace detail
}  // namespace qorcalc::host
