// URL encoding: percent-encoding of UTF-8 bytes, decoding, and the split and
// rebuild of a URL's query into name and value arrays.
//
// Escapes are written with lower-case hexadecimal digits.  Decoding never
// reads past the text: a "%" without two characters behind it ends the
// decoding, and bytes that are not valid UTF-8 become U+FFFD.
#include <qorcalc/api.h>
#include <qorcalc/buffer.h>
#include <qorcalc/utility.h>
#include <qorcalc/vek.h>

#include "support/text.h"

#include <string>
#include <string_view>

using qorcalc::detail::Shielded;
using qorcalc::detail::ShieldedInto;

namespace {

constexpr std::u16string_view kReserved = u";/?:@&=+$,#";
constexpr std::u16string_view kUnreservedMarks = u"-_.!~*'()";
constexpr char16_t kHexDigits[] = u"0123456789abcdef";

bool IsAsciiAlnum(unsigned c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

// Whether an ASCII character stands as it is; a whole URI also keeps the
// reserved characters, a component escapes them.
bool IsKept(unsigned c, int component) {
    if (c >= 128) return false;
    if (IsAsciiAlnum(c)) return true;
    const char16_t ch = static_cast<char16_t>(c);
    if (kUnreservedMarks.find(ch) != std::u16string_view::npos) return true;
    return !component && kReserved.find(ch) != std::u16string_view::npos;
}

void AppendEscape(std::u16string& out, uint8_t byte) {
    out += u'%';
    out += kHexDigits[byte >> 4];
    out += kHexDigits[byte & 0x0F];
}

// Escapes UTF-8 `bytes` into `out`, or only counts the characters that
// would be written when `out` is null; returns that count.
//
// The carry flag toggles on every byte of 128 or more and forces the escape
// of the byte after a set flag.  After a three-byte sequence it is left set,
// so the character that follows is escaped even when it is a plain letter;
// decoders read the escape back to the same letter, and the encoded form is
// what stored URLs already carry.
size_t Escape(const std::vector<uint8_t>& bytes, int component, std::u16string* out) {
    size_t length = 0;
    bool carry = false;
    for (const uint8_t b : bytes) {
        bool escape;
        if (carry) {
            carry = false;
            escape = true;
        } else if (b >= 128) {
            carry = true;
            escape = true;
        } else {
            escape = !IsKept(b, component);
        }
        length += escape ? 3 : 1;
        if (!out) continue;
        if (escape) {
            AppendEscape(*out, b);
        } else {
            *out += static_cast<char16_t>(b);
        }
    }
    return length;
}

bool IsHighSurrogate(char16_t c) { return c >= 0xD800 && c < 0xDC00; }
bool IsLowSurrogate(char16_t c) { return c >= 0xDC00 && c < 0xE000; }

}  // namespace

int CUtilityCalc::EncodeURI(CString& text, int component) {
    bool needed = false;
    for (const char16_t c : text.Str()) {
        if (!IsKept(c, component)) {
            needed = true;
            break;
        }
    }
    if (!needed) return 0;
    return Shielded(u"CUtilityCalc::EncodeURI", 0, [&] {
        CBuffer bytes;
        bytes.SetString(text);
        bytes.UTF16ToUTF8();
        // Up to nine characters for one: the length is known before the text is built.
        const size_t length = Escape(bytes.Bytes(), component, nullptr);
        qorcalc::detail::CheckTextLength(length, text.Str());
        std::u16string out;
        out.reserve(length);
        Escape(bytes.Bytes(), component, &out);
        text = CString(std::move(out));
        return 1;
    }, text);
}

int CUtilityCalc::EncodeURL(CString& url, int component) {
    return Shielded(u"CUtilityCalc::EncodeURL", 0, [&]() -> int {
        const int mark = url.Find(u'?');
        if (mark < 0) return 0;
        CString query = url.Mid(mark + 1);
        const int changed = EncodeURI(query, component);
        url = url.Left(mark + 1) + query;
        return changed;
    }, url);
}

// A surrogate pair is one character and is encoded as one; a lone surrogate
// is encoded as the replacement character U+FFFD.
void CUtilityCalc::EncodeURI_Chinese(CString& text) {
    ShieldedInto(u"CUtilityCalc::EncodeURI_Chinese", [&] {
        const std::u16string& in = text.Str();
        std::u16string out;
        out.reserve(in.size());
        for (size_t i = 0; i < in.size(); ++i) {
            if (in[i] < 128) {
                out += in[i];
                continue;
            }
            const size_t units = IsHighSurrogate(in[i]) && i + 1 < in.size() && IsLowSurrogate(in[i + 1]) ? 2 : 1;
            CString one(in.data() + i, static_cast<int>(units));
            EncodeURI(one, 1);
            qorcalc::detail::CheckTextLength(out.size() + static_cast<size_t>(one.GetLength()) + (in.size() - i - units), in);
            out += one.Str();
            i += units - 1;
        }
        text = CString(std::move(out));
    }, text);
}

uint8_t CUtilityCalc::DecodeHexChars(const char16_t* twoChars) {
    if (!twoChars || !twoChars[0]) return 0;
    auto value = [](char16_t c) -> unsigned {
        if (qorcalc::support::IsAsciiDigit(c)) return c - u'0';
        if (c >= u'A' && c <= u'Z') c = static_cast<char16_t>(c + 32);
        return static_cast<unsigned>(c) - 87u;
    };
    return static_cast<uint8_t>(value(twoChars[0]) * 16u + value(twoChars[1]));
}

// Characters outside "%" escapes are taken as their own UTF-8 bytes, so a
// text that mixes escapes with unescaped Chinese decodes to both.
void CUtilityCalc::DecodeURI(CString& text) {
    ShieldedInto(u"CUtilityCalc::DecodeURI", [&] {
        const std::u16string& in = text.Str();
        std::string bytes;
        bytes.reserve(in.size());
        size_t plainStart = 0;
        size_t i = 0;
        auto flushPlain = [&](size_t end) {
            bytes += qorcalc::support::Utf16ToUtf8(std::u16string_view(in).substr(plainStart, end - plainStart));
        };
        for (; i < in.size(); ++i) {
            if (in[i] != u'%') continue;
            flushPlain(i);
            if (i + 2 >= in.size()) {
                plainStart = in.size();
                break;
            }
            bytes += static_cast<char>(DecodeHexChars(in.data() + i + 1));
            i += 2;
            plainStart = i + 1;
        }
        if (plainStart < in.size()) flushPlain(in.size());
        text = CString(qorcalc::support::Utf8ToUtf16(bytes));
    }, text);
}

// The arrays are emptied first, also when the query is empty.
int CUtilityCalc::ParseURLPara(const CString& query, CStringArray& names, CStringArray& values,
                               int keepBare) {
    return Shielded(u"CUtilityCalc::ParseURLPara", -1, [&]() -> int {
        names.RemoveAll();
        values.RemoveAll();
        if (query.IsEmpty()) return 0;
        CStringArray items;
        CVek::CString2Array(items, query, u"&", 0);
        for (const CString& item : items) {
            CString name, value;
            if (CVek::GetLeftRight(item, u"=", name, value, 1) || keepBare) {
                names.Add(name);
                values.Add(value);
            }
        }
        return names.GetSize();
    }, names, values);
}

int CUtilityCalc::ParseURL(const char16_t* url, CString& base, CStringArray& names, CStringArray& values,
                           int keepBare) {
    return Shielded(u"CUtilityCalc::ParseURL", -1, [&]() -> int {
        base = CString(url);
        names.RemoveAll();
        values.RemoveAll();
        const int mark = base.Find(u'?');
        if (mark < 0 || mark + 1 == base.GetLength()) return 0;
        const CString query = base.Mid(mark + 1);
        base = base.Left(mark);
        return ParseURLPara(query, names, values, keepBare);
    }, base, names, values);
}

void CUtilityCalc::GenURL(CString& out, const char16_t* base, const CStringArray& names,
                          const CStringArray& values, int keepEmpty) {
    ShieldedInto(u"CUtilityCalc::GenURL", [&] {
        CString url(base);
        bool first = true;
        for (int i = 0; i < names.GetSize(); ++i) {
            const CString& name = names[i];
            const CString& value = values[i];  // empty past the end of the values
            if (name.IsEmpty() || (value.IsEmpty() && !keepEmpty)) continue;
            url += first ? u'?' : u'&';
            first = false;
            url += name;
            if (!value.IsEmpty()) {
                url += u'=';
                url += value;
            }
        }
        out = url;
    }, out);
}
