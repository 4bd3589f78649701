// qorcalc: the engine from the command line.  Dispatches the commands and
// turns bad command lines into a usage error (exit status 2).
#include "tool.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <cstdlib>
#include <thread>

using namespace qorcalc::tool;

namespace {

// The environment's language, read as the C library reads it.
Language LocaleLanguage() {
    for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const char* value = std::getenv(variable);
        if (value && *value) return qorcalc::messages::LanguageFromLocale(value);
    }
    return Language::English;
}

int UsageError(const std::string& detail, Language language) {
    std::fprintf(stderr, "qorcalc: %s\n\n%s", Say(kMsgUsageError, language, {detail}).c_str(),
                 Say(kMsgUsage, language).c_str());
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    Language language = LocaleLanguage();
    // --lang applies to the usage errors of the very line that gives it.
    for (int i = 1; i + 1 < argc; ++i)
        if (std::string(argv[i]) == "--lang") ParseLanguage(argv[i + 1], language);

    CLI::App app("qorcalc");
    app.set_help_flag();
    app.require_subcommand(1, 1);
    bool help = false;
    app.add_flag("-h,--help", help);
    std::string lang;
    auto addLang = [&](CLI::App* command) { command->add_option("--lang", lang); };

    EvalArgs eval;
    std::string format = "0";
    CLI::App* evalCommand = app.add_subcommand("eval");
    evalCommand->add_flag("--json", eval.json);
    evalCommand->add_option("--var", eval.vars)->allow_extra_args(false);
    evalCommand->add_option("--format", format);
    evalCommand->add_option("formulas", eval.formulas)->required();
    addLang(evalCommand);

    CLI::App* replCommand = app.add_subcommand("repl");
    addLang(replCommand);

    ReportArgs report;
    bool csv = false, json = false, table = false;
    CLI::App* reportCommand = app.add_subcommand("report");
    reportCommand->add_option("data", report.data)->required();
    reportCommand->add_option("formulas", report.formulas)->required();
    auto* csvFlag = reportCommand->add_flag("--csv", csv);
    auto* jsonFlag = reportCommand->add_flag("--json", json)->excludes(csvFlag);
    reportCommand->add_flag("--table", table)->excludes(csvFlag)->excludes(jsonFlag);
    std::string jobs = "1";
    reportCommand->add_option("--jobs", jobs);
    addLang(reportCommand);

    std::string category;
    CLI::App* funcsCommand = app.add_subcommand("funcs");
    funcsCommand->add_option("category", category);
    addLang(funcsCommand);

    if (argc == 2 && (std::string(argv[1]) == "-h" || std::string(argv[1]) == "--help")) {
        std::printf("%s", Say(kMsgUsage, language).c_str());
        return 0;
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return UsageError(error.what(), language);
    }
    if (help) {
        std::printf("%s", Say(kMsgUsage, language).c_str());
        return 0;
    }
    if (!lang.empty() && !ParseLanguage(lang, language))
        return UsageError(Say(kMsgBadLanguage, language, {lang}), language);

    if (evalCommand->parsed()) {
        char* end = nullptr;
        const long byte = std::strtol(format.c_str(), &end, 0);
        if (format.empty() || *end || byte < 0 || byte > 255) return UsageError(Say(kMsgBadFormat, language, {format}), language);
        eval.format = static_cast<int>(byte);
        return RunEval(eval, language);
    }
    if (replCommand->parsed()) return RunRepl(language);
    if (funcsCommand->parsed()) return RunFuncs(category, language);

    const long maxJobs = 256;
    char* end = nullptr;
    const long n = std::strtol(jobs.c_str(), &end, 10);
    if (jobs.empty() || *end || n < 1 || n > maxJobs)
        return UsageError(Say(kMsgBadJobs, language, {std::to_string(maxJobs)}), language);
    report.jobs = static_cast<int>(n);
    report.format = csv ? ReportFormat::Csv : json ? ReportFormat::Json : table ? ReportFormat::Table : ReportFormat::Auto;
    return RunReport(report, language);
}
