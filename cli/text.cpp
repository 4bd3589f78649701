// Text output helpers of the tool.
#include "tool.h"

#include <cstdio>

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

}  // namespace

int DisplayWidth(std::string_view text) {
    int width = 0;
    for (size_t i = 0; i < text.size();) {
        const unsigned char c = static_cast<unsigned char>(text[i]);
        const int length = c >= 0xF0 ? 4 : c >= 0xE0 ? 3 : c >= 0xC0 ? 2 : 1;
        uint32_t cp = length == 1 ? c : c & (0x3Fu >> (length - 1));
        for (int k = 1; k < length && i + static_cast<size_t>(k) < text.size(); ++k)
            cp = cp << 6 | (static_cast<unsigned char>(text[i + static_cast<size_t>(k)]) & 0x3F);
        i += static_cast<size_t>(length);
        if ((cp >= 0x300 && cp <= 0x36F) || cp == 0x200B) continue;  // combining marks take no column
        width += IsWide(cp) ? 2 : 1;
    }
    return width;
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
