// What the qorcalc tool's commands share: their message ids, the language,
// text output helpers (JSON strings, display widths) and the commands'
// entry points.
#pragma once

#include <qorcalc/host.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qorcalc::tool {

using host::Language;

// The tool's own messages; their texts are with the host layer's.
enum ToolMessage : uint32_t {
    kMsgCannotOpen = 2100,
    kMsgEmptyCsv = 2101,
    kMsgRaggedRecord = 2102,
    kMsgCsvNotUtf8 = 2103,
    kMsgOpenQuote = 2104,
    kMsgNotAFormulaLine = 2105,
    kMsgColumnTwice = 2106,
    kMsgFormulaLineError = 2107,
    kMsgNoFormulas = 2108,
    kMsgSummary = 2109,
    kMsgSummaryColumn = 2110,
    kMsgUsageError = 2111,
    kMsgUsage = 2112,
    kMsgBadVar = 2113,
    kMsgBadJobs = 2114,
    kMsgUnknownCategory = 2115,
    kMsgReplHelp = 2116,
    kMsgUnknownCommand = 2117,
    kMsgBadSet = 2118,
    kMsgNoVars = 2119,
    kMsgLanguage = 2120,
    kMsgBadLanguage = 2121,
    kMsgBadFormat = 2122,
    kMsgPrefixed = 2123,
    kMsgTableShortened = 2124,
};

inline std::string Say(uint32_t id, Language language, const std::vector<std::string>& args = {}) {
    return host::HostText(id, language, args);
}

// `text` as a JSON string, quotes included, appended to `out`.
void AppendJson(std::string_view text, std::string& out);
std::string Json(std::string_view text);
// Columns `text` takes on a terminal (wide East Asian characters take two).
int DisplayWidth(std::string_view text);
// `text` cut to `columns` columns, its last one an ellipsis ("…"), when it
// is wider; whole characters only.
std::string FitWidth(std::string_view text, int columns);
// Columns of the terminal the output is read on: COLUMNS when it holds a
// positive number, else the width of standard output when that is a
// terminal; 0 when neither tells (output into a pipe or a file).
int TerminalColumns();
// An error as the tool prints it: "error ID: MESSAGE".
std::string ErrorLine(const host::Error& error);

// "en" or "zh"; false for anything else.
bool ParseLanguage(std::string_view name, Language& language);
const char* LanguageName(Language language);

// Commands; each returns the exit status.
struct EvalArgs {
    bool json = false;
    std::vector<std::string> vars;
    int format = 0;
    std::vector<std::string> formulas;
};
int RunEval(const EvalArgs& args, Language language);

enum class ReportFormat { Auto, Csv, Json, Table };
struct ReportArgs {
    std::string data;
    std::string formulas;
    ReportFormat format = ReportFormat::Auto;
    int jobs = 1;
};
int RunReport(const ReportArgs& args, Language language);

// Prints the function reference, all of it or one category (a number, an
// English keyword or a category name in either language).
int RunFuncs(const std::string& category, Language language);
int RunRepl(Language language);

}  // namespace qorcalc::tool
