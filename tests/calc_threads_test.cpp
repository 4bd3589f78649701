// Calculators on several threads at once, sharing the process-wide catalogue
// of built-ins and the module state, must give exactly what one thread gives:
// the same values, result codes, error codes and texts, and the same
// questions to the host in the same order.  CI runs this under
// ThreadSanitizer (make tsan), which also catches races that happen to give
// the right answers.
#include <qorcalc/qorcalc.h>

#include <gtest/gtest.h>

#include <latch>
#include <string>
#include <thread>
#include <vector>

#include "calc_host.h"

namespace {

using calctest::Outcome;
using calctest::TestHost;

// The provider is shared by every thread, so it must not change as it
// answers (the tests' usual provider caches its texts).
class FixedProvider : public ILggInterface {
public:
    const char16_t* GetText(uint32_t) override { return u"failed: %s"; }
    void Translate(CString& text) override { text.Insert(0, u"T:"); }
};

// Every family of built-in, host names and host functions, and failures;
// nothing that depends on the clock or the random generator.
const char* const kFormulas[] = {
    "1+2*3-4/5",
    "(1.5+2.25)*(3-4.5)/7",
    "a*b+c/2-sqrt(x)",
    "sum(a,b,c)/average(1,2,3)+max(a,9)-min(b,-1)",
    "round(pow(2, 0.5), 4) + mod(17, 5) + abs(-3) + int(2.7) + ceil(1.1) + floor(-1.1)",
    "exp(1) + log(10) + log10(1000) + percent(3, 4)",
    "if(a>b, 'big', 'small') + toUpperCase(s) + toLowerCase('MiXeD')",
    "left(s, 2) + right('abcdef', 3) + mid('abcdef', 1, 2) + len('héllo')",
    "replace('a-b-c', '-', '+') + replaceAll('a-b-c', '-', '') + trim('  x  ')",
    "indexOf('hello', 'l') + compare('a', 'b') + endWith('report.csv', '.csv')",
    "formatDate('2014-03-05 09:07:02', 'Month D, YYYY HH:mm:ss day.')",
    "formatDate(dateAddMonths('2014-01-31', 1), 'YYYY-MM-DD')",
    "dateDifDays('2014-01-01', '2014-03-05') + dateDifHours('2014-03-05', '2014-03-06')",
    "getYear('2014-03-05') + getMonth('2014-03-05') + getDay('2014-03-05')",
    "firstDateOfSeason('2014-05-20') + lastDateOfMonth('2014-02-10')",
    "chineseDate('2014-10-20') + chineseBankDate('2014-10-20') + chineseNum('2014.5')",
    "RMB(1234.56) + englishNum(42) + formatNum(1234567.891, '#,##0.00')",
    "encodeURI('a b/ü') + encodeURIComponent('a&b=c')",
    "sumdim('1,2;3,4', 2)",
    "foo(a, 'x') + bar(1)",
    "f1 * 2",
    "1 || 0 && 0",
    "'abc' + 1 - ",
    "sqrt(",
    "left()",
    "unknownName + 1",
};

constexpr int kThreads = 4;
constexpr int kRounds = 3;

struct Result {
    Outcome outcome;
    std::vector<std::string> asked;
};

std::vector<Result> CalculateAll() {
    std::vector<Result> results;
    for (const char* formula : kFormulas) {
        TestHost host;
        host.names = {{"a", "2"}, {"b", "3"}, {"c", "4"}, {"x", "5"}, {"s", "'abc'"}, {"f1", "b+1"}};
        host.functions["foo"] = [](const std::vector<std::string>& args) {
            return "'" + std::to_string(args.size()) + (args.empty() ? "" : args.front()) + "'";
        };
        const Outcome o = host.Run(formula);
        results.push_back({o, host.asked});
    }
    return results;
}

void ExpectSame(const std::vector<Result>& got, const std::vector<Result>& want, int thread) {
    ASSERT_EQ(got.size(), want.size());
    for (size_t i = 0; i < want.size(); ++i) {
        SCOPED_TRACE(std::string(kFormulas[i]) + " on thread " + std::to_string(thread));
        EXPECT_EQ(got[i].outcome.code, want[i].outcome.code);
        EXPECT_EQ(got[i].outcome.value, want[i].outcome.value);
        EXPECT_EQ(got[i].outcome.errorCode, want[i].outcome.errorCode);
        EXPECT_EQ(got[i].outcome.errorPos, want[i].outcome.errorPos);
        EXPECT_EQ(got[i].outcome.errorText, want[i].outcome.errorText);
        EXPECT_EQ(got[i].asked, want[i].asked);
    }
}

TEST(CalcThreads, FourThreadsGiveTheSingleThreadResults) {
    FixedProvider provider;
    SetLggInterface(&provider);
    // The threads start together, before anything has built the catalogue
    // when this test runs alone, so that they also race to build it.
    std::vector<std::vector<Result>> perThread(kThreads * kRounds);
    std::latch start(kThreads);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            start.arrive_and_wait();
            for (int round = 0; round < kRounds; ++round)
                perThread[static_cast<size_t>(t * kRounds + round)] = CalculateAll();
        });
    }
    for (auto& th : threads) th.join();

    const std::vector<Result> once = CalculateAll();
    SetLggInterface(nullptr);
    // The table must exercise both outcomes, or the comparison proves little.
    int done = 0, failed = 0;
    for (const Result& r : once) (r.outcome.code == CALC_DONE ? done : failed) += 1;
    EXPECT_GT(done, 15);
    EXPECT_GT(failed, 2);
    for (size_t i = 0; i < perThread.size(); ++i) ExpectSame(perThread[i], once, static_cast<int>(i) / kRounds);
}

}  // namespace
