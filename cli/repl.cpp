// qorcalc repl: formulas and commands typed at a terminal, with line
// editing and history.
#include "tool.h"

#include <editline/readline.h>

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <memory>

namespace qorcalc::tool {
namespace {

std::string Trim(std::string_view text) {
    const size_t first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos) return {};
    const size_t last = text.find_last_not_of(" \t");
    return std::string(text.substr(first, last - first + 1));
}

// The first `characters` characters of `text`.
std::string_view Prefix(std::string_view text, int characters) {
    size_t at = 0;
    for (int n = 0; at < text.size(); ++at) {
        if ((static_cast<unsigned char>(text[at]) & 0xC0) == 0x80) continue;
        if (n++ == characters) break;
    }
    return text.substr(0, at);
}

// The formula with a caret under the character where it failed.
void ShowError(const std::string& formula, const host::Error& error) {
    if (error.position >= 0) {
        std::printf("  %s\n  %s^\n", formula.c_str(),
                    std::string(static_cast<size_t>(DisplayWidth(Prefix(formula, error.position))), ' ').c_str());
    }
    std::printf("%s\n", ErrorLine(error).c_str());
}

class Session {
public:
    explicit Session(Language language) : m_language(language), m_calculator(host::Options{language, 0, {}, nullptr}) {}

    // False when the session should end.
    bool Handle(const std::string& line) {
        const std::string input = Trim(line);
        if (input.empty()) return true;
        if (input[0] != ':') {
            Evaluate(input);
            return true;
        }
        const size_t space = input.find(' ');
        const std::string command = input.substr(0, space);
        const std::string rest = space == std::string::npos ? "" : Trim(input.substr(space));
        if (command == ":quit" || command == ":q" || command == ":exit") return false;
        if (command == ":help") std::printf("%s", Say(kMsgReplHelp, m_language).c_str());
        else if (command == ":set") Set(rest);
        else if (command == ":vars") Vars();
        else if (command == ":tree") Tree(rest);
        else if (command == ":funcs") RunFuncs(rest, m_language);
        else if (command == ":lang") Lang(rest);
        else std::printf("%s\n", Say(kMsgUnknownCommand, m_language, {command}).c_str());
        return true;
    }

private:
    void Evaluate(const std::string& formula) {
        const host::Result result = m_calculator.Evaluate(formula, m_bindings);
        if (result.ok) std::printf("%s\n", result.value.text.c_str());
        else ShowError(formula, result.error);
    }
    void Set(const std::string& rest) {
        const size_t eq = rest.find('=');
        const std::string name = eq == std::string::npos ? "" : Trim(rest.substr(0, eq));
        if (name.empty()) {
            std::printf("%s\n", Say(kMsgBadSet, m_language).c_str());
            return;
        }
        m_bindings.SetFormula(name, Trim(rest.substr(eq + 1)));
    }
    void Vars() {
        if (m_bindings.size() == 0) std::printf("%s\n", Say(kMsgNoVars, m_language).c_str());
        for (int slot = 0; slot < m_bindings.size(); ++slot)
            std::printf("%s = %s\n", m_bindings.Name(slot).c_str(), m_bindings.TextOf(slot).c_str());
    }
    void Tree(const std::string& formula) {
        const host::Formula compiled = m_calculator.Compile(formula);
        if (!compiled.ok()) return ShowError(formula, compiled.error());
        std::printf("%s%s\n", compiled.TreeText().c_str(), compiled.Written().c_str());
    }
    void Lang(const std::string& rest) {
        if (!rest.empty() && !ParseLanguage(rest, m_language)) {
            std::printf("%s\n", Say(kMsgBadLanguage, m_language, {rest}).c_str());
            return;
        }
        m_calculator.SetLanguage(m_language);
        std::printf("%s\n", Say(kMsgLanguage, m_language, {LanguageName(m_language)}).c_str());
    }

    Language m_language;
    host::Calculator m_calculator;
    host::Bindings m_bindings;
};

}  // namespace

int RunRepl(Language language) {
    // The line editor needs the terminal's character set to edit UTF-8.
    std::setlocale(LC_CTYPE, "");
    const char* home = std::getenv("HOME");
    const std::string history = home ? std::string(home) + "/.qorcalc_history" : "";
    using_history();
    if (!history.empty()) read_history(history.c_str());
    Session session(language);
    for (;;) {
        std::unique_ptr<char, decltype(&std::free)> line(readline("qorcalc> "), &std::free);
        if (!line) break;
        if (*line.get()) add_history(line.get());
        std::fflush(stdout);
        const bool more = session.Handle(line.get());
        std::fflush(stdout);
        if (!more) break;
    }
    if (!history.empty()) write_history(history.c_str());
    return 0;
}

}  // namespace qorcalc::tool
