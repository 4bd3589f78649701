// The printf-style engine behind CString::Format.
//
// A directive is "%" [flags] [width] ["." precision] [length] type.  It is
// filled only when the next unused argument has a shape the type accepts;
// otherwise the directive's text is copied as it stands and the argument
// stays for the next directive.  Widths and precisions above kMaxField make
// the directive literal too, so no format text can ask for a huge buffer:
// each argument fills one directive at most, so the text is never longer
// than the format, the arguments and 4096 characters per argument together.
// Without memory the text it appends to is left as it was.
#include <qorcalc/api.h>
#include <qorcalc/limits.h>
#include <qorcalc/string.h>

#include <charconv>
#include <cmath>
#include <string>

namespace qorcalc::detail {

namespace {

constexpr int kMaxField = CALC_MAX_FORMAT_FIELD;

struct Directive {
    bool left = false, plus = false, space = false, zero = false, alt = false;
    int width = 0;
    int precision = -1;
    char16_t type = 0;
};

// Pads `body` (already holding its sign or prefix at the front, of length
// `prefix`) to the directive's width.
void Emit(std::u16string& out, const Directive& dir, std::u16string_view body, size_t prefix,
          bool numeric) {
    const size_t width = static_cast<size_t>(dir.width);
    if (body.size() >= width) {
        out.append(body);
        return;
    }
    const size_t pad = width - body.size();
    if (dir.left) {
        out.append(body);
        out.append(pad, u' ');
    } else if (dir.zero && numeric) {
        out.append(body.substr(0, prefix));
        out.append(pad, u'0');
        out.append(body.substr(prefix));
    } else {
        out.append(pad, u' ');
        out.append(body);
    }
}

void FormatInteger(std::u16string& out, const Directive& dir, bool negative, uint64_t magnitude) {
    char digits[80];
    const int base = (dir.type == u'x' || dir.type == u'X') ? 16 : 10;
    auto res = std::to_chars(digits, digits + sizeof digits, magnitude, base);
    std::u16string body;
    if (negative)
        body.push_back(u'-');
    else if (dir.plus && base == 10)
        body.push_back(u'+');
    else if (dir.space && base == 10)
        body.push_back(u' ');
    if (dir.alt && base == 16 && magnitude != 0) body.append(dir.type == u'X' ? u"0X" : u"0x");
    const size_t prefix = body.size();
    const size_t n = static_cast<size_t>(res.ptr - digits);
    if (dir.precision >= 0 && static_cast<size_t>(dir.precision) > n)
        body.append(static_cast<size_t>(dir.precision) - n, u'0');
    if (!(dir.precision == 0 && magnitude == 0)) {
        for (size_t i = 0; i < n; ++i)
            body.push_back(static_cast<char16_t>(dir.type == u'X' && digits[i] >= 'a' ? digits[i] - 32 : digits[i]));
    }
    Emit(out, dir, body, prefix, dir.precision < 0);
}

void FormatDouble(std::u16string& out, const Directive& dir, double v) {
    const int precision = dir.precision < 0 ? 6 : dir.precision;
    std::u16string body;
    if (std::signbit(v) && !std::isnan(v))
        body.push_back(u'-');
    else if (dir.plus)
        body.push_back(u'+');
    else if (dir.space)
        body.push_back(u' ');
    const size_t prefix = body.size();
    const double a = std::fabs(v);
    const bool upper = dir.type == u'E' || dir.type == u'G' || dir.type == u'F';
    if (!std::isfinite(a)) {
        body.append(std::isnan(a) ? (upper ? u"NAN" : u"nan") : (upper ? u"INF" : u"inf"));
        Emit(out, dir, body, prefix, false);
        return;
    }
    const std::chars_format fmt = dir.type == u'e' || dir.type == u'E' ? std::chars_format::scientific
                                  : dir.type == u'g' || dir.type == u'G' ? std::chars_format::general
                                                                           : std::chars_format::fixed;
    std::string buf(330 + static_cast<size_t>(precision), '\0');
    auto res = std::to_chars(buf.data(), buf.data() + buf.size(), a, fmt,
                             (fmt == std::chars_format::general && precision == 0) ? 1 : precision);
    for (char* p = buf.data(); p < res.ptr; ++p) {
        // The only letter is the exponent's "e", upper-cased without the locale.
        body.push_back(upper && *p == 'e' ? u'E' : static_cast<char16_t>(static_cast<unsigned char>(*p)));
    }
    Emit(out, dir, body, prefix, true);
}

// Parses one directive starting after its "%"; returns the position after
// it, or nullptr when the text is not a directive we know.
const char16_t* ParseDirective(const char16_t* p, Directive& dir) {
    for (;; ++p) {
        if (*p == u'-') dir.left = true;
        else if (*p == u'+') dir.plus = true;
        else if (*p == u' ') dir.space = true;
        else if (*p == u'0') dir.zero = true;
        else if (*p == u'#') dir.alt = true;
        else break;
    }
    for (; *p >= u'0' && *p <= u'9'; ++p) {
        dir.width = dir.width * 10 + (*p - u'0');
        if (dir.width > kMaxField) return nullptr;
    }
    if (*p == u'.') {
        dir.precision = 0;
        for (++p; *p >= u'0' && *p <= u'9'; ++p) {
            dir.precision = dir.precision * 10 + (*p - u'0');
            if (dir.precision > kMaxField) return nullptr;
        }
    }
    if (p[0] == u'I' && p[1] == u'6' && p[2] == u'4') p += 3;
    else if (p[0] == u'I' && p[1] == u'3' && p[2] == u'2') p += 3;
    else if (p[0] == u'l' && p[1] == u'l') p += 2;
    else if (*p == u'l' || *p == u'h') ++p;
    switch (*p) {
        case u'd': case u'i': case u'u': case u'x': case u'X': case u'c':
        case u's': case u'S': case u'f': case u'F': case u'e': case u'E': case u'g': case u'G':
            dir.type = *p;
            return p + 1;
        default:
            return nullptr;
    }
}

// Fills one directive from `arg`; false when the argument does not fit it.
bool Fill(std::u16string& out, const Directive& dir, const FormatArg& arg) {
    switch (dir.type) {
        case u'd': case u'i': case u'u': case u'x': case u'X': {
            if (arg.kind == FormatArg::Int) {
                const bool neg = arg.i < 0 && (dir.type == u'd' || dir.type == u'i');
                const uint64_t mag = neg ? 0 - static_cast<uint64_t>(arg.i) : static_cast<uint64_t>(arg.i);
                FormatInteger(out, dir, neg, mag);
            } else if (arg.kind == FormatArg::UInt) {
                FormatInteger(out, dir, false, arg.u);
            } else if (arg.kind == FormatArg::Char) {
                FormatInteger(out, dir, false, arg.c);
            } else {
                return false;
            }
            return true;
        }
        case u'c': {
            char16_t c;
            if (arg.kind == FormatArg::Char) c = arg.c;
            else if (arg.kind == FormatArg::Int) c = static_cast<char16_t>(arg.i);
            else if (arg.kind == FormatArg::UInt) c = static_cast<char16_t>(arg.u);
            else return false;
            Emit(out, dir, std::u16string_view(&c, 1), 0, false);
            return true;
        }
        case u's': case u'S': {
            if (arg.kind != FormatArg::Str) return false;
            std::u16string_view s = arg.s;
            if (dir.precision >= 0 && static_cast<size_t>(dir.precision) < s.size())
                s = s.substr(0, static_cast<size_t>(dir.precision));
            Emit(out, dir, s, 0, false);
            return true;
        }
        default: {
            if (arg.kind != FormatArg::Double) return false;
            FormatDouble(out, dir, arg.d);
            return true;
        }
    }
}

void FormatAside(std::u16string& result, const char16_t* fmt, const FormatArg* args, size_t count) {
    // Built aside: the format or an argument may be a view into `result`,
    // which appending would move.
    std::u16string out;
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
        Directive dir;
        const char16_t* end = ParseDirective(p + 1, dir);
        if (end && next < count && Fill(out, dir, args[next])) {
            ++next;
            p = end;
            continue;
        }
        // Not a directive we can fill: copy the "%" and go on from the next
        // character, so the rest of the directive appears as written.
        out.push_back(*p++);
    }
    result += out;
}

}  // namespace

void FormatInto(std::u16string& result, const char16_t* fmt, const FormatArg* args, size_t count) {
    if (fmt) Shielded(u"CString::Format", false, [&] { return FormatAside(result, fmt, args, count), true; });
}

}  // namespace qorcalc::detail
