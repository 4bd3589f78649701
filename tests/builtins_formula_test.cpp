// The date and text built-ins inside formulas, compiled and calculated end
// to end: their results feed operators and other calls as values of the
// right kind.
#include <qorcalc/qorcalc.h>

#include <gtest/gtest.h>

#include "calc_host.h"
#include "test_provider.h"

namespace {

using calctest::Outcome;
using calctest::TestHost;

TEST(BuiltinFormulas, DatesAndTextsInFormulas) {
    TestProvider provider;
    struct Case {
        const char *formula, *value;
    } cases[] = {
        {"getMonth(d) * 10 + getDay(d)", "35"},
        {"dateDifMonths('2013-12-31', d) + dateDifYears('2013-12-31', d)", "4"},
        {"lastDateOfMonth(dateAddDays('2012-01-31', 10))", "'2012.02.29 23:59:39'"},
        {"getDay(lastDateOfSeason(d))", "31"},
        {"compareDate(dateAddHours(d, 25), '2014-03-06 01:00:00')", "0"},
        {"if(compareDate(d, '2014-03-06') < 0, 'before', 'after')", "'before'"},
        {"left(toUpperCase(s), len(s) - 1)", "'AB'"},
        {"endWith('report.xls', 'XLS') + 1", "2"},
        {"englishNum(sum(1000, 234))", "'one thousand two hundred and thirty four'"},
        {"chineseBankDate(formatDate('2014-10-20', 'YYYY-MM-DD'))", "'贰零壹肆年零壹拾月零贰拾日'"},
        {"formatDate(dateAddYears(d, 1), 'Month D, YYYY')", "'March 5, 2015'"},
        {"RMB(len(s) * 100)", "'叁佰元整'"},
    };
    for (const auto& c : cases) {
        TestHost host;
        host.names = {{"d", "'2014-03-05'"}, {"s", "'abc'"}};
        const Outcome o = host.Run(c.formula);
        EXPECT_EQ(o.code, CALC_DONE) << c.formula << " " << o.errorText;
        EXPECT_EQ(o.value, c.value) << c.formula;
    }
}

TEST(BuiltinFormulas, FailuresStopTheCalculation) {
    TestProvider provider;
    for (const char* formula : {"left('abc', -1)", "getYear('2014-13-01')", "RMB('12a')", "1 + len()"}) {
        TestHost host;
        const Outcome o = host.Run(formula);
        EXPECT_EQ(o.code, CALC_ERROR) << formula;
        EXPECT_EQ(o.errorCode, 1072) << formula;  // a function failed
    }
}

}  // namespace
