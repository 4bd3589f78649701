// The order of work in one calculation, as a host sees it: every question
// Calculate asks (its code and text, in order) and the final value or
// error, for formulas that exercise IF pruning, nested calls and groups,
// logical lists, names answered with numbers, texts and formulas, lists
// that fail mid-way and refused host functions.
#include <qorcalc/qorcalc.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "calc_host.h"
#include "test_provider.h"

namespace {

using calctest::Outcome;
using calctest::TestHost;

// Sets the complex mode for one scope and restores the default after it.
class ComplexMode {
public:
    explicit ComplexMode(int on) { CUtilityCalc::Calc_EnableComplex(on); }
    ~ComplexMode() { CUtilityCalc::Calc_EnableComplex(1); }
};

int Twice(CFuncPara* para, int argc) {
    para->m_strResult = argc ? para->m_arrParas[0] + para->m_arrParas[0] : CString();
    return 1;
}

void AddAnswers(TestHost& host) {
    host.names = {{"a", "1"},         {"b", "2"},           {"c", "3"},
                  {"z", "0"},         {"s", "'t'"},         {"t", "\"it's\""},
                  {"f1", "b+1"},      {"f2", "abs(-4)*c"},  {"f3", "if(z, x1, c)"},
                  {"bad", "1+"},      {"e", ""},            {"n", "-2.50"}};
    // foo counts its arguments; bar gives its first one back as it came;
    // form answers with a formula of its own.
    host.functions["foo"] = [](const std::vector<std::string>& args) { return std::to_string(args.size()); };
    host.functions["bar"] = [](const std::vector<std::string>& args) { return args.empty() ? "" : args[0]; };
    host.functions["form"] = [](const std::vector<std::string>&) { return std::string("b*2"); };
}

enum Complex { On, Off, OffAfterCompile };

struct StepCase {
    const char* formula;
    const char* questions;  // "code:text" per question, "; "-separated, "\r\n" written "|"
    const char* outcome;    // "= value", or "! error code: error text"
    Complex complex = On;
    int check = 0;
    uint8_t format = 0;
};

std::string Questions(const TestHost& host) {
    std::string all;
    for (const auto& [code, text] : host.requests) {
        std::string shown = text;
        for (size_t at; (at = shown.find("\r\n")) != std::string::npos;) shown.replace(at, 2, "|");
        all += (all.empty() ? "" : "; ") + std::to_string(code) + ":" + shown;
    }
    return all;
}

std::string Result(const Outcome& o) {
    if (o.code == CALC_DONE) return "= " + o.value;
    return "! " + std::to_string(o.code) + " " + std::to_string(o.errorCode) + ": " + o.errorText;
}

void ExpectSteps(const std::vector<StepCase>& cases) {
    TestProvider provider;
    for (const auto& c : cases) {
        // A restricted host function the manager runs itself: refused when
        // the calculation is asked to check.
        CFuncMnger mnger;
        auto* guard = new CFuncItem(u"guard", 0, -1, 1);
        guard->m_nFlags = 1;
        guard->m_pfnCall = Twice;
        mnger.AddItem(guard);
        mnger.m_bPermitRestricted = 0;
        TestHost host(&mnger);
        AddAnswers(host);
        host.check = c.check;
        ComplexMode mode(c.complex == Off ? 0 : 1);
        Outcome o;
        int pos = -1;
        std::unique_ptr<CCalcNode> root(host.Calc().Compile(CString::FromUtf8(c.formula), &pos));
        ASSERT_TRUE(root) << c.formula;
        if (c.complex == OffAfterCompile) CUtilityCalc::Calc_EnableComplex(0);
        host.Drive(o, root.get(), c.format);
        EXPECT_EQ(Questions(host), c.questions) << c.formula;
        EXPECT_EQ(Result(o), c.outcome) << c.formula;
    }
}

TEST(CalculationSteps, IfAsksOnlyForTheBranchItsConditionChooses) {
    ExpectSteps({
        {"if(a, b, c)", "2:a; 2:b", "= 2"},
        {"if(z, b, c)", "2:z; 2:c", "= 3"},
        {"if(s, b, c)", "2:s; 2:c", "= 3"},
        {"if(a, b)", "2:a; 2:b", "! -1 1072: E1072:%s"},
        {"if(a>1, if(b, x1, x2), if(c, x3, x4))", "2:a; 2:c; 2:x3", "= '?x3'"},
        {"if(if(z, b, c), x1, x2)+if(a, x3, x4)*2", "2:z; 2:c; 2:x1; 2:a; 2:x3", "! -1 1003: E1003:'?x1'+'?x3'*2"},
        {"if(if(if(a,z,b),c,x1),x2,x3)", "2:a; 2:z; 2:x1; 2:x3", "= '?x3'"},
        {"(if(a, b, c))+1", "2:a; 2:b", "= 3"},
        {"if(f1>2, x1, x2)", "2:f1; 2:b; 2:x1", "= '?x1'"},
        {"sum(if(z, x1, b), if(a, c, x2))", "2:z; 2:b; 2:a; 2:c", "= 5"},
        {"a + f3", "2:a; 2:f3; 2:z; 2:c", "= 4"},
        {"if(a+b>c, x1, if(b, if(z, x2, x3), x4))", "2:a; 2:b; 2:c; 2:b; 2:z; 2:x3", "= '?x3'"},
    });
}

TEST(CalculationSteps, CallsAndGroupsInOrder) {
    ExpectSteps({
        {"max(a, min(b, abs(c)), sum(b, c))", "2:a; 2:b; 2:c; 2:b; 2:c", "= 5"},
        {"foo(a, bar(b), 'x')+foo(1)", "2:a; 2:b; 3:bar|2; 3:foo|1|2|'x'; 3:foo|1", "= 4"},
        {"foo(1/3, 2*a, 'x'+b, n)", "2:a; 2:b; 2:n; 3:foo|0.33333333|2|'x2'|-2.5", "= 4"},
        {"((a+(b))*(c))", "2:a; 2:b; 2:c", "= 9"},
        {"form(a)+c", "2:a; 3:form|1; 2:b; 2:c", "= 7"},
        {"a+1 > b*2", "2:a; 2:b", "= 0"},
        {"x1+x2", "2:x1; 2:x2", "= '?x1?x2'"},
        {"a/3+s", "2:a; 2:s", "= '0.33333333t'"},
        {"guard('x')+a", "", "! 6 0: ", On, 1},
        {"guard(a)", "2:a", "= '11'"},
    });
}

TEST(CalculationSteps, LogicalLists) {
    ExpectSteps({
        {"a>1 && b<2 || c", "2:a; 2:b; 2:c", "= 1"},
        {"!a || b && c", "2:a; 2:b; 2:c", "= 1"},
        {"a || x1", "2:a; 2:x1", "= 1"},
        {"z && x1 || b", "2:z; 2:x1; 2:b", "= 1"},
        {"not(a) or (b = 2)", "2:a; 2:b", "= 1"},
    });
}

TEST(CalculationSteps, AnswersOfEveryKind) {
    ExpectSteps({
        {"a+s+t+f1", "2:a; 2:s; 2:t; 2:f1; 2:b", "= \"1tit's21\""},
        {"f2+a", "2:f2; 2:c; 2:a", "= 13"},
        {"e+a", "2:e; 2:a", "= 1"},
        {"bad+a", "2:bad", "! -1 0: E1003:1++a"},
    });
}

TEST(CalculationSteps, ListsThatFailMidWay) {
    ExpectSteps({
        {"(a*s) + b", "2:a; 2:s", "! -1 1003: E1003:(1*'t')"},
        {"1 && (a*s) || b", "2:a; 2:s", "! -1 1003: E1003:(1*'t')"},
        {"a+b < c+s < 1", "2:a; 2:b; 2:c; 2:s", "! -1 1003: E1003:1+2<3+'t'<1"},
        {"foo(a, 2*s)", "2:a; 2:s", "! -1 1003: E1003:2*'t'"},
    });
}

TEST(CalculationSteps, TypeChecksOfAnswersOutsideTheComplexMode) {
    ExpectSteps({
        {"a+b+t", "2:a; 2:b; 2:t", "! -1 1005: E1005:1+2+\"it's\"", Off},
        {"(1)+'y'+a", "2:a", "! -1 1005: E1005:1+'y'+1", Off},
        {"a+(b+'x')", "2:a; 2:b", "! -1 1005: E1005:(2+'x')", Off},
        {"bar(t)+1", "2:t; 3:bar|\"it's\"", "! -1 1005: E1005:\"it's\"+1", Off},
        {"s+t", "2:s; 2:t", "= \"tit's\"", Off},
        {"a + (1+'x')", "2:a", "! -1 1005: E1005:(1+'x')", OffAfterCompile},
    });
}

}  // namespace

namespace {

// A host may call Calculate again without answering: it is asked the same
// question again, and the calculation goes on once it answers.
TEST(CalculationSteps, UnansweredQuestionsAreAskedAgain) {
    TestProvider provider;
    std::unique_ptr<ICalc> calc(NewCalc(nullptr, nullptr));
    int pos = -1;
    std::unique_ptr<CCalcNode> root(calc->Compile(u"if(a, foo(b), c) + d", &pos));
    ASSERT_TRUE(root);
    struct Round { const char* answer; int code; const char* out; } rounds[] = {
        {nullptr, CALC_NEED_NAME, "a"},        {nullptr, CALC_NEED_NAME, "a"},
        {"1", CALC_NEED_NAME, "b"},            {nullptr, CALC_NEED_NAME, "b"},
        {"2", CALC_NEED_FUNCTION, "foo\r\n2"}, {nullptr, CALC_NEED_FUNCTION, "foo\r\n2"},
        {"5", CALC_NEED_NAME, "d"},            {"1", CALC_DONE, ""},
    };
    CCalcNode* pending = nullptr;
    for (const auto& r : rounds) {
        if (r.answer) {
            ASSERT_EQ(calc->SetTermValue(root.get(), pending, CString::FromUtf8(r.answer)), 1);
        }
        CString out;
        EXPECT_EQ(calc->Calculate(root.get(), out, pending, 0, 0), r.code) << r.out;
        EXPECT_EQ(out.ToUtf8(), r.out);
    }
    CString value;
    root->GetText(value, 1);
    EXPECT_EQ(value.ToUtf8(), "6");
}

// Names collected from the tree may be answered before calculating, in any
// order; the calculation then asks for none of them.
TEST(CalculationSteps, NamesAnsweredAheadAreNotAskedFor) {
    TestProvider provider;
    for (int complex : {1, 0}) {
        ComplexMode mode(complex);
        std::unique_ptr<ICalc> calc(NewCalc(nullptr, nullptr));
        int pos = -1;
        std::unique_ptr<CCalcNode> root(calc->Compile(u"a*10 + if(b, c, d) + a", &pos));
        ASSERT_TRUE(root);
        CPtrArray names;
        root->Collect(names, NodeName);
        ASSERT_EQ(names.GetSize(), 5);
        for (int i = names.GetSize() - 1; i >= 0; --i) {
            CString text;
            static_cast<CCalcNode*>(names[i])->GetText(text, 0);
            const CString answer = text == u"d" ? CString(u"100") : CString(u"1");
            ASSERT_EQ(calc->SetTermValue(root.get(), static_cast<CCalcNode*>(names[i]), answer), 1);
        }
        CString out;
        CCalcNode* pending = nullptr;
        EXPECT_EQ(calc->Calculate(root.get(), out, pending, 0, 0), CALC_DONE);
        root->GetText(out, 1);
        EXPECT_EQ(out.ToUtf8(), "12");
    }
}

}  // namespace
