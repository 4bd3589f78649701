// The calculator end to end, driven the way a host drives it: compile,
// calculate, answer names and unknown functions, calculate again.
#include <qorcalc/qorcalc.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>

#include "calc/calculator.h"
#include "calc/converter.h"
#include "calc_host.h"
#include "test_provider.h"

namespace {

using calctest::Outcome;
using calctest::TestHost;

void AddNames(TestHost& host) {
    host.names = {{"a", "2"}, {"b", "3"}, {"c", "4"}, {"x", "5"}, {"y", "1"},
                  {"s", "'abc'"}, {"q", "\"it's\""}, {"e", ""}, {"f1", "b+1"}};
}

struct ValueCase {
    const char* formula;
    const char* value;
};

void ExpectValues(const std::vector<ValueCase>& cases, const std::map<std::string, std::string>& moreNames = {}) {
    TestProvider provider;
    for (const auto& c : cases) {
        TestHost host;
        AddNames(host);
        host.names.insert(moreNames.begin(), moreNames.end());
        const Outcome o = host.Run(c.formula);
        EXPECT_EQ(o.code, CALC_DONE) << c.formula << " " << o.errorText;
        EXPECT_EQ(o.value, c.value) << c.formula;
    }
}

TEST(Calculator, Arithmetic) {
    ExpectValues({
        {"1+2*3-4/5", "6.2"},         {"(1.5+2.25)*(3-4.5)/7", "-0.80357143"},
        {"2+3*4", "14"},              {"8/2/2", "2"},
        {"2-3-4", "-5"},              {"-2*3", "-6"},
        {"-(2+3)*2", "-10"},          {"2*(-3)", "-6"},
        {"20000.25+0.5", "20000.75"}, {"99999999999+1", "100000000000"},
        {"5/0", "∞"},                 {"0/0", "0"},
        {"5/0+1", "1"},               {"5/0=0", "1"},   // "∞" reads as the number 0
        {"a*b+c/2-sqrt(x)", "5.76393202"},
        {"min(a,b)+max(c,x,y)", "7"}, {"sum(a,b,c,x,y)/5", "3"},
        {"((((1))))", "1"},           {"", ""},
    });
}

TEST(Calculator, ComparisonsAndLogic) {
    ExpectValues({
        {"1<-1", "0"},            {"a<b", "1"},           {"a>=b", "0"},
        {"a!=b", "1"},            {"a==b", "0"},          {"a<>a", "0"},
        {"0 || 1 && 0", "0"},     {"1 || 0 && 0", "1"},   {"1||0&&0", "1"},
        {"! 0", "1"},             {"! 1 && 1", "0"},      {"not(a>b)", "1"},
        {"a>1 and b>1", "1"},     {"a>5 OR b>5", "0"},    {"if(x>3 && y<2, 1, 0)", "1"},
        {"1+1=2", "1"},           {"'abc'<'abd'", "1"},   {"s='abc'", "1"},
    });
}

// "and", "or" and "not" are operators in any case of their letters; a word
// that only begins like one, or has a letter beyond ASCII, is a name.
TEST(Calculator, OperatorWordsInAnyCase) {
    ExpectValues({{"1 AND 0", "0"}, {"0 Or 1", "1"}, {"nOt(2>3)", "1"}, {"1 aNd 1 oR 0", "1"},
                  {"an + ord", "5"}, {"andy * 2", "10"}, {"n\xC3\xB6t + 1", "5"}},
                 {{"an", "2"}, {"ord", "3"}, {"andy", "5"}, {"n\xC3\xB6t", "4"}});
}

TEST(Calculator, TextAndMixedValues) {
    ExpectValues({
        {"'abc'+1", "'abc1'"},     {"'3'-'1'", "2"},          {"'3'+'1'", "'31'"},
        {"s+'x'", "'abcx'"},       {"q", "\"it's\""},         {"e", "''"},
        {"5/0+'z'", "'∞'"},        {"'x'", "'x'"},            {"\"say 'hi'\"", "\"say 'hi'\""},
        {"abs('word')", "'word'"}, {"s+a", "'abc2'"},
    });
}

TEST(Calculator, BuiltInsThroughFormulas) {
    ExpectValues({
        {"mod(-6, 3)", "3"},      {"mod(7,3)", "1"},          {"int(-2.3)", "-3"},
        {"round(2.345, 2)", "2.35"}, {"percent(0.125, 1)", "'12.5%'"},
        {"if(0.5, 'a', 'b')", "'a'"}, {"if(0, 'a', 'b')", "'b'"},
        {"pow(-8, 2)", "64"},     {"max(2, 5, 5)", "5"},      {"SUM(1,2)", "3"},
        {"sum(sum(1,2),3)", "6"}, {"abs(-a)", "2"},
        {"sum(1,abs(-2)", "3"},   {"max(1,(a+5)", "7"},   // open outer call ending on ")"
    });
}

// A number answer keeps its text as numbers are written (trailing fraction
// zeros and a lone point dropped, "-0" made "0", leading zeros kept); one
// with grouping commas or more than 18 characters before the point is a text.
TEST(Calculator, NumberAnswersAreReadAsLiterals) {
    TestProvider provider;
    const struct {
        const char* answer;
        const char* value;
    } cases[] = {
        {"12.50", "12.5"},   {"-0", "0"},          {"0012", "0012"},   {"12.", "12"},
        {"-12.5", "-12.5"},  {"0.10", "0.1"},      {"007.5", "007.5"}, {"1,234", "'1,234'"},
        {"123456789012345678", "123456789012345678"},     {"1234567890123456789", "'1234567890123456789'"},
        {"-123456789012345678", "'-123456789012345678'"}, {"123456789012345678.5", "123456789012345678.5"},
    };
    for (const auto& c : cases) {
        TestHost host;
        host.names = {{"n", c.answer}};
        const Outcome o = host.Run("n");
        EXPECT_EQ(o.code, CALC_DONE) << c.answer << " " << o.errorText;
        EXPECT_EQ(o.value, c.value) << c.answer;
    }
}

TEST(Calculator, NamesAnsweredWithFormulasAreConvertedInPlace) {
    // The answer's text takes the name's place in the formula text: b+1 for
    // f1 makes f1*2 read as b+1*2.
    ExpectValues({{"f1", "4"}, {"f1*2", "5"}, {"(f1)*2", "8"}});
}

TEST(Calculator, IfNeverAsksForThePrunedBranch) {
    TestProvider provider;
    struct Case { const char* formula; const char* value; const char* never; } cases[] = {
        {"if(1, a, zz)", "2", "zz"},
        {"IF(0, zz, b)", "3", "zz"},
        {"if('t', zz, b)", "3", "zz"},  // a text condition is false
        {"if(a>1, b, if(zz, zz, zz))", "3", "zz"},
        {"if(a<1, if(zz, zz, zz), c)", "4", "zz"},
        {"If(1, a, zz)", "2", "zz"},    {"iF(0, zz, b)", "3", "zz"},
    };
    for (const auto& c : cases) {
        TestHost host;
        AddNames(host);
        const Outcome o = host.Run(c.formula);
        EXPECT_EQ(o.value, c.value) << c.formula;
        EXPECT_EQ(std::count(host.asked.begin(), host.asked.end(), c.never), 0) << c.formula;
    }
}

TEST(Calculator, UnknownFunctionsGoToTheHost) {
    TestProvider provider;
    TestHost host;
    AddNames(host);
    host.functions["foo"] = [](const std::vector<std::string>& args) {
        return std::to_string(args.size()) + "0";
    };
    const Outcome o = host.Run("foo(x, 'y', s)+1");
    EXPECT_EQ(o.value, "31");
    ASSERT_FALSE(host.asked.empty());
    EXPECT_EQ(host.asked.back(), "foo\r\n5\r\n'y'\r\n'abc'");

    int pos = 0;
    std::unique_ptr<CCalcNode> root(host.Calc().Compile(u"bar(x, y)", &pos));
    ASSERT_TRUE(root);
    CString out;
    CCalcNode* pending = nullptr;
    EXPECT_EQ(host.Calc().Calculate(root.get(), out, pending, 0, 0), CALC_NEED_NAME);
    EXPECT_EQ(out.ToUtf8(), "x");
}

int Twice(CFuncPara* para, int argc) {
    para->m_strResult = argc ? para->m_arrParas[0] + para->m_arrParas[0] : CString();
    return 1;
}

// A function of the host's own that the manager holds: restricted (flag 1)
// ones are refused when Calculate is asked to check, and one without an
// implementation goes to the host like an unknown one.
TEST(Calculator, HostItemsOfTheManager) {
    TestProvider provider;
    struct Case { uint32_t flags; PFN_CALCFUNC impl; int bCheck; int code; const char* out; } cases[] = {
        {1, Twice, 1, CALC_REFUSED, ""},         {1, Twice, 0, CALC_DONE, ""},
        {0, Twice, 1, CALC_DONE, ""},            {0, nullptr, 0, CALC_NEED_FUNCTION, "twice\r\n'ab'"},
    };
    for (const auto& c : cases) {
        CFuncMnger mnger;
        auto* item = new CFuncItem(u"twice", 0, -1, 1);
        item->m_nFlags = c.flags;
        item->m_pfnCall = c.impl;
        mnger.AddItem(item);
        mnger.m_bPermitRestricted = 0;
        std::unique_ptr<ICalc> calc(NewCalc(&mnger, nullptr));
        int pos = 0;
        std::unique_ptr<CCalcNode> root(calc->Compile(u"twice('ab')", &pos));
        ASSERT_TRUE(root);
        CString out;
        CCalcNode* pending = nullptr;
        EXPECT_EQ(calc->Calculate(root.get(), out, pending, c.bCheck, 0), c.code) << c.flags << c.bCheck;
        EXPECT_EQ(out.ToUtf8(), c.out);
        EXPECT_EQ(pending, c.code == CALC_DONE ? nullptr : root->GetAt(0));
        if (c.code == CALC_DONE) {
            root->GetText(out, 1);
            EXPECT_EQ(out.ToUtf8(), "'abab'");
        }
    }
}

// Every failure: the code is CALC_ERROR, with the calculator's error code
// (conversion failures leave it at 0), the compile's error position (-1 once
// compiled) and the last error text.
struct FailureCase {
    const char* formula;
    int errorCode;
    int pos;
    const char* errorText;
};

void ExpectFailures(const std::vector<FailureCase>& cases) {
    TestProvider provider;
    for (const auto& c : cases) {
        TestHost host;
        const Outcome o = host.Run(c.formula);
        EXPECT_EQ(o.code, CALC_ERROR) << c.formula;
        EXPECT_EQ(o.errorCode, c.errorCode) << c.formula;
        EXPECT_EQ(o.errorPos, c.pos) << c.formula;
        EXPECT_EQ(o.errorText, c.errorText) << c.formula;
    }
}

TEST(Calculator, FailingFunctionsAndReductionsReportTheirMessage) {
    ExpectFailures({
        {"sqrt(-1)", 1072, -1, "E1072:%s"},   {"sum()", 1072, -1, "E1072:%s"},
        {"sum(1, 'x')", 1072, -1, "E1072:%s"}, {"pow(2, -1)", 1072, -1, "E1072:%s"},
        {"1+log(0)", 1072, -1, "E1072:%s"},
        {"1<2<3", 1003, -1, "E1003:1<2<3"},   {"'a'*2", 1003, -1, "E1003:'a'*2"},
    });
}

TEST(Calculator, CompileErrorsGiveTheMessageAndPosition) {
    ExpectFailures({
        {"1 2", 0, 2, "E1003:1 2"},          {"(1", 0, 0, "E1070:(1"},
        {"1)", 0, 1, "E1070:1)"},            {"1,2", 0, 1, "E1003:1,2"},
        {"12a", 0, 2, "E1001:12a"},          {"a b", 0, 2, "E1003:a b"},
        {"f(1", 0, 3, "E1070:f(1"},          {"f(1,", 0, 4, "E1070:f(1,"},
        // A call left open counts as closed only when the text ends on ")".
        {"f(g(1) ", 0, 7, "E1070:f(g(1) "},  {"f(g(1)+2", 0, 8, "E1070:f(g(1)+2"},
        {"1 +* 2", 0, 3, "E1003:1 +* 2"},    {"()", 0, 0, "E1003:()"},
        {"a&&", 0, 2, "E1003:a &&"},         {"1e3", 0, 1, "E1001:1e3"},
        {"_", 0, 0, "E1068:_"},              {"a%b", 0, 1, "E1068:a%b"},
        {"1_x(2)", 0, 1, "E1001:1_x(2)"},    {"*2", 0, 0, "E1003:*2"},
        {"a'b'", 0, 1, "E1003:a'b'"},        {"sum(1)x", 0, 6, "E1003:sum(1)x"},
        {"2*-3", 0, 2, "E1003:2*-3"},        // a minus is unary only first or after a comparison
        {"1 >< 2", 0, 3, "E1003:1 >< 2"},    {"a!==b", 0, 2, "E1003:a!==b"},  // no such operator: start + 1
        {"(1,2)", 0, 2, "E1003:(1,2)"},      {"f.g(1)", 0, 1, "E1000:f.g(1)"},
    });
}

// The kinds of a converted tree in pre-order, children in brackets.
std::string Shape(CCalcNode* node) {
    std::string shape = std::to_string(node->GetKind());
    if (node->GetCount() == 0) return shape;
    shape += "[";
    for (int i = 0; i < node->GetCount(); ++i) shape += (i ? "," : "") + Shape(node->GetAt(i));
    return shape + "]";
}

TEST(Converter, TreeShapes) {
    struct Case { const char* text; const char* shape; const char* written; } cases[] = {
        {"", "1", ""},                             {"()", "1[2]", "()"},
        {"sum(1,2)", "1[3[4[6],4[6]]]", "sum(1,2)"}, {"f()", "1[3[4]]", "f()"},
        {"not(a)", "1[8,2[5]]", "!(a)"},          {"a!=b", "1[5,8,5]", "a<>b"},
        {"a==b", "1[5,8,5]", "a=b"},              {"'x' + -1 ", "1[7,8,8,6]", "'x'+-1"},
        // The outer call is taken as closed because the character before the
        // end is the ")" of the inner call or group.
        {"f(g(1)", "1[3[4[3[4[6]]]]]", "f(g(1))"}, {"f(1,g(2)", "1[3[4[6],4[3[4[6]]]]]", "f(1,g(2))"},
        {"f((1)", "1[3[4[2[6]]]]", "f((1))"},     {"f(h(g(1)", "1[3[4[3[4[3[4[6]]]]]]]", "f(h(g(1)))"},
    };
    for (const auto& c : cases) {
        const CString text = CString::FromUtf8(c.text);
        CUIntArray starts, ends;
        CVek::FindQuotes(text, starts, ends, u"\"'", 0);
        CCalcNode root(nullptr, NodeRoot);
        int pos = 0;
        qorcalc::calc::ConvertError error;
        ASSERT_EQ(qorcalc::calc::Convert({text, starts, ends}, pos, &root, error), 1) << c.text;
        EXPECT_EQ(Shape(&root), c.shape) << c.text;
        CString written;
        root.GetFormula(written);
        EXPECT_EQ(written.ToUtf8(), c.written) << c.text;
    }
}

TEST(Calculator, MixedTypesFailTheCheckOutsideTheComplexMode) {
    TestProvider provider;
    CUtilityCalc::Calc_EnableComplex(0);
    TestHost host;
    const Outcome o = host.Run("1+'a'");
    CUtilityCalc::Calc_EnableComplex(1);
    EXPECT_EQ(o.code, CALC_ERROR);
    EXPECT_EQ(o.errorPos, 2);
    EXPECT_EQ(o.errorText, "E1005:1+'a'");

    // An answer that mixes the types fails the answer, with the answered
    // list's text.
    struct Case { const char* formula; const char* errorText; } cases[] = {
        {"1+a", "E1005:1+'x'"}, {"f(2, (1+a))", "E1005:(1+'x')"}, {"'y'+a", ""},
    };
    CUtilityCalc::Calc_EnableComplex(0);
    for (const auto& c : cases) {
        TestHost answering;
        answering.names = {{"a", "'x'"}};
        const Outcome answered = answering.Run(c.formula);
        EXPECT_EQ(answered.code == CALC_ERROR, *c.errorText != 0) << c.formula;
        if (*c.errorText) {
            EXPECT_EQ(answered.errorCode, 1005) << c.formula;
            EXPECT_EQ(answered.errorText, c.errorText) << c.formula;
        }
    }
    CUtilityCalc::Calc_EnableComplex(1);
}

// A calculator interface copied keeps the error code it was copied from.
TEST(Calculator, CopiesCarryTheErrorCode) {
    struct Probe : ICalc {
        explicit Probe(int code) { m_nErrorCode = code; }
        CFuncMnger* GetFuncMnger() override { return nullptr; }
        CCalcNode* Compile(const char16_t*, int*) override { return nullptr; }
        int SetTermValue(CCalcNode*, CCalcNode*, const CString&) override { return 0; }
        int Calculate(CCalcNode*, CString&, CCalcNode*&, int, uint8_t) override { return CALC_ERROR; }
    };
    Probe failed(1072);
    Probe copy(failed);
    EXPECT_EQ(copy.GetLastErrorCode(), 1072);
    Probe assigned(0);
    assigned = failed;
    EXPECT_EQ(assigned.GetLastErrorCode(), 1072);
}

TEST(Calculator, SpacingOfLogicalOperators) {
    struct Case { const char* in; const char* out; } cases[] = {
        {"a||b&&c", "a || b && c"}, {"'x||y'", "'x||y'"}, {"a&b", "a&b"},
        {"a || b", "a || b"},       {"a|||b", "a || |b"}, {"&&", "&&"},
        {"\"q'||\"||1", "\"q'||\" || 1"},
        // the blank before a pair is looked for in the text as it grows
        {"a&&&&b", "a && && b"},    {"a&&||b", "a && || b"},
        // spaced text stays; an unclosed quote runs to the end
        {"x > 3 && y < 2", "x > 3 && y < 2"}, {"a||'b||c", "a || 'b||c"}, {"&&a", "&& a"}, {"a&&", "a &&"},
    };
    for (const auto& c : cases) {
        CString text = CString::FromUtf8(c.in);
        qorcalc::calc::SpaceLogicalOperators(text);
        EXPECT_EQ(text.ToUtf8(), c.out) << c.in;
    }
}

TEST(Calculator, OwnsOnlyTheManagerItMade) {
    CFuncMnger* mine = CFuncMnger::NewFuncMnger();
    {
        std::unique_ptr<ICalc> calc(NewCalc(mine, nullptr));
        EXPECT_EQ(calc->GetFuncMnger(), mine);
    }
    EXPECT_EQ(mine->Find(u"sum"), 59);  // still alive after the calculator went
    delete mine;

    std::unique_ptr<ICalc> calc(NewCalc(nullptr, nullptr));
    CFuncMnger* made = calc->GetFuncMnger();
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(calc->GetFuncMnger(), made);
}

}  // namespace
