// Formula text of any shape compiles or fails cleanly: no crash, no hang,
// no unbounded stack, and the nesting limit reported with its position.
#include <qorcalc/qorcalc.h>

#include <gtest/gtest.h>

#include <string>

#include "calc_host.h"
#include "test_provider.h"

namespace {

using calctest::Outcome;
using calctest::TestHost;

std::string Nested(int depth, const std::string& inner) {
    return std::string(static_cast<size_t>(depth), '(') + inner + std::string(static_cast<size_t>(depth), ')');
}

TEST(CalculatorLimits, NestingUpToTheLimitWorksAndBeyondFailsAtTheBracket) {
    TestProvider provider;
    TestHost host;
    EXPECT_EQ(host.Run(Nested(500, "1")).value, "1");
    EXPECT_EQ(host.Run(Nested(CALC_MAX_NESTING, "7")).value, "7");

    for (int depth : {CALC_MAX_NESTING + 1, 100000}) {
        const Outcome o = host.Run(Nested(depth, "1"));
        EXPECT_EQ(o.code, CALC_ERROR);
        EXPECT_EQ(o.errorPos, CALC_MAX_NESTING);  // the first bracket past the limit
        EXPECT_EQ(o.errorText.substr(0, 6), "E1070:");
    }
    std::string calls;
    for (int i = 0; i < 2000; ++i) calls += "abs(";
    calls += "1" + std::string(2000, ')');
    const Outcome o = host.Run(calls);
    EXPECT_EQ(o.errorPos, 4 * CALC_MAX_NESTING);
}

TEST(CalculatorLimits, UnbalancedTextFailsCleanly) {
    TestProvider provider;
    TestHost host;
    for (const char* formula : {"(((", ")))", "f(", "f(,", "f(1,", "'abc", "\"abc", "'a'b'", "(a'", "',", "((1)",
                                "!", "&&", "||", "not", "(not)", "a(b)(c)", ",", "()()", "-", "--1", "1--1"}) {
        const Outcome o = host.Run(formula);
        EXPECT_TRUE(o.code == CALC_ERROR || o.code == CALC_DONE) << formula;
    }
    EXPECT_EQ(host.Run("'abc").value, "\"'abc\"");  // an unclosed quote runs to the end
}

TEST(CalculatorLimits, LongFormulasWithinTheLimitCalculate) {
    TestProvider provider;
    TestHost host;
    const std::string text(1024 * 1024, 'x');
    EXPECT_EQ(host.Run("abs('" + text + "')").value, "'" + text + "'");

    std::string chain = "1";
    for (int i = 1; i < 100000; ++i) chain += "+1";
    EXPECT_EQ(host.Run(chain).value, "100000");
}

TEST(CalculatorLimits, NulAndLoneSurrogates) {
    TestProvider provider;
    TestHost host;
    ICalc& calc = host.Calc();
    const char16_t withNul[] = u"1+2\0+3";
    int pos = 0;
    std::unique_ptr<CCalcNode> root(calc.Compile(withNul, &pos));
    ASSERT_TRUE(root);  // the text ends at the NUL
    Outcome o;
    EXPECT_EQ(host.Drive(o, root.get()).value, "3");

    const char16_t quoted[] = {u'\'', 0xD800, u'\'', u'+', u'\'', 0xDC00, u'x', u'\'', 0};
    root.reset(calc.Compile(quoted, &pos));
    ASSERT_TRUE(root);
    EXPECT_EQ(host.Drive(o, root.get()).code, CALC_DONE);

    const char16_t name[] = {u'a', 0xDFFF, 0};
    root.reset(calc.Compile(name, &pos));
    ASSERT_TRUE(root);
    CString out;
    CCalcNode* pending = nullptr;
    EXPECT_EQ(calc.Calculate(root.get(), out, pending, 0, 0), CALC_NEED_NAME);
    EXPECT_EQ(out.GetLength(), 2);
}

TEST(CalculatorLimits, NullArgumentsAreRefused) {
    TestProvider provider;
    std::unique_ptr<ICalc> calc(NewCalc(nullptr, nullptr));
    std::unique_ptr<CCalcNode> root(calc->Compile(nullptr, nullptr));
    ASSERT_TRUE(root);  // the empty formula
    CString out;
    CCalcNode* pending = nullptr;
    EXPECT_EQ(calc->Calculate(nullptr, out, pending, 0, 0), CALC_ERROR);
    EXPECT_EQ(calc->SetTermValue(root.get(), nullptr, CString(u"1")), 0);
}

}  // namespace
