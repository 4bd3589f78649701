#include "support/text.h"

#include <climits>
#include <limits>
#include <cwchar>
#include <cwctype>

namespace qorcalc::support {

namespace {

// wcscoll wants wchar_t text; on Linux that is UTF-32, so surrogate pairs are
// joined on the way.
std::wstring ToWide(const char16_t* s) {
    std::wstring w;
    if (!s) return w;
    for (; *s; ++s) {
        char32_t c = *s;
        if (c >= 0xD800 && c < 0xDC00 && s[1] >= 0xDC00 && s[1] < 0xE000) {
            c = 0x10000 + ((c - 0xD800) << 10) + (s[1] - 0xDC00);
            ++s;
        }
        w.push_back(static_cast<wchar_t>(c));
    }
    return w;
}

int Sign(int v) { return (v > 0) - (v < 0); }

char16_t AsciiLower(char16_t c) { return c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c + 32) : c; }

template <class T>
T ParseLeadingInteger(const char16_t* s) {
    if (!s) return 0;
    while (iswspace16(*s)) ++s;
    bool negative = false;
    if (*s == u'-' || *s == u'+') negative = (*s++ == u'-');
    // Accumulate toward the sign's limit so that the most negative value fits.
    const T limit = negative ? std::numeric_limits<T>::min() : std::numeric_limits<T>::max();
    T value = 0;
    for (; IsAsciiDigit(*s); ++s) {
        const T digit = static_cast<T>(*s - u'0');
        if (negative) {
            if (value < (limit + digit) / 10) return limit;
            value = value * 10 - digit;
        } else {
            if (value > (limit - digit) / 10) return limit;
            value = value * 10 + digit;
        }
    }
    return value;
}

}  // namespace

size_t Len(const char16_t* s) { return s ? std::char_traits<char16_t>::length(s) : 0; }

// ASCII letters map without the locale: names and operator words are
// ASCII, and their case must not change with a Turkish dotless i.
char16_t towupper16(char16_t c) {
    if (c < 0x80) return c >= u'a' && c <= u'z' ? static_cast<char16_t>(c - 32) : c;
    if (c >= 0xD800 && c < 0xE000) return c;
    wint_t u = std::towupper(static_cast<wint_t>(c));
    return u <= 0xFFFF ? static_cast<char16_t>(u) : c;
}

char16_t towlower16(char16_t c) {
    if (c < 0x80) return AsciiLower(c);
    if (c >= 0xD800 && c < 0xE000) return c;
    wint_t l = std::towlower(static_cast<wint_t>(c));
    return l <= 0xFFFF ? static_cast<char16_t>(l) : c;
}

// ASCII letters are letters in every locale, and nothing else below 0x80 is.
bool iswalpha16(char16_t c) {
    if (c < 0x80) return AsciiLower(c) >= u'a' && AsciiLower(c) <= u'z';
    return std::iswalpha(static_cast<wint_t>(c)) != 0;
}

int wcscmp16(const char16_t* a, const char16_t* b) {
    if (!a) a = u"";
    if (!b) b = u"";
    while (*a && *a == *b) ++a, ++b;
    return (*a > *b) - (*a < *b);
}

namespace {

template <class Fold>
int CompareFolded(const char16_t* a, const char16_t* b, Fold fold) {
    if (!a) a = u"";
    if (!b) b = u"";
    for (;; ++a, ++b) {
        char16_t x = fold(*a), y = fold(*b);
        if (x != y || !x) return (x > y) - (x < y);
    }
}

}  // namespace

// ASCII characters, nearly all of every text compared, fold inline.
int wcsicmp16(const char16_t* a, const char16_t* b) {
    return CompareFolded(a, b, [](char16_t c) { return c < 0x80 ? AsciiLower(c) : towlower16(c); });
}

int wcsicmpAscii16(const char16_t* a, const char16_t* b) { return CompareFolded(a, b, AsciiLower); }

int wcscoll16(const char16_t* a, const char16_t* b) {
    return Sign(std::wcscoll(ToWide(a).c_str(), ToWide(b).c_str()));
}

// Folds as towlower16 does (ASCII without the locale), so that a text equal
// to another ignoring case by CompareNoCase also collates equal to it here.
int wcsicoll16(const char16_t* a, const char16_t* b) {
    std::wstring x = ToWide(a), y = ToWide(b);
    auto fold = [](wchar_t& c) {
        c = c < 0x80 ? static_cast<wchar_t>(towlower16(static_cast<char16_t>(c)))
                     : static_cast<wchar_t>(std::towlower(static_cast<wint_t>(c)));
    };
    for (wchar_t& c : x) fold(c);
    for (wchar_t& c : y) fold(c);
    return Sign(std::wcscoll(x.c_str(), y.c_str()));
}

int wtoi(const char16_t* s) { return ParseLeadingInteger<int>(s); }
int64_t wtoi64(const char16_t* s) { return ParseLeadingInteger<int64_t>(s); }

std::u16string Utf8ToUtf16(std::string_view in) {
    std::u16string out;
    out.reserve(in.size());
    size_t i = 0;
    while (i < in.size()) {
        const unsigned char b = static_cast<unsigned char>(in[i]);
        int extra = b < 0x80 ? 0 : (b >> 5) == 6 ? 1 : (b >> 4) == 14 ? 2 : (b >> 3) == 30 ? 3 : -1;
        char32_t c = extra == 0 ? b : extra == 1 ? (b & 0x1F) : extra == 2 ? (b & 0x0F) : (b & 0x07);
        bool ok = extra >= 0;
        for (int k = 1; ok && k <= extra; ++k) {
            if (i + k >= in.size()) {
                ok = false;
                break;
            }
            const unsigned char cb = static_cast<unsigned char>(in[i + k]);
            if ((cb & 0xC0) != 0x80) {
                ok = false;
                break;
            }
            c = (c << 6) | (cb & 0x3F);
        }
        static constexpr char32_t kMin[] = {0, 0x80, 0x800, 0x10000};
        if (ok && (c < kMin[extra] || c > 0x10FFFF || (c >= 0xD800 && c < 0xE000))) ok = false;
        if (!ok) {
            out.push_back(0xFFFD);
            ++i;
            continue;
        }
        if (c >= 0x10000) {
            c -= 0x10000;
            out.push_back(static_cast<char16_t>(0xD800 + (c >> 10)));
            out.push_back(static_cast<char16_t>(0xDC00 + (c & 0x3FF)));
        } else {
            out.push_back(static_cast<char16_t>(c));
        }
        i += static_cast<size_t>(extra) + 1;
    }
    return out;
}

std::string Utf16ToUtf8(std::u16string_view in) {
    std::string out;
    out.reserve(in.size());
    for (size_t i = 0; i < in.size(); ++i) {
        char32_t c = in[i];
        if (c >= 0xD800 && c < 0xDC00 && i + 1 < in.size() && in[i + 1] >= 0xDC00 &&
            in[i + 1] < 0xE000) {
            c = 0x10000 + ((c - 0xD800) << 10) + (in[i + 1] - 0xDC00);
            ++i;
        } else if (c >= 0xD800 && c < 0xE000) {
            c = 0xFFFD;
        }
        if (c < 0x80) {
            out.push_back(static_cast<char>(c));
        } else if (c < 0x800) {
            out.push_back(static_cast<char>(0xC0 | (c >> 6)));
            out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
        } else if (c < 0x10000) {
            out.push_back(static_cast<char>(0xE0 | (c >> 12)));
            out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
            out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
        } else {
            out.push_back(static_cast<char>(0xF0 | (c >> 18)));
            out.push_back(static_cast<char>(0x80 | ((c >> 12) & 0x3F)));
            out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
            out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
        }
    }
    return out;
}

}  // namespace qorcalc::support
