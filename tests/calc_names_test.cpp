// Names answered while Calculate runs (ICalcNames) against the same names
// answered by the host after Calculate returns: the same result, the same
// failure with the same text, and the same questions in the same order,
// whichever names the source declines.
#include <qorcalc/qorcalc.h>

#include <gtest/gtest.h>

#include <map>
#include <string>

#include "calc_host.h"
#include "test_provider.h"

namespace {

using calctest::Outcome;
using calctest::TestHost;

struct Session {
    Outcome outcome;
    std::vector<std::string> asked;
    int answeredInside = 0;
};

Session Calculate(const std::string& formula, const std::map<std::string, std::string>& names, bool inside,
                  bool declineAll = false) {
    TestHost host;
    host.names = names;
    host.answerInside = inside;
    if (declineAll) host.leftToHost = [](const std::string&) { return true; };
    Session run;
    run.outcome = host.Run(formula);
    run.asked = host.asked;
    run.answeredInside = host.answeredInside;
    return run;
}

void ExpectSame(const Session& inside, const Session& outside, const std::string& label) {
    EXPECT_EQ(inside.outcome.code, outside.outcome.code) << label;
    EXPECT_EQ(inside.outcome.value, outside.outcome.value) << label;
    EXPECT_EQ(inside.outcome.errorCode, outside.outcome.errorCode) << label;
    EXPECT_EQ(inside.outcome.errorText, outside.outcome.errorText) << label;
    EXPECT_EQ(inside.asked, outside.asked) << label;
}

struct Case {
    const char* formula;
    std::map<std::string, std::string> names;
    const char* value;  // the outcome both ways ("" for a failure)
    int inside;         // names answered inside Calculate
};

// Each case once with every name answered inside, once with none (each
// declined) and once as a host that never installs the names at all.
void CheckCases(const Case* begin, const Case* end) {
    for (const Case* c = begin; c != end; ++c) {
        const Session outside = Calculate(c->formula, c->names, false);
        const Session inside = Calculate(c->formula, c->names, true);
        const Session declined = Calculate(c->formula, c->names, true, true);
        ExpectSame(inside, outside, c->formula);
        ExpectSame(declined, outside, std::string(c->formula) + " (declined)");
        EXPECT_EQ(outside.outcome.value, c->value) << c->formula;
        EXPECT_EQ(inside.answeredInside, c->inside) << c->formula;
        EXPECT_EQ(declined.answeredInside, 0) << c->formula;
    }
}

TEST(NamesAnsweredInside, SameResultsFailuresAndQuestions) {
    TestProvider provider;
    const Case cases[] = {
        {"a+b*2", {{"a", "3"}, {"b", "4"}}, "11", 2},
        {"left(t, 2) + u", {{"t", "'hello'"}, {"u", "'!'"}}, "'he!'", 2},
        // numbers as hosts write them: grouped, padded, signed
        {"a+1", {{"a", "1,234"}}, "1235", 1},
        {"a*2", {{"a", " 12 "}}, "24", 1},
        {"a", {{"a", "-0.50"}}, "-0.5", 1},
        // an empty answer, and texts marked by either quote
        {"len(a)", {{"a", ""}}, "0", 1},
        {"a + b", {{"a", "\"x\""}, {"b", "'y'"}}, "'xy'", 2},
        // a formula is converted in the name's place, its own names asked next
        {"a*2", {{"a", "b+1"}, {"b", "4"}}, "6", 1},
        // a pruned branch is never asked for
        {"if(a>1, b, c)", {{"a", "2"}, {"b", "'yes'"}, {"c", "'no'"}}, "'yes'", 2},
        {"A + a", {{"A", "1"}, {"a", "2"}}, "3", 2},
        // failures: an unknown name's stand-in text, a formula that does not convert
        {"a+1", {}, "'?a1'", 1},
        {"a+1", {{"a", "1+"}}, "", 0},
    };
    CheckCases(std::begin(cases), std::end(cases));
}

// Types are checked as each answer arrives when the complex mode is off.
TEST(NamesAnsweredInside, MixedTypesFailTheSameWay) {
    TestProvider provider;
    CUtilityCalc::Calc_EnableComplex(0);
    const Case cases[] = {
        {"1+a", {{"a", "'x'"}}, "", 1},
        {"f(2, (1+a))", {{"a", "'x'"}}, "", 1},
        {"'y'+a", {{"a", "'x'"}}, "'yx'", 1},
    };
    CheckCases(std::begin(cases), std::end(cases));
    CUtilityCalc::Calc_EnableComplex(1);
}

// A text longer than a text may be is left to SetTermValue, which refuses it:
// the engine does not take it inside.
TEST(NamesAnsweredInside, ATooLongTextFailsAsAnAnswer) {
    TestProvider provider;
    const std::string huge = "'" + std::string(static_cast<size_t>(CALC_MAX_TEXT_LENGTH), 'x') + "'";
    const Session outside = Calculate("len(a)", {{"a", huge}}, false);
    const Session inside = Calculate("len(a)", {{"a", huge}}, true);
    ExpectSame(inside, outside, "len(a)");
    EXPECT_EQ(outside.outcome.code, CALC_ERROR);
    EXPECT_EQ(outside.outcome.errorCode, CALC_MSG_TEXT_TOO_LONG);
    EXPECT_EQ(inside.answeredInside, 0);
}

}  // namespace
