// docs/functions.md is the report author's reference of the built-ins.  Its
// examples are lines of the form
//
//   - `formula` → `result`            the result text exactly (texts quoted)
//   - `formula` → fails (1072)        the calculation fails with that message id
//   - `formula` → like `'2014.03.05'` any digit may differ, nothing else
//   - `formula` → a whole number from `0` to `99`
//
// and the names they use are declared as "- `name` answers `value`".  Every
// example is calculated here through the public interface, so the page cannot
// drift from the engine; and every built-in of the catalogue must have its
// section, under its category, with a usage line and two examples at least.
#include <qorcalc/qorcalc.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <clocale>
#include <fstream>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "calc_host.h"
#include "test_provider.h"

namespace {

const std::string kArrow = "` \xE2\x86\x92 ";  // "` → "

struct Example {
    int line = 0;
    std::string section;  // the function whose section holds it, or empty
    std::string formula;
    std::string expected;  // the text after the arrow, as written
};

struct Section {
    std::string category;  // the "## " heading above it
    bool hasUsage = false;
    int examples = 0;
};

struct Page {
    std::map<std::string, std::string> names;
    std::vector<Example> examples;
    std::map<std::string, Section> sections;
    std::vector<std::string> malformed;
};

std::string Trim(const std::string& s) {
    const size_t b = s.find_first_not_of(' ');
    const size_t e = s.find_last_not_of(' ');
    return b == std::string::npos ? std::string() : s.substr(b, e - b + 1);
}

// The text between the first pair of backticks from `from`, or npos.
bool CodeSpan(const std::string& s, size_t from, std::string& out, size_t& end) {
    const size_t open = s.find('`', from);
    if (open == std::string::npos) return false;
    const size_t close = s.find('`', open + 1);
    if (close == std::string::npos) return false;
    out = s.substr(open + 1, close - open - 1);
    end = close + 1;
    return true;
}

Page ReadPage(const std::string& path) {
    Page page;
    std::ifstream in(path);
    std::string category, section;
    int number = 0;
    for (std::string line; std::getline(in, line);) {
        ++number;
        if (line.rfind("## ", 0) == 0) {
            category = Trim(line.substr(3));
            section.clear();
        } else if (line.rfind("### ", 0) == 0) {
            section = Trim(line.substr(4));
            page.sections[section].category = category;
        } else if (line.rfind("Usage: `", 0) == 0 && !section.empty()) {
            page.sections[section].hasUsage = line.find("`" + section + "(") == 7;
        } else if (line.rfind("- `", 0) == 0 && line.find(kArrow) != std::string::npos) {
            const size_t arrow = line.find(kArrow);
            Example e{number, section, line.substr(3, arrow - 3), Trim(line.substr(arrow + kArrow.size()))};
            if (e.formula.empty() || e.expected.empty()) {
                page.malformed.push_back(std::to_string(number) + ": " + line);
                continue;
            }
            page.examples.push_back(e);
            if (!section.empty()) ++page.sections[section].examples;
        } else if (line.rfind("- `", 0) == 0 && line.find("` answers `") != std::string::npos) {
            std::string name, value;
            size_t end = 0;
            if (CodeSpan(line, 0, name, end) && CodeSpan(line, end + 8, value, end))
                page.names[name] = value;
            else
                page.malformed.push_back(std::to_string(number) + ": " + line);
        }
    }
    return page;
}

std::string PagePath() { return std::string(QORCALC_SOURCE_DIR) + "/docs/functions.md"; }

// The message id of a failure: the test provider writes it at the front of
// every text ("E1072:...").
std::string FailureId(const std::string& errorText) {
    if (errorText.rfind('E', 0) != 0) return "?";
    const size_t colon = errorText.find(':');
    return colon == std::string::npos ? "?" : errorText.substr(1, colon - 1);
}

bool SameShape(const std::string& sample, const std::string& actual) {
    if (sample.size() != actual.size()) return false;
    for (size_t i = 0; i < sample.size(); ++i) {
        const bool digits = std::isdigit(static_cast<unsigned char>(sample[i])) &&
                            std::isdigit(static_cast<unsigned char>(actual[i]));
        if (!digits && sample[i] != actual[i]) return false;
    }
    return true;
}

bool WholeNumberIn(const std::string& actual, long low, long high) {
    if (actual.empty() || !std::all_of(actual.begin(), actual.end(), ::isdigit)) return false;
    const long n = std::stol(actual);
    return n >= low && n <= high;
}

// What happened, written the way the page writes an expectation.
std::string Describe(const calctest::Outcome& o) {
    return o.code == CALC_DONE ? "`" + o.value + "`" : "fails (" + FailureId(o.errorText) + ")";
}

// Empty when the outcome meets the expectation, else what went wrong.
std::string Check(const std::string& expected, const calctest::Outcome& o) {
    std::string sample, low, high;
    size_t end = 0;
    const bool done = o.code == CALC_DONE;
    if (expected.rfind("fails (", 0) == 0)
        return !done && expected == "fails (" + FailureId(o.errorText) + ")" ? "" : "a different outcome";
    if (expected.rfind("like `", 0) == 0 && CodeSpan(expected, 0, sample, end))
        return done && SameShape(sample, o.value) ? "" : "not of that shape";
    if (expected.rfind("a whole number from `", 0) == 0 && CodeSpan(expected, 0, low, end) &&
        CodeSpan(expected, end, high, end))
        return done && WholeNumberIn(o.value, std::stol(low), std::stol(high)) ? "" : "out of range";
    if (expected.size() >= 2 && expected.front() == '`' && expected.back() == '`')
        return done && "`" + o.value + "`" == expected ? "" : "a different result";
    return "an expectation the page reader does not know";
}

// Texts compare by the C library's collation; the page shows the "C" locale.
class FunctionsPage : public ::testing::Test {
protected:
    void SetUp() override {
        m_savedLocale = std::setlocale(LC_ALL, nullptr);
        std::setlocale(LC_ALL, "C");
        m_page = ReadPage(PagePath());
    }
    void TearDown() override { std::setlocale(LC_ALL, m_savedLocale.c_str()); }

    std::string m_savedLocale;
    Page m_page;
    TestProvider m_provider;
};

TEST_F(FunctionsPage, EveryExampleGivesTheResultThePageShows) {
    ASSERT_FALSE(m_page.examples.empty()) << "no examples found in " << PagePath();
    for (const std::string& bad : m_page.malformed) ADD_FAILURE() << "unreadable line " << bad;
    for (const Example& e : m_page.examples) {
        calctest::TestHost host;
        host.names = m_page.names;
        const calctest::Outcome o = host.Run(e.formula);
        std::string problem = Check(e.expected, o);
        for (const std::string& asked : host.asked)
            if (!m_page.names.count(asked)) problem = "it asked the host for `" + asked + "`, which the page does not declare";
        EXPECT_TRUE(problem.empty()) << "docs/functions.md:" << e.line << ": `" << e.formula << "`\n"
                                     << "  expected: " << e.expected << "\n"
                                     << "  actual:   " << Describe(o) << " (" << problem << ")";
    }
}

TEST_F(FunctionsPage, EveryBuiltInHasItsSectionUsageAndExamples) {
    const std::map<int, std::string> headings = {{1006, "Logic"}, {1007, "Mathematics"}, {1008, "Text"}, {1009, "Date"}};
    std::unique_ptr<CFuncMnger> mnger(CFuncMnger::NewFuncMnger());
    std::set<std::string> builtins;
    CPtrArray items;
    for (int category = 0; mnger->GetFuncsOfCategory(category, items); ++category) {}
    for (int i = 0; i < items.GetSize(); ++i) {
        std::unique_ptr<CFuncItem> item(static_cast<CFuncItem*>(items[i]));
        const std::string name = item->m_strName.ToUtf8();
        builtins.insert(name);
        const auto section = m_page.sections.find(name);
        if (section == m_page.sections.end()) {
            ADD_FAILURE() << "no section \"### " << name << "\"";
            continue;
        }
        EXPECT_EQ(section->second.category, headings.at(item->m_nCategoryId)) << name;
        EXPECT_TRUE(section->second.hasUsage) << name << ": no line \"Usage: `" << name << "(...)`\"";
        EXPECT_GE(section->second.examples, 2) << name;
    }
    EXPECT_EQ(builtins.size(), 66u);
    for (const auto& [name, section] : m_page.sections)
        EXPECT_TRUE(builtins.count(name)) << "a section for \"" << name << "\", which is no built-in";
}

}  // namespace
