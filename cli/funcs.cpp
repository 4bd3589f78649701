// qorcalc funcs: the function reference from the engine's catalogue.
#include "tool.h"

#include <cstdio>

namespace qorcalc::tool {
namespace {

std::string Lower(std::string_view text) {
    std::string out(text);
    for (char& c : out)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return out;
}

// The English keywords of the built-in categories, by category number.
constexpr const char* kKeywords[] = {"logic", "math", "text", "date"};

bool Matches(const host::Category& category, const std::string& wanted, Language language) {
    const std::string key = Lower(wanted);
    if (key == std::to_string(category.number) || key == Lower(category.name)) return true;
    if (category.number < 4 && (key == kKeywords[category.number] || (category.number == 1 && key == "mathematics")))
        return true;
    // The category's name in the other language counts too.
    const Language other = language == Language::English ? Language::Chinese : Language::English;
    for (const host::Category& c : host::FunctionCatalogue(other))
        if (c.number == category.number && Lower(c.name) == key) return true;
    return false;
}

void Print(const host::Category& category) {
    std::printf("# %s\n\n", category.name.c_str());
    for (const host::FunctionInfo& function : category.functions) {
        std::printf("%s\n", function.name.c_str());
        if (!function.description.empty()) std::printf("    %s\n", function.description.c_str());
        // A usage text is the argument list; the name goes before it.
        for (const std::string& usage : function.usage) std::printf("    %s%s\n", function.name.c_str(), usage.c_str());
        std::printf("\n");
    }
}

}  // namespace

int RunFuncs(const std::string& wanted, Language language) {
    const std::vector<host::Category> categories = host::FunctionCatalogue(language);
    bool found = false;
    for (const host::Category& category : categories) {
        if (!wanted.empty() && !Matches(category, wanted, language)) continue;
        Print(category);
        found = true;
    }
    if (found) return 0;
    std::string names;
    for (const host::Category& category : categories) {
        if (!names.empty()) names += ", ";
        names += category.number < 4 ? kKeywords[category.number] : std::to_string(category.number);
        names += " (" + category.name + ")";
    }
    std::fprintf(stderr, "qorcalc: %s\n", Say(kMsgUnknownCategory, language, {wanted, names}).c_str());
    return 1;
}

}  // namespace qorcalc::tool
