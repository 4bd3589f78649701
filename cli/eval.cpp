// qorcalc eval: each formula on a fresh compile, names answered from --var.
#include "tool.h"

#include <cstdio>

namespace qorcalc::tool {
namespace {

std::string JsonLine(const std::string& formula, const host::Result& result) {
    std::string line = "{\"formula\": " + Json(formula);
    if (result.ok) {
        line += ", \"ok\": true, \"value\": " + Json(result.value.text) + ", \"kind\": ";
        line += result.value.kind == host::Kind::Number ? "\"number\"}" : "\"text\"}";
    } else {
        line += ", \"ok\": false, \"error\": {\"id\": " + std::to_string(result.error.id) +
                ", \"position\": " + std::to_string(result.error.position) + ", \"message\": " +
                Json(result.error.message) + "}}";
    }
    return line;
}

// A formula echoed in JSON must itself be valid UTF-8.
std::string Printable(const std::string& text) {
    if (host::IsValidUtf8(text)) return text;
    std::string out;
    for (unsigned char c : text) out += c < 0x80 ? static_cast<char>(c) : '?';
    return out;
}

}  // namespace

int RunEval(const EvalArgs& args, Language language) {
    host::Bindings bindings;
    for (const std::string& var : args.vars) {
        const size_t eq = var.find('=');
        if (eq == std::string::npos || eq == 0) {
            std::fprintf(stderr, "qorcalc: %s\n", Say(kMsgUsageError, language, {Say(kMsgBadVar, language, {var})}).c_str());
            return 2;
        }
        // As written: the engine decides whether it is a text, a number or a formula.
        bindings.SetFormula(var.substr(0, eq), var.substr(eq + 1));
    }
    host::Options options;
    options.language = language;
    options.format = static_cast<uint8_t>(args.format);
    host::Calculator calculator(options);
    int status = 0;
    for (const std::string& formula : args.formulas) {
        const host::Result result = calculator.Evaluate(formula, bindings);
        if (!result.ok) status = 1;
        if (args.json) {
            std::printf("%s\n", JsonLine(Printable(formula), result).c_str());
        } else if (result.ok) {
            std::printf("%s\n", result.value.text.c_str());
        } else {
            std::fprintf(stderr, "qorcalc: %s: %s\n", Printable(formula).c_str(), ErrorLine(result.error).c_str());
        }
    }
    return status;
}

}  // namespace qorcalc::tool
