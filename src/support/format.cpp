// The printf-style engine behind CString::Format.
//
// A directive is "%" [flags] [width] ["." precision] [length] type.  It is
// filled only when the next unused argument has a shape the type accepts;
// otherwise the directive's text is copied as it stands and the argument
// stays for the next directive.  Widths and precisions above kMaxField make
// the directive literal too, so no format text can ask for a huge buffer.
#include <qorcalc/string.h>

#include <charconv>
#include <cmath>
#include <string>

namespace qorcalc::detail {

namespace {

constexpr int kMaxField = 4096;

struct Spec {
    bool left = false, plus = false, space = false, zero = false, alt = false;
    int width = 0;
    int precision = -1;
    char16_t type = 0;
};

// Pads `body` (already holding its sign or prefix at the front, of length
// `prefix`) to the spec's width.
void Emit(std::u16string& out, const Spec& spec, std::u16string_view body, size_t prefix,
          bool numeric) {
    const size_t width = static_cast<size_t>(spec.width);
    if (body.size() >= width) {
        out.append(body);
        return;
    }
    const size_t pad = width - body.size();
    if (spec.left) {
        out.append(body);
        out.append(pad, u' ');
    } else if (spec.zero && numeric) {
        out.append(body.substr(0, prefix));
        out.append(pad, u'0');
        out.append(body.substr(prefix));
    } else {
        out.append(pad, u' ');
        out.append(body);
    }
}

void FormatInteger(std::u16string& out, const Spec& spec, bool negative, uint64_t magnitude) {
    char digits[80];
    const int base = (spec.type == u'x' || spec.type == u'X') ? 16 : 10;
    auto res = std::to_chars(digits, digits + sizeof digits, magnitude, base);
    std::u16string body;
    if (negative)
        body.push_back(u'-');
    else if (spec.plus && base == 10)
        body.push_back(u'+');
    else if (spec.space && base == 10)
        body.push_back(u' ');
    if (spec.alt && base == 16 && magnitude != 0) body.append(spec.type == u'X' ? u"0X" : u"0x");
    const size_t prefix = body.size();
    const size_t n = static_cast<size_t>(res.ptr - digits);
    if (spec.precision >= 0 && static_cast<size_t>(spec.precision) > n)
        body.append(static_cast<size_t>(spec.precision) - n, u'0');
    if (!(spec.precision == 0 && magnitude == 0)) {
        for (size_t i = 0; i < n; ++i)
            body.push_back(spec.type == u'X' ? static_cast<char16_t>(std::toupper(digits[i]))
                                             : static_cast<char16_t>(digits[i]));
    }
    Emit(out, spec, body, prefix, spec.precision < 0);
}

void FormatDouble(std::u16string& out, const Spec& spec, double v) {
    const int precision = spec.precision < 0 ? 6 : spec.precision;
    std::u16string body;
    if (std::signbit(v) && !std::isnan(v))
        body.push_back(u'-');
    else if (spec.plus)
        body.push_back(u'+');
    else if (spec.space)
        body.push_back(u' ');
    const size_t prefix = body.size();
    const double a = std::fabs(v);
    if (!std::isfinite(a)) {
        body.append(std::isnan(a) ? u"nan" : u"inf");
        Emit(out, spec, body, prefix, false);
        return;
    }
    const std::chars_format fmt = spec.type == u'e' || spec.type == u'E' ? std::chars_format::scientific
                                  : spec.type == u'g' || spec.type == u'G' ? std::chars_format::general
                                                                           : std::chars_format::fixed;
    std::string buf(330 + static_cast<size_t>(precision), '\0');
    auto res = std::to_chars(buf.data(), buf.data() + buf.size(), a, fmt,
                             (fmt == std::chars_format::general && precision == 0) ? 1 : precision);
    for (char* p = buf.data(); p < res.ptr; ++p) {
        char c = *p;
        if (spec.type == u'E' || spec.type == u'G') c = static_cast<char>(std::toupper(c));
        body.push_back(static_cast<unsigned char>(c));
    }
    Emit(out, spec, body, prefix, true);
}

// Parses one directive starting after its "%"; returns the position after
// it, or nullptr when the text is not a directive we know.
const char16_t* ParseSpec(const char16_t* p, Spec& spec) {
    for (;; ++p) {
        if (*p == u'-') spec.left = true;
        else if (*p == u'+') spec.plus = true;
        else if (*p == u' ') spec.space = true;
        else if (*p == u'0') spec.zero = true;
        else if (*p == u'#') spec.alt = true;
        else break;
    }
    for (; *p >= u'0' && *p <= u'9'; ++p) {
        spec.width = spec.width * 10 + (*p - u'0');
        if (spec.width > kMaxField) return nullptr;
    }
    if (*p == u'.') {
        spec.precision = 0;
        for (++p; *p >= u'0' && *p <= u'9'; ++p) {
            spec.precision = spec.precision * 10 + (*p - u'0');
            if (spec.precision > kMaxField) return nullptr;
        }
    }
    if (p[0] == u'I' && p[1] == u'6' && p[2] == u'4') p += 3;
    else if (p[0] == u'I' && p[1] == u'3' && p[2] == u'2') p += 3;
    else if (p[0] == u'l' && p[1] == u'l') p += 2;
    else if (*p == u'l' || *p == u'h') ++p;
    switch (*p) {
        case u'd': case u'i': case u'u': case u'x': case u'X': case u'c':
        case u's': case u'S': case u'f': case u'F': case u'e': case u'E': case u'g': case u'G':
            spec.type = *p;
            return p + 1;
        default:
            return nullptr;
    }
}

// Fills one directive from `arg`; false when the argument does not fit it.
bool Fill(std::u16string& out, const Spec& spec, const FormatArg& arg) {
    switch (spec.type) {
        case u'd': case u'i': case u'u': case u'x': case u'X': {
            if (arg.kind == FormatArg::Int) {
                const bool neg = arg.i < 0 && (spec.type == u'd' || spec.type == u'i');
                const uint64_t mag = neg ? 0 - static_cast<uint64_t>(arg.i) : static_cast<uint64_t>(arg.i);
                FormatInteger(out, spec, neg, mag);
            } else if (arg.kind == FormatArg::UInt) {
                FormatInteger(out, spec, false, arg.u);
            } else if (arg.kind == FormatArg::Char) {
                FormatInteger(out, spec, false, arg.c);
            } else {
                return false;
            }
            return true;
        }
        case u'c': {
            char16_t c;
            if (arg.kind == FormatArg::Char) c = arg.c;
            else if (arg.kind == FormatArg::Int || arg.kind == FormatArg::UInt) c = static_cast<char16_t>(arg.u);
            else return false;
            Emit(out, spec, std::u16string_view(&c, 1), 0, false);
            return true;
        }
        case u's': case u'S': {
            if (arg.kind != FormatArg::Str) return false;
            std::u16string_view s = arg.s;
            if (spec.precision >= 0 && static_cast<size_t>(spec.precision) < s.size())
                s = s.substr(0, static_cast<size_t>(spec.precision));
            Emit(out, spec, s, 0, false);
            return true;
        }
        default: {
            if (arg.kind != FormatArg::Double) return false;
            FormatDouble(out, spec, arg.d);
            return true;
        }
    }
}

}  // namespace

void FormatInto(std::u16string& out, const char16_t* fmt, const FormatArg* args, size_t count) {
    if (!fmt) return;
    size_t next = 0;
    const char16_t* p = fmt;
    while (*p) {
        if (*p != u'%') {
            out.push_back(*p++);
            continue;
        }
        if (p[1] == u'%') {
            out.push_back(u'%');
            p += 2;
            continue;
        }
        Spec spec;
        const char16_t* end = ParseSpec(p + 1, spec);
        if (end && next < count && Fill(out, spec, args[next])) {
            ++next;
            p = end;
            continue;
        }
        // Not a directive we can fill: copy the "%" and go on from the next
        // character, so the rest of the directive appears as written.
        out.push_back(*p++);
    }
}

}  // namespace qorcalc::detail
