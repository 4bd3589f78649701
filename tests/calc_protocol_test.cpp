// A host that hands back the wrong node: one the calculation has already let
// go of, one answered before, one of another tree, or none at all.  Each is
// refused with the stale-term message, and a calculation whose answer failed
// reports that failure again instead of going on.
#include <qorcalc/qorcalc.h>

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

#include "expr/tree.h"
#include "test_provider.h"

namespace {

struct Session {
    std::unique_ptr<ICalc> calc{NewCalc(nullptr, nullptr)};
    std::unique_ptr<CCalcNode> root;
    std::unique_ptr<CCalcNode> other;  // a second formula of the same calculator
    CCalcNode* pending = nullptr;
    CString out;

    explicit Session(const char16_t* formula) {
        int pos = -1;
        root.reset(calc->Compile(formula, &pos));
        other.reset(calc->Compile(u"q+1", &pos));
    }
    int Calculate() { return calc->Calculate(root.get(), out, pending, 0, 0); }
    int Answer(CCalcNode* term, const char16_t* value) { return calc->SetTermValue(root.get(), term, CString(value)); }
    CCalcNode* Name(int index) {
        CPtrArray names;
        root->Collect(names, NodeName);
        return static_cast<CCalcNode*>(names[index]);
    }
};

std::string LastError() { return CString(GetLastErrorText()).ToUtf8(); }

struct StaleCase {
    const char* what;
    const char16_t* formula;
    // Leads the session to the bad answer and returns what SetTermValue did.
    std::function<int(Session&)> misuse;
    const char* errorText;
};

TEST(HostProtocol, StaleTermsAreRefusedAndEndTheCalculation) {
    TestProvider provider;
    const StaleCase cases[] = {
        {"a name freed by re-converting the tree", u"a+b",
         [](Session& s) {
             CCalcNode* b = s.Name(1);
             EXPECT_EQ(s.Answer(s.Name(0), u"c*2"), 1);
             return s.Answer(b, u"1");
         },
         "E1303:c*2+b"},
        {"the pending name answered again after a re-conversion", u"a+b",
         [](Session& s) {
             EXPECT_EQ(s.Calculate(), CALC_NEED_NAME);
             EXPECT_EQ(s.Answer(s.pending, u"c+1"), 1);
             return s.Answer(s.pending, u"2");
         },
         "E1303:c+1+b"},
        {"the pending name answered twice", u"a+b",
         [](Session& s) {
             EXPECT_EQ(s.Calculate(), CALC_NEED_NAME);
             EXPECT_EQ(s.Answer(s.pending, u"1"), 1);
             return s.Answer(s.pending, u"2");
         },
         "E1303:1+b"},
        {"a name folded into its list by evaluation", u"(a+1)*b",
         [](Session& s) {
             EXPECT_EQ(s.Calculate(), CALC_NEED_NAME);
             CCalcNode* a = s.pending;
             EXPECT_EQ(s.Answer(a, u"1"), 1);
             EXPECT_EQ(s.Calculate(), CALC_NEED_NAME);  // b: the group is reduced
             return s.Answer(a, u"5");
         },
         "E1303:2*b"},
        {"a call answered by the engine", u"abs(-1)+b",
         [](Session& s) {
             CCalcNode* call = s.root->GetAt(0);
             EXPECT_EQ(s.Calculate(), CALC_NEED_NAME);
             return s.Answer(call, u"3");
         },
         "E1303:1+b"},
        {"a name of another formula", u"a+b",
         [](Session& s) {
             CString out;
             CCalcNode* q = nullptr;
             EXPECT_EQ(s.calc->Calculate(s.other.get(), out, q, 0, 0), CALC_NEED_NAME);
             return s.Answer(q, u"1");
         },
         "E1303:a+b"},
        {"no term", u"a+b", [](Session& s) { return s.Answer(nullptr, u"1"); }, "E1303:a+b"},
    };
    for (const auto& c : cases) {
        Session s(c.formula);
        ASSERT_TRUE(s.root) << c.what;
        EXPECT_EQ(c.misuse(s), 0) << c.what;
        EXPECT_EQ(s.calc->GetLastErrorCode(), CALC_MSG_STALE_TERM) << c.what;
        EXPECT_EQ(LastError(), c.errorText) << c.what;
        // Nothing more comes of this root, whatever the host does next.
        EXPECT_EQ(s.Calculate(), CALC_ERROR) << c.what;
        EXPECT_EQ(s.pending, nullptr) << c.what;
        EXPECT_EQ(s.Answer(s.root->GetAt(0), u"1"), 0) << c.what;
        EXPECT_EQ(s.calc->GetLastErrorCode(), CALC_MSG_STALE_TERM) << c.what;
        EXPECT_EQ(LastError(), c.errorText) << c.what;
        // The other formula is untouched by the refusal.
        CString out;
        CCalcNode* q = nullptr;
        EXPECT_EQ(s.calc->Calculate(s.other.get(), out, q, 0, 0), CALC_NEED_NAME) << c.what;
    }
}

TEST(HostProtocol, OnlyTheRootOfATreeIsCalculated) {
    TestProvider provider;
    Session s(u"(a+1)*b");
    CCalcNode* group = s.root->GetAt(0);
    CString out;
    CCalcNode* pending = nullptr;
    EXPECT_EQ(s.calc->Calculate(group, out, pending, 0, 0), CALC_ERROR);
    EXPECT_EQ(s.calc->GetLastErrorCode(), CALC_MSG_STALE_TERM);
    EXPECT_EQ(s.calc->SetTermValue(group, group->GetAt(0), CString(u"1")), 0);
    EXPECT_EQ(s.calc->SetTermValue(nullptr, group, CString(u"1")), 0);
    EXPECT_EQ(s.calc->GetLastErrorCode(), CALC_MSG_STALE_TERM);
    // The root itself goes on as if nothing had happened.
    EXPECT_EQ(s.Calculate(), CALC_NEED_NAME);
    EXPECT_EQ(s.out.ToUtf8(), "a");
}

// A failed answer, or a list that cannot be reduced, leaves the tree half
// reduced: every later call on it repeats the failure, with its id and text.
TEST(HostProtocol, AFailureIsRepeatedInsteadOfCalculatingAHalfBuiltTree) {
    TestProvider provider;
    struct Case {
        const char16_t* formula;
        const char16_t* answer;  // to the first name asked
        int complex;
        int answered;            // what SetTermValue returned
        int errorCode;           // of the later Calculate
        const char* errorText;
    } cases[] = {
        // the answer's text cannot be converted; what was converted of it
        // would read 7
        {u"x", u"7)", 1, 0, 1070, "E1070:7)"},
        {u"x*2", u"1 2", 1, 0, 1003, "E1003:1 2*2"},
        // numbers and texts side by side while the complex mode is off
        {u"1+a", u"'x'", 0, 0, 1005, "E1005:1+'x'"},
        // a list that cannot be reduced
        {u"(a*'t')+b", u"1", 1, 1, 1003, "E1003:(1*'t')"},
    };
    for (const auto& c : cases) {
        CUtilityCalc::Calc_EnableComplex(c.complex);
        Session s(c.formula);
        ASSERT_TRUE(s.root);
        ASSERT_EQ(s.Calculate(), CALC_NEED_NAME);
        EXPECT_EQ(s.Answer(s.pending, c.answer), c.answered);
        const std::string failure = LastError();
        for (int again = 0; again < 2; ++again) {
            EXPECT_EQ(s.Calculate(), CALC_ERROR) << failure;
            EXPECT_EQ(s.calc->GetLastErrorCode(), c.errorCode) << failure;
            EXPECT_EQ(LastError(), c.errorText);
        }
        if (!c.answered) {
            EXPECT_EQ(failure, c.errorText);
        }
        CUtilityCalc::Calc_EnableComplex(1);
    }
}

// Nodes a tree lets go of stay with it, dead, until the root is deleted, and
// count towards its size: a re-conversion adds the nodes of the new tree to
// those of the old one.
TEST(HostProtocol, DeadNodesCountUntilTheRootGoes) {
    TestProvider provider;
    Session s(u"a+b");
    CCalcTree* tree = s.root->GetTree();
    ASSERT_NE(tree, nullptr);
    EXPECT_EQ(tree->NodeCount(), 4u);  // the root and three terms
    CCalcNode* b = s.Name(1);
    ASSERT_EQ(s.Answer(s.Name(0), u"c*2"), 1);  // c*2+b: five new terms
    EXPECT_EQ(tree->NodeCount(), 9u);
    EXPECT_EQ(b->IsDead(), 1);
    EXPECT_EQ(s.root->GetTree(), tree);
    EXPECT_EQ(s.Name(1)->IsDead(), 0);
}

}  // namespace
