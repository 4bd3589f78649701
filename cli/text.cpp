// Text output helpers of the tool.
#include "tool.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace qorcalc::tool {

void AppendJson(std::string_view text, std::string& out) {
    out += '"';
    for (unsigned char c : text) {
        switch (c) {
            case '"': out += "\\\""; break;
            case '\\': out += "\\\\"; break;
            case '\n': out += "\\n"; break;
            case '\r': out += "\\r"; break;
            case '\t': out += "\\t"; break;
            default:
                if (c < 0x20) {
                    char escape[8];
                    std::snprintf(escape, sizeof escape, "\\u%04x", c);
                    out += escape;
                } else {
                    out += static_cast<char>(c);
                }
        }
    }
    out += '"';
}

std::string Json(std::string_view text) {
    std::string out;
    AppendJson(text, out);
    return out;
}

namespace {

bool IsWide(uint32_t cp) {
    return (cp >= 0x1100 && cp <= 0x115F) || (cp >= 0x2E80 && cp <= 0x303E) || (cp >= 0x3041 && cp <= 0x33FF) ||
           (cp >= 0x3400 && cp <= 0x4DBF) || (cp >= 0x4E00 && cp <= 0x9FFF) || (cp >= 0xA000 && cp <= 0xA4CF) ||
           (cp >= 0xAC00 && cp <= 0xD7A3) || (cp >= 0xF900 && cp <= 0xFAFF) || (cp >= 0xFE30 && cp <= 0xFE4F) ||
           (cp >= 0xFF00 && cp <= 0xFF60) || (cp >= 0xFFE0 && cp <= 0xFFE6) || (cp >= 0x1F300 && cp <= 0x1F64F) ||
           (cp >= 0x20000 && cp <= 0x3FFFD);
}

// The character that starts at byte `i` of `text`: its length in bytes and
// the columns it takes (combining marks none, wide characters two).
struct Glyph {
    size_t length;
    int width;
};

Glyph GlyphAt(std::string_view text, size_t i) {
    const unsigned char c = static_cast<unsigned char>(text[i]);
    const size_t length = std::min<size_t>(c >= 0xF0 ? 4 : c >= 0xE0 ? 3 : c >= 0xC0 ? 2 : 1, text.size() - i);
    uint32_t cp = length == 1 ? c : c & (0x3Fu >> (length - 1));
    for (size_t k = 1; k < length; ++k) cp = cp << 6 | (static_cast<unsigned char>(text[i + k]) & 0x3F);
    if ((cp >= 0x300 && cp <= 0x36F) || cp == 0x200B) return {length, 0};
    return {length, IsWide(cp) ? 2 : 1};
}

}  // namespace

int DisplayWidth(std::string_view text) {
    int width = 0;
    for (size_t i = 0; i < text.size();) {
        const Glyph glyph = GlyphAt(text, i);
        width += glyph.width;
        i += glyph.length;
    }
    return width;
}

std::string FitWidth(std::string_view text, int columns) {
    if (DisplayWidth(text) <= columns) return std::string(text);
    // Whole characters up to one column short, then the ellipsis; the marks
    // that follow the last character kept stay with it.
    size_t end = 0;
    for (int width = 0; end < text.size();) {
        const Glyph glyph = GlyphAt(text, end);
        if (width + glyph.width > columns - 1) break;
        width += glyph.width;
        end += glyph.length;
    }
    return std::string(text.substr(0, end)) + "\u2026";
}

int TerminalColumns() {
    if (const char* columns = std::getenv("COLUMNS")) {
        char* end = nullptr;
        const long n = std::strtol(columns, &end, 10);
        if (end != columns && *end == '\0' && n > 0 && n <= 100000) return static_cast<int>(n);
    }
    winsize size{};
    if (isatty(STDOUT_FILENO) && ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) return size.ws_col;
    return 0;
}

std::string ErrorLine(const host::Error& error) {
    return "error " + std::to_string(error.id) + ": " + error.message;
}

bool ParseLanguage(std::string_view name, Language& language) {
    if (name == "en") language = Language::English;
    else if (name == "zh") language = Language::Chinese;
    else return false;
    return true;
}

const char* LanguageName(Language language) { return language == Language::Chinese ? "zh" : "en"; }

}  // namespace qorcalc::tool
