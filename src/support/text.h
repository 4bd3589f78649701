// The C runtime's wide-character routines over char16_t text.
//
// Ordinal routines (Len, wcscmp16) never depend on the locale.  Case mapping
// of non-ASCII characters and collation follow the C library's current
// locale, which the host picks with setlocale; ASCII letters always map
// A..Z to a..z.  The digit test accepts ASCII "0".."9" only, and white
// space is a fixed set, so that numbers never depend on the locale.  Every
// routine takes a null pointer as the empty text.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace qorcalc::support {

size_t Len(const char16_t* s);

inline bool IsAsciiDigit(char16_t c) { return c >= u'0' && c <= u'9'; }
// Whether every character of `text` is an ASCII digit (an empty text's are).
inline bool AllAsciiDigits(std::u16string_view text) {
    for (const char16_t c : text)
        if (!IsAsciiDigit(c)) return false;
    return true;
}
inline bool IsAsciiLetter(char16_t c) { return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z'); }
// The first position at or after `from` whose unit is one of `set`, npos
// for none.  An ASCII set, as every caller's is, becomes two words of bits
// tested per unit: the library's find_first_of searches the set for each
// unit, several times the cost.
inline size_t FindFirstOf(std::u16string_view text, std::u16string_view set, size_t from = 0) {
    uint64_t low = 0, high = 0;  // the set's units 0..63 and 64..127
    for (const char16_t c : set) {
        if (c >= 128) return text.find_first_of(set, from);
        (c < 64 ? low : high) |= uint64_t{1} << (c & 63);
    }
    for (size_t i = from; i < text.size(); ++i) {
        const char16_t c = text[i];
        if (c < 128 && ((c < 64 ? low : high) >> (c & 63) & 1)) return i;
    }
    return std::u16string_view::npos;
}
char16_t towupper16(char16_t c);
char16_t towlower16(char16_t c);
bool iswalpha16(char16_t c);
// Whether `text` equals `word`, a lower-case ASCII word, ignoring case as
// wcsicmp16 folds: ASCII inline, any other unit through towlower16 (a
// letter beyond ASCII may fold to an ASCII one), a unit to a unit, so only
// a text as long as the word can equal it.
inline bool EqualsNoCase(std::u16string_view text, std::u16string_view word) {
    if (text.size() != word.size()) return false;
    for (size_t i = 0; i < text.size(); ++i) {
        const char16_t c = text[i];
        const char16_t folded = c >= 0x80 ? towlower16(c) : (c >= u'A' && c <= u'Z') ? char16_t(c + 32) : c;
        if (folded != word[i]) return false;
    }
    return true;
}
// The Unicode White_Space characters, never the locale's: white space
// decides where a number text starts and ends.  Inline for the paths that
// trim every number text.
inline bool iswspace16(char16_t c) {
    if (c < 0x80) return c == u' ' || (c >= u'\t' && c <= u'\r');
    return c == 0x85 || c == 0xA0 || c == 0x1680 || (c >= 0x2000 && c <= 0x200A) || c == 0x2028 ||
           c == 0x2029 || c == 0x202F || c == 0x205F || c == 0x3000;
}

int wcscmp16(const char16_t* a, const char16_t* b);
// Ordinal after folding both sides with towlower16.
int wcsicmp16(const char16_t* a, const char16_t* b);
// Ordinal after folding A..Z only: the same result under every locale.
int wcsicmpAscii16(const char16_t* a, const char16_t* b);
// Locale collation (wcscoll); the i-form folds case first.
int wcscoll16(const char16_t* a, const char16_t* b);
int wcsicoll16(const char16_t* a, const char16_t* b);

// Leading white space, an optional sign, then decimal digits up to the first
// other character; saturates at the type's limits instead of overflowing.
int wtoi(const char16_t* s);
int64_t wtoi64(const char16_t* s);

// UTF conversions; malformed input (lone surrogates, bad UTF-8) becomes U+FFFD.
std::u16string Utf8ToUtf16(std::string_view utf8);
std::string Utf16ToUtf8(std::u16string_view utf16);

}  // namespace qorcalc::support
