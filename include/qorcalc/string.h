// CString: the engine's text value, UTF-16 over std::u16string.
//
// Every value, name and message in the engine travels as a CString.  The
// class offers the familiar framework operations (Find, Mid, Replace, Trim,
// Format, ...) with these guarantees:
//   - no operation reads or writes out of bounds: positions and counts are
//     clamped to the text (a negative start counts as 0, a count past the end
//     stops at the end), a null `const char16_t*` reads as the empty text;
//   - Format is type safe: a directive whose argument is missing or of
//     another type is written literally, so a host-supplied message text can
//     never cause undefined behaviour;
//   - ordinal comparisons (==, Compare) never depend on the process locale;
//     collation and case mapping follow the C library's current locale;
//   - no member defined in the library throws.  On exhausted memory, or a
//     text that would pass CALC_MAX_TEXT_LENGTH (a repeat, a Replace that
//     grows the text),
//     a constructor or a change in place leaves the text empty, a returned
//     text is empty, Insert and Replace return -1 and leave the text as it
//     was, Collate falls back to the ordinal order; the failure (message
//     1305 or 1300) is the last error.  The members defined here in the
//     header (+= of a CString or a character, AppendChar, the constructors
//     from standard strings) are the caller's own code and may throw
//     std::bad_alloc as any standard string does.
#pragma once

#include <qorcalc/export.h>

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

namespace qorcalc::detail {

// One argument of a Format call, erased to the few shapes a directive can take.
struct FormatArg {
    enum Kind : uint8_t { Int, UInt, Double, Str, Char } kind;
    union {
        int64_t i;
        uint64_t u;
        double d;
        char16_t c;
    };
    std::u16string_view s;

    FormatArg(int64_t v) : kind(Int), i(v) {}
    FormatArg(uint64_t v) : kind(UInt), u(v) {}
    FormatArg(double v) : kind(Double), d(v) {}
    FormatArg(char16_t v) : kind(Char), c(v) {}
    FormatArg(std::u16string_view v) : kind(Str), u(0), s(v) {}
};

template <class T>
FormatArg MakeFormatArg(const T& v) {
    if constexpr (std::is_same_v<T, char16_t> || std::is_same_v<T, char>) {
        return FormatArg(static_cast<char16_t>(v));
    } else if constexpr (std::is_same_v<T, bool>) {
        return FormatArg(static_cast<int64_t>(v));
    } else if constexpr (std::is_enum_v<T>) {
        return FormatArg(static_cast<int64_t>(v));
    } else if constexpr (std::is_integral_v<T> && std::is_signed_v<T>) {
        return FormatArg(static_cast<int64_t>(v));
    } else if constexpr (std::is_integral_v<T>) {
        return FormatArg(static_cast<uint64_t>(v));
    } else if constexpr (std::is_floating_point_v<T>) {
        return FormatArg(static_cast<double>(v));
    } else if constexpr (std::is_convertible_v<const T&, const char16_t*>) {
        const char16_t* p = v;
        return FormatArg(p ? std::u16string_view(p) : std::u16string_view());
    } else {
        return FormatArg(std::u16string_view(v));
    }
}

// Appends `fmt` with its directives filled from `args` to `out`; `fmt` and
// the arguments may point into `out`.
QORCALC_API void FormatInto(std::u16string& out, const char16_t* fmt, const FormatArg* args,
                            size_t count);

}  // namespace qorcalc::detail

class QORCALC_API CString {
public:
    CString() = default;
    CString(const char16_t* text);
    CString(const char16_t* text, int length);
    explicit CString(char16_t ch, int repeat = 1);
    CString(std::u16string text) : m_str(std::move(text)) {}
    CString(std::u16string_view text) : m_str(text) {}

    CString& operator=(const char16_t* text);
    CString& operator=(char16_t ch);

    // UTF-8 at the host's edges; invalid sequences become U+FFFD.
    static CString FromUtf8(std::string_view utf8);
    std::string ToUtf8() const;

    int GetLength() const { return static_cast<int>(m_str.size()); }
    int IsEmpty() const { return m_str.empty(); }
    void Empty() { m_str.clear(); }
    // 0 for a position outside the text.
    char16_t GetAt(int index) const;
    char16_t operator[](int index) const { return GetAt(index); }
    // Ignored for a position outside the text.
    void SetAt(int index, char16_t ch);
    const char16_t* GetString() const { return m_str.c_str(); }
    operator const char16_t*() const { return m_str.c_str(); }
    const std::u16string& Str() const { return m_str; }
    std::u16string& Str() { return m_str; }

    CString& operator+=(const CString& other) { m_str += other.m_str; return *this; }
    CString& operator+=(const char16_t* text);
    CString& operator+=(char16_t ch) { m_str += ch; return *this; }
    void Append(const char16_t* text, int length);
    void AppendChar(char16_t ch) { m_str += ch; }

    // Ordinal comparisons; the NoCase forms fold with the locale's towlower.
    int Compare(const char16_t* text) const;
    int CompareNoCase(const char16_t* text) const;
    // Locale collation (wcscoll), and collation after folding case.
    int Collate(const char16_t* text) const;
    int CollateNoCase(const char16_t* text) const;

    // -1 when not found, or for an empty needle.
    int Find(char16_t ch, int start = 0) const;
    int Find(const char16_t* text, int start = 0) const;
    int ReverseFind(char16_t ch) const;
    int FindOneOf(const char16_t* chars) const;

    CString Mid(int first) const;
    CString Mid(int first, int count) const;
    CString Left(int count) const;
    CString Right(int count) const;

    // Each returns the new length; positions past the end append.  Delete
    // removes nothing at a negative index, so that deleting at the -1 of a
    // failed Find leaves the text alone.
    int Insert(int index, char16_t ch);
    int Insert(int index, const char16_t* text);
    int Delete(int index, int count = 1);
    // Each returns the number of characters removed or replacements made.
    int Remove(char16_t ch);
    int Replace(char16_t from, char16_t to);
    int Replace(const char16_t* from, const char16_t* to);

    // Without an argument these remove white space: the Unicode White_Space
    // characters, the same whatever the locale.
    CString& Trim();
    CString& Trim(char16_t ch);
    CString& Trim(const char16_t* chars);
    CString& TrimLeft();
    CString& TrimLeft(char16_t ch);
    CString& TrimLeft(const char16_t* chars);
    CString& TrimRight();
    CString& TrimRight(char16_t ch);
    CString& TrimRight(const char16_t* chars);

    CString& MakeUpper();
    CString& MakeLower();
    CString& MakeReverse();

    // printf-style formatting: %s %d %i %u %x %X %c %f %e %g %%, flags
    // "-+ 0#", width and precision (each at most 4096), and the length
    // prefixes I64, ll, l, h.  A directive whose argument is missing or does
    // not fit it is copied literally and does not consume the argument.
    // The format and the arguments may be this string itself: the text is
    // built aside and only then replaces or extends it.
    template <class... Args>
    void Format(const char16_t* fmt, const Args&... args) {
        CString text;
        text.AppendFormat(fmt, args...);
        m_str.swap(text.m_str);
    }
    template <class... Args>
    void AppendFormat(const char16_t* fmt, const Args&... args) {
        const std::array<qorcalc::detail::FormatArg, sizeof...(Args)> packed{
            qorcalc::detail::MakeFormatArg(args)...};
        qorcalc::detail::FormatInto(m_str, fmt, packed.data(), packed.size());
    }

    bool operator==(const CString& other) const { return m_str == other.m_str; }
    bool operator==(const char16_t* text) const;
    bool operator<(const CString& other) const { return m_str < other.m_str; }

private:
    std::u16string m_str;
};

QORCALC_API CString operator+(const CString& a, const CString& b);
QORCALC_API CString operator+(const CString& a, const char16_t* b);
QORCALC_API CString operator+(const char16_t* a, const CString& b);
QORCALC_API CString operator+(const CString& a, char16_t b);
QORCALC_API CString operator+(char16_t a, const CString& b);
