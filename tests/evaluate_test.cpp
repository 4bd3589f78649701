// Evaluation of hand-built trees: precedence and association, unary minus,
// the single comparison, the logical segments, IF pruning, division by zero,
// the complex mode's conversions, and the compile checks with their positions.
#include "expr/evaluate.h"

#include <qorcalc/utility.h>
#include <qorcalc/vek.h>

#include "expr_builders.h"
#include "test_provider.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

using namespace exprtest;
using namespace qorcalc::expr;

namespace {

// Sets the complex mode for one test and restores the default after it.
class ComplexMode {
public:
    explicit ComplexMode(int on) { CUtilityCalc::Calc_EnableComplex(on); }
    ~ComplexMode() { CUtilityCalc::Calc_EnableComplex(1); }
};

// What a run of the driver loop did.
struct DriveResult {
    bool ok = true;
    uint32_t error = 0;
    std::string errorText;
    std::vector<std::string> asked;  // names and calls, in the order asked
};

// The driver's loop: names are answered from `values`, every call returns
// the text "f:" and its argument count.
DriveResult Drive(CCalcNode* root, const std::map<std::string, std::string>& values = {}) {
    DriveResult run;
    for (int rounds = 0; rounds < 1000000; ++rounds) {
        int code = -1;
        CCalcNode* node = NextStep(root, code);
        if (code == STEP_NONE) {
            EXPECT_EQ(node, nullptr);
            return run;
        }
        CString text;
        switch (code) {
        case STEP_EVALUATE:
            if (!EvaluateList(node, 0, run.error, text)) {
                run.ok = false;
                run.errorText = U8(text);
                return run;
            }
            break;
        case STEP_UNWRAP:
            node->Unwrap();
            break;
        case STEP_NAME: {
            node->GetText(text, 0);
            run.asked.push_back(U8(text));
            auto it = values.find(U8(text));
            node->SetLiteral(W(it == values.end() ? "0" : it->second));
            break;
        }
        case STEP_FUNCTION: {
            CString name;
            CStringArray args;
            node->GetFunctionCall(name, args, 1);
            run.asked.push_back(U8(name) + "(" + std::to_string(args.GetSize()) + ")");
            node->SetLiteral(W("'f:" + std::to_string(args.GetSize()) + "'"));
            node->RemoveAll();
            break;
        }
        default:
            ADD_FAILURE() << "unknown step " << code;
            return run;
        }
    }
    ADD_FAILURE() << "no end";
    return run;
}

std::string Value(CCalcNode* node) {
    CString text;
    node->GetText(text, 1);
    return U8(text);
}

struct ListCase {
    const char* tokens;
    const char* value;  // the root's quoted text, or the error text
};

void ExpectValues(const std::vector<ListCase>& cases) {
    TestProvider provider;
    for (const auto& c : cases) {
        auto root = Root(c.tokens);
        const DriveResult run = Drive(root.get());
        EXPECT_EQ(run.ok ? Value(root.get()) : run.errorText, c.value) << c.tokens;
    }
}

TEST(EvaluateList, Arithmetic) {
    ExpectValues({
        {"2 + 3 * 4", "14"},     {"8 / 2 / 2", "2"},        {"2 - 3 - 4", "-5"},   {"- 2 * 3", "-6"},
        {"10 - 2 * 3 + 1", "5"}, {"7", "7"},                {"1.5 * -2", "-3"},
        {"2 * 3 - 4 / 8", "5.5"}, {"0.1 + 0.2", "0.3"},     {"20000.25 + 0.5", "20000.75"},
        {"5 / 0", "∞"},          {"0 / 0", "0"},            {"5 / 0 * 2", "∞"},       {"1.5 * - 2", "E1003:1.5*-2"},
        {"1 + * 2", "E1003:1+*2"}, {"1 2", "E1003:12"},     {"- 'a'", "E1003:-'a'"},
    });
}

TEST(EvaluateList, Comparisons) {
    ExpectValues({
        {"1 < - 1", "0"},         {"- 1 < 1", "1"},     {"1 + 1 = 2", "1"},   {"2 >= 2", "1"},
        {"3 <= 2", "0"},          {"1 <> 2", "1"},     {"2 * 3 > 5", "1"},   {"1 < 2 < 3", "E1003:1<2<3"},
        {"'a' < 'b'", "1"},       {"'b' = 'b'", "1"},  {"'abc' = 1", "0"},   {"'abc' > 1", "1"},
        {"'2' = 2", "1"},         {"- '3' = -3", "1"}, {"1 <", "E1003:1<"},
    });
}

TEST(EvaluateList, Logic) {
    ExpectValues({
        {"0 || 1 && 0", "0"},   {"1 || 0 && 0", "1"},  {"! 0", "1"},           {"! 1 && 1", "0"},
        {"1 and 2 > 1", "1"},   {"0 OR 0", "0"},       {"1 && ! 0", "1"},       {"0 && ! 0", "0"},
        {"1 || 1 < 2 < 3", "1"}, {"0 && 1 < 2 < 3", "E1003:1<2<3"}, {"1 + 1 && 2 - 2", "0"},
        {"'x' || 0", "0"},      {"1 < 2 || ! 1", "1"}, {"0 || !", "1"},
    });
}

TEST(EvaluateList, ComplexModeConversions) {
    ExpectValues({
        {"'3' - '1'", "2"},       {"'3' + '1'", "'31'"}, {"'a' + 1", "'a1'"},    {"1 + 'a' + 2", "'1a2'"},
        {"5 / 0 + 'abc'", "'∞'"}, {"'x' * 2", "E1003:'x'*2"}, {"'1,000' * 2", "2000"}, {"'' + 1", "1"},
    });
}

TEST(EvaluateList, ComplexModeOffKeepsTypesApart) {
    ComplexMode off(0);
    ExpectValues({
        {"1 + 'a'", "E1005:1+'a'"}, {"'a' + 'b'", "'ab'"}, {"'3' - '1'", "E1003:'3'-'1'"}, {"2 * 3", "6"},
    });
}

TEST(EvaluateList, DivisionByZeroKeepsTheNumberKind) {
    auto root = Root("5 / 0");
    ASSERT_TRUE(Drive(root.get()).ok);
    EXPECT_EQ(root->GetKind(), NodeNumber);
    EXPECT_EQ(U8(root->RawText()), "∞");
}

TEST(EvaluateList, LeavesNoChildrenAndFoldsIntoTheList) {
    TestProvider provider;
    auto root = Root();
    CCalcNode* group = AddChild(root.get(), NodeGroup);
    AddTokens(group, "2 * 3 + 1");
    uint32_t error = 0;
    CString text;
    ASSERT_EQ(EvaluateList(group, 0, error, text), 1);
    EXPECT_EQ(group->GetCount(), 0);
    EXPECT_EQ(group->GetKind(), NodeNumber);
    EXPECT_EQ(group->GetNumber(), 7);
    EXPECT_EQ(error, 0u);
    CCalcNode empty(nullptr, NodeGroup);
    EXPECT_EQ(EvaluateList(&empty, 0, error, text), 1);
}

TEST(NextStep, OrderAndCodes) {
    auto root = Root();
    CCalcNode* group = AddChild(root.get(), NodeGroup);
    AddTokens(group, "a + 1");
    AddTokens(root.get(), "+");
    AddCall(root.get(), "f", {"b", "'s'", "2"});
    const DriveResult run = Drive(root.get(), {{"a", "2"}, {"b", "3"}});
    EXPECT_EQ(run.asked, (std::vector<std::string>{"a", "b", "f(3)"}));
    EXPECT_EQ(Value(root.get()), "'3f:3'");
}

TEST(NextStep, StepsOfSingleNodes) {
    struct Case { uint8_t kind; const char* tokens; int code; } cases[] = {
        {NodeGroup, "1 + 2", STEP_EVALUATE}, {NodeGroup, "1", STEP_UNWRAP},   {NodeArgument, "1", STEP_NONE},
        {NodeArgument, "1 + 2", STEP_EVALUATE}, {NodeName, "", STEP_NAME},   {NodeString, "", STEP_NONE},
        {NodeFunction, "", STEP_NONE},           {NodeRoot, "1 * 2", STEP_EVALUATE},
    };
    for (const auto& c : cases) {
        CCalcNode node(nullptr, c.kind);
        AddTokens(&node, c.tokens);
        int code = -1;
        CCalcNode* got = NextStep(&node, code);
        EXPECT_EQ(code, c.code) << c.tokens;
        EXPECT_EQ(got, c.code == STEP_NONE ? nullptr : &node) << c.tokens;
    }
    int code = -1;
    EXPECT_EQ(NextStep(nullptr, code), nullptr);
    EXPECT_EQ(code, STEP_NONE);
}

TEST(NextStep, RootTakesItsLastValue) {
    auto root = Root("'x'");
    int code = -1;
    EXPECT_EQ(NextStep(root.get(), code), nullptr);
    EXPECT_EQ(code, STEP_NONE);
    EXPECT_EQ(root->GetCount(), 0);
    EXPECT_EQ(root->GetKind(), NodeString);
    EXPECT_EQ(Value(root.get()), "'x'");
}

TEST(NextStep, IfPrunesTheBranchItsConditionRulesOut) {
    struct Case {
        const char* condition;
        std::map<std::string, std::string> values;
        std::vector<std::string> asked;
    } cases[] = {
        {"1", {}, {"a", "If(3)"}},
        {"0", {}, {"b", "If(3)"}},
        {"'x'", {}, {"b", "If(3)"}},
        {"c", {{"c", "2"}}, {"c", "a", "If(3)"}},
        {"c", {{"c", "0"}}, {"c", "b", "If(3)"}},
        {"c - 1", {{"c", "1"}}, {"c", "b", "If(3)"}},
    };
    for (const auto& c : cases) {
        auto root = Root();
        AddCall(root.get(), "If", {c.condition, "a", "b + 1"});
        EXPECT_EQ(Drive(root.get(), c.values).asked, c.asked) << c.condition;
    }
}

TEST(NextStep, IfDeepOnTheFirstChainIsTakenFirst) {
    // (IF(1, a, b) + x): the IF decides before the rest of its group runs.
    auto root = Root();
    CCalcNode* group = AddChild(root.get(), NodeGroup);
    AddCall(group, "if", {"1", "a", "b"});
    AddTokens(group, "+ x");
    const DriveResult run = Drive(root.get(), {{"a", "1"}, {"x", "1"}});
    EXPECT_EQ(run.asked, (std::vector<std::string>{"a", "if(3)", "x"}));
    EXPECT_EQ(Value(root.get()), "'f:31'");
}

TEST(NextStep, PrunedBranchReadsZero) {
    auto root = Root();
    CCalcNode* call = AddCall(root.get(), "IF", {"0", "a", "b"});
    int code = -1;
    EXPECT_EQ(NextStep(root.get(), code), call->GetAt(2)->GetAt(0));
    EXPECT_EQ(code, STEP_NAME);
    CCalcNode* pruned = call->GetAt(1);
    EXPECT_EQ(pruned->GetKind(), NodeNumber);
    EXPECT_EQ(pruned->GetCount(), 0);
    EXPECT_EQ(pruned->GetNumber(), 0);
}

TEST(CheckTree, Placement) {
    TestProvider provider;
    struct Case { const char* tokens; int ok; int position; } cases[] = {
        {"1 + 2", 1, -1},    {"- 1", 1, -1},       {"! 1", 1, -1},        {"1 < - 2", 1, -1},
        {"1 && ! 0", 1, -1}, {"1 || - 2", 1, -1},  {"1 +", 0, 1},         {"* 1", 0, 0},
        {"+", 0, 0},         {"1 + * 2", 0, 2},    {"1 ! 0", 0, 1},       {"1 2", 0, 1},
        {"a 'b'", 0, 1},     {"1 + ! 2", 0, 2},    {"1 && && 2", 0, 2},   {"1 + - 2", 0, 2},
        {"", 1, -1},
    };
    for (const auto& c : cases) {
        auto root = Root(c.tokens);
        int position = 99;
        EXPECT_EQ(CheckTree(root.get(), W(c.tokens), position), c.ok) << c.tokens;
        EXPECT_EQ(position, c.position) << c.tokens;
        if (!c.ok) {
            EXPECT_EQ(U8(CVek::GetLastError()), std::string("E1003:") + c.tokens);
        }
    }
}

TEST(CheckTree, PlacementInsideGroupsAndCalls) {
    TestProvider provider;
    auto root = Root("1 +");
    CCalcNode* empty = AddChild(root.get(), NodeGroup);
    empty->SetPosition(40);
    int position = 0;
    EXPECT_EQ(CheckTree(root.get(), u"1+()", position), 0);
    EXPECT_EQ(position, 40);

    // The arguments of a call are not operands of one another; the first
    // fault met children-first is the one reported.
    auto calls = Root();
    CCalcNode* call = AddCall(calls.get(), "f", {"1", "2 *"});
    call->SetPosition(0);
    AddTokens(calls.get(), "+");
    EXPECT_EQ(CheckTree(calls.get(), u"f(1,2*)+", position), 0);
    EXPECT_EQ(position, 1);
}

TEST(CheckTree, TypesWhenTheComplexModeIsOff) {
    TestProvider provider;
    ComplexMode off(0);
    auto root = Root("1 + 'a'");
    int position = 0;
    EXPECT_EQ(CheckTree(root.get(), u"1+'a'", position), 0);
    EXPECT_EQ(position, 2);
    EXPECT_EQ(U8(CVek::GetLastError()), "E1005:1+'a'");

    // Without a formula text the list writes itself and no position applies.
    EXPECT_EQ(CheckTypes(root.get(), u"", position), 0);
    EXPECT_EQ(position, -1);
    EXPECT_EQ(U8(CVek::GetLastError()), "E1005:1+'a'");

    // Literals count only against their own list's literals.
    auto nested = Root("'a' +");
    AddTokens(AddChild(nested.get(), NodeGroup), "1 + x");
    EXPECT_EQ(CheckTree(nested.get(), u"'a'+(1+x)", position), 1);

    CUtilityCalc::Calc_EnableComplex(1);
    EXPECT_EQ(CheckTree(root.get(), u"1+'a'", position), 1);
}

TEST(Arithmetic, CompareNumbersWithDecimals) {
    struct Case { double a; uint8_t op; double b; int decimals; int want; } cases[] = {
        {1.001, OpEqual, 1.004, -1, 0}, {1.001, OpEqual, 1.004, 2, 1}, {1.006, OpEqual, 1.004, 2, 0},
        {2, OpGreater, 1, -1, 1},       {1, OpLess, 2, -1, 1},         {2, OpGreaterEqual, 2, -1, 1},
        {3, OpLessEqual, 2, -1, 0},     {1, OpNotEqual, 1, -1, 0},     {1, 99, 2, -1, 1},
    };
    for (const auto& c : cases) {
        const int previous = CUtilityCalc::Calc_SetCompareCalcDeclen(c.decimals);
        EXPECT_EQ(CompareNumbers(c.a, c.op, c.b), c.want) << c.a << " " << int(c.op) << " " << c.b;
        CUtilityCalc::Calc_SetCompareCalcDeclen(previous);
    }
}

TEST(Arithmetic, CompareTexts) {
    struct Case { const char* a; uint8_t op; const char* b; int want; } cases[] = {
        {"a", OpLess, "b", 1}, {"b", OpGreater, "a", 1}, {"a", OpEqual, "a", 1}, {"a", OpNotEqual, "a", 0},
        {"a", OpGreaterEqual, "a", 1}, {"a", OpLessEqual, "b", 1}, {"", OpLess, "a", 1},
    };
    for (const auto& c : cases) EXPECT_EQ(CompareTexts(W(c.a), c.op, W(c.b)), c.want) << c.a << c.b;
}

TEST(Arithmetic, AddPreciseKeepsWholeDigits) {
    struct Case { double a, b, want; } cases[] = {
        {0, 7.5, 7.5},           {7.5, 0, 7.5},           {1.5, 2.25, 3.75},
        {20000.25, 0.5, 20000.75}, {-20000.25, 0.5, -19999.75}, {123456789012.5, 0.25, 123456789012.75},
        {1e300, 1e300, 2e300},
    };
    for (const auto& c : cases) EXPECT_DOUBLE_EQ(AddPrecise(c.a, c.b), c.want) << c.a << " + " << c.b;
}

// `depth` groups nested around 1 + 2, reduced to its value.
TEST(NextStep, DeepNestingReducesWithoutRecursion) {
    for (int depth : {CALC_MAX_NESTING, 10000}) {
        auto root = Root();
        CCalcNode* list = root.get();
        for (int i = 0; i < depth; ++i) list = AddChild(list, NodeGroup);
        AddTokens(list, "1 + 2");
        int position = 0;
        EXPECT_EQ(CheckTree(root.get(), u"", position), 1);
        int code = -1;
        EXPECT_EQ(NextStep(root.get(), code), list);
        EXPECT_EQ(code, STEP_EVALUATE);
        if (depth > CALC_MAX_NESTING) continue;  // a full run would cost depth squared
        EXPECT_TRUE(Drive(root.get()).ok);
        EXPECT_EQ(Value(root.get()), "3");
    }
}

}  // namespace
