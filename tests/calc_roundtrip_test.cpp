// The written form of a compiled formula compiles again to a tree that
// calculates to the same value, over a corpus that uses every operator and
// every built-in.
#include <qorcalc/qorcalc.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "calc_host.h"
#include "test_provider.h"

namespace {

using calctest::Outcome;
using calctest::TestHost;

const char* const kBases[] = {
    // operators, precedence, signs and logic
    "1+2*3-4/5", "-2*3", "-(a+b)", "a-(-b)", "(a-b)*(-c)", "10/4/5", "a*b+c/2-x", "5/0", "0/0",
    "1<2", "a>b", "a<=b", "a>=b", "a=b", "a<>b", "a!=b", "a==b", "1<-1", "a>1 and b>1", "a>1 or b>9",
    "a>1 && b>9", "a<1 || b<9", "not(a>b)", "!(a<b)", "! 0 && 1", "0 || 1 && 0", "'x'+'y'", "'3'-'1'",
    "s+a", "s='abc'", "'a'<'b'", "20000.25+0.5", "99999999999999+1", "\"it's\"+s",
    // logic and mathematics
    "if(a>1, 'big', 'small')", "abs(-a)", "average(a, b, c)", "ceil(2.1)", "exp(1)", "floor(-2.5)",
    "int(-2.3)", "log(10)", "log10(1000)", "max(a, b, b)", "min(c, a, a)", "mod(-6, 3)", "percent(0.125, 2)",
    "pow(2, 10)", "rand()>=0", "round(2.345, 2)", "sqrt(16)", "sum(a, b, c)", "sumdim('10x20', '3x4')",
    "js('1')", "SUM(1, 2)",
    // text
    "len(s)", "left(s, 2)", "right(s, 2)", "mid(s, 1, 1)", "indexOf('Hello', 'L')", "compare('a', 'b')",
    "endWith('report.xls', 'XLS')", "replace('abcdef', 1, 4, 'XY')", "replaceAll('a-b-c', '-', '+')",
    "toLowerCase('MiXeD')", "toUpperCase(s)", "trim('  t  ')", "trimLeft('  t')", "trimRight('t  ')",
    "encodeURI('a b')", "encodeURIComponent('a/b')", "RMB(1234.5)", "formatNum(1234567.891, '#,##0.00')",
    "formatDate('2014-03-05', 'YYYY年M月D日')", "chineseNum(2014.5)", "englishNum(1234)",
    "chineseDate('2014-01-05')", "chineseBankDate('2014-10-20')",
    // dates
    "getYear(d)", "getMonth(d)", "getDay(d)", "getHour(d)", "getMinute(d)", "len(now())>0",
    "dateAddDays(d, 1)", "dateAddHours(d, 25)", "dateAddMinutes(d, 61)", "dateAddMonths(d, 3)",
    "dateAddYears(d, 1)", "dateDifDays(d, '2014-03-01')", "dateDifHours(d, '2014-03-06')",
    "dateDifMinutes(d, '2014-03-06')", "dateDifMonths('2013-12-31', d)", "dateDifYears('2013-12-31', d)",
    "compareDate(d, d)", "firstDateOfMonth(d)", "firstDateOfSeason(d)", "firstDateOfYear(d)",
    "lastDateOfMonth(d)", "lastDateOfSeason(d)", "lastDateOfYear(d)",
};

const char* const kWrappers[] = {"%", "(%)", "if(x>3, %, 'no')"};

std::vector<std::string> Corpus() {
    std::vector<std::string> corpus;
    for (const char* wrapper : kWrappers) {
        const std::string w = wrapper;
        for (const char* base : kBases) corpus.push_back(w.substr(0, w.find('%')) + base + w.substr(w.find('%') + 1));
    }
    return corpus;
}

// Answers every script with its own text, so js() is deterministic.
class EchoScripts : public IScriptHost {
public:
    EchoScripts() { RegisterScriptHost(this); }
    ~EchoScripts() override { UnregisterScriptHost(this); }
    int RunScript(const CString& script, CStringArray&, CString& result) override {
        result = script;
        return 1;
    }
};

Outcome RunOnce(const std::string& formula, std::string* written) {
    static EchoScripts scripts;
    TestHost host(nullptr, static_cast<IScriptHost*>(&scripts));
    host.names = {{"a", "2"}, {"b", "3"}, {"c", "4"}, {"x", "5"}, {"s", "'abc'"}, {"d", "'2014-03-05 10:20:30'"}};
    int pos = -1;
    std::unique_ptr<CCalcNode> root(host.Calc().Compile(CString::FromUtf8(formula), &pos));
    Outcome o;
    if (!root) return o;
    if (written) {
        CString text;
        root->GetFormula(text);
        *written = text.ToUtf8();
    }
    return host.Drive(o, root.get());
}

TEST(CalculatorRoundTrip, WrittenFormulasCalculateTheSame) {
    TestProvider provider;
    const std::vector<std::string> corpus = Corpus();
    ASSERT_GE(corpus.size(), 200u);
    for (const std::string& formula : corpus) {
        std::string written;
        const Outcome first = RunOnce(formula, &written);
        ASSERT_FALSE(written.empty()) << formula << " did not compile: " << first.errorText;
        std::string rewritten;
        const Outcome second = RunOnce(written, &rewritten);
        EXPECT_EQ(second.code, first.code) << formula << " -> " << written;
        EXPECT_EQ(first.code, CALC_DONE) << formula << ": " << first.errorText;
        const bool repeatable = formula.find("now()") == std::string::npos && formula.find("rand()") == std::string::npos;
        if (repeatable) {
            EXPECT_EQ(second.value, first.value) << formula << " -> " << written;
        }
        EXPECT_EQ(rewritten, written) << formula;  // writing is stable
    }
}

}  // namespace
