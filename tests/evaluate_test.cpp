// Evaluation of hand-built trees: precedence and association, unary minus,
// the single comparison, the logical segments, IF pruning, division by zero,
// the complex mode's conversions, and the compile checks with their positions.
#include "expr/evaluate.h"

#include <qorcalc/utility.h>
#include <qorcalc/vek.h>

#include "expr_builders.h"
#include "test_provider.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <random>
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

struct DriveResult {
    bool ok = true;
    std::string errorText;
    std::vector<std::string> asked;  // names and calls, in the order asked
};

// The driver's loop: names are answered from `values` (else 0), every call
// returns the text "f:" and its argument count.
DriveResult Drive(CCalcNode* root, const std::map<std::string, std::string>& values = {}) {
    DriveResult run;
    for (int rounds = 0; rounds < 1000000; ++rounds) {
        int code = -1;
        CCalcNode* node = NextStep(root, code);
        CString text, name;
        CStringArray args;
        uint32_t error = 0;
        switch (code) {
        case STEP_NONE:
            EXPECT_EQ(node, nullptr);
            return run;
        case STEP_EVALUATE:
            if (!EvaluateList(node, 0, error, text)) return {false, U8(text), run.asked};
            break;
        case STEP_UNWRAP:
            node->Unwrap();
            break;
        case STEP_NAME: {
            run.asked.push_back(Text(node, 0));
            auto it = values.find(run.asked.back());
            node->SetLiteral(W(it == values.end() ? "0" : it->second));
            break;
        }
        case STEP_FUNCTION:
            node->GetFunctionCall(name, args, 1);
            run.asked.push_back(U8(name) + "(" + std::to_string(args.GetSize()) + ")");
            node->SetLiteral(W("'f:" + std::to_string(args.GetSize()) + "'"));
            node->RemoveAll();
            break;
        default:
            ADD_FAILURE() << "unknown step " << code;
            return run;
        }
    }
    ADD_FAILURE() << "no end";
    return run;
}

// Each row: the tokens of the root list, and its quoted value or error text.
void ExpectValues(const std::vector<std::pair<const char*, const char*>>& cases) {
    TestProvider provider;
    for (const auto& [tokens, value] : cases) {
        auto root = Root(tokens);
        const DriveResult run = Drive(root.get());
        EXPECT_EQ(run.ok ? Text(root.get(), 1) : run.errorText, value) << tokens;
    }
}

TEST(EvaluateList, Values) {
    ExpectValues({
        // arithmetic, unary minus, division by zero
        {"2 + 3 * 4", "14"}, {"8 / 2 / 2", "2"}, {"2 - 3 - 4", "-5"}, {"- 2 * 3", "-6"}, {"10 - 2 * 3 + 1", "5"},
        {"1.5 * -2", "-3"}, {"2 * 3 - 4 / 8", "5.5"}, {"0.1 + 0.2", "0.3"}, {"20000.25 + 0.5", "20000.75"},
        {"5 / 0", "∞"}, {"0 / 0", "0"}, {"5 / 0 * 2", "∞"}, {"1.5 * - 2", "E1003:1.5*-2"},
        {"1 + * 2", "E1003:1+*2"}, {"1 2", "E1003:12"}, {"- 'a'", "E1003:-'a'"},
        // the single comparison
        {"1 < - 1", "0"}, {"- 1 < 1", "1"}, {"1 + 1 = 2", "1"}, {"2 >= 2", "1"}, {"2 * 3 > 5", "1"},
        {"1 < 2 < 3", "E1003:1<2<3"}, {"'a' < 'b'", "1"}, {"'abc' = 1", "0"}, {"'abc' > 1", "1"},
        {"'2' = 2", "1"}, {"- '3' = -3", "1"}, {"1 <", "E1003:1<"},
        // logical segments: an or ends the list, an and does not; a later
        // segment that fails is reported with the list as it stands, already
        // holding the value of the segments before it
        {"0 || 1 && 0", "0"}, {"1 || 0 && 0", "1"}, {"! 0", "1"}, {"! 1 && 1", "0"}, {"1 and 2 > 1", "1"},
        {"0 && ! 0", "0"}, {"1 || 1 < 2 < 3", "1"}, {"0 && 1 < 2 < 3", "E1003:0"},
        {"'ab' && 'x' * 2", "E1003:'ab'"},
        {"1 + 1 && 2 - 2", "0"}, {"'x' || 0", "0"}, {"0 || !", "1"},
        // the complex mode's conversions
        {"'3' - '1'", "2"}, {"'3' + '1'", "'31'"}, {"1 + 'a' + 2", "'1a2'"}, {"5 / 0 + 'abc'", "'∞'"},
        {"'x' * 2", "E1003:'x'*2"}, {"'1,000' * 2", "2000"}, {"'' + 1", "1"},
    });
}

TEST(EvaluateList, ComplexModeOffKeepsTypesApart) {
    ComplexMode off(0);
    ExpectValues({{"1 + 'a'", "E1005:1+'a'"}, {"'a' + 'b'", "'ab'"}, {"'3' - '1'", "E1003:'3'-'1'"}});
}

TEST(EvaluateList, FoldsIntoTheListAndKeepsTheNumberKind) {
    TestProvider provider;
    struct Case { const char* tokens; double number; const char* raw; } cases[] = {
        {"2 * 3 + 1", 7, nullptr}, {"5 / 0", 0, "∞"},
    };
    for (const auto& c : cases) {
        CCalcNode group(nullptr, NodeGroup);
        AddTokens(&group, c.tokens);
        uint32_t error = 0;
        CString text;
        ASSERT_EQ(EvaluateList(&group, 0, error, text), 1);
        EXPECT_EQ(group.GetCount(), 0);
        EXPECT_EQ(group.GetKind(), NodeNumber);
        if (c.raw) {
            EXPECT_EQ(U8(group.RawText()), c.raw);
        } else {
            EXPECT_EQ(group.GetNumber(), c.number);
        }
        EXPECT_EQ(error, 0u);
    }
    CCalcNode empty(nullptr, NodeGroup);
    uint32_t error = 0;
    CString text;
    EXPECT_EQ(EvaluateList(&empty, 0, error, text), 1);
}

TEST(NextStep, OrderAndCodes) {
    auto root = Root();
    AddTokens(AddChild(root.get(), NodeGroup), "a + 1");
    AddTokens(root.get(), "+");
    AddCall(root.get(), "f", {"b", "'s'", "2"});
    const DriveResult run = Drive(root.get(), {{"a", "2"}, {"b", "3"}});
    EXPECT_EQ(run.asked, (std::vector<std::string>{"a", "b", "f(3)"}));
    EXPECT_EQ(Text(root.get(), 1), "'3f:3'");

    // A root holding one value takes it and is done.
    auto single = Root("'x'");
    int code = -1;
    EXPECT_EQ(NextStep(single.get(), code), nullptr);
    EXPECT_EQ(code, STEP_NONE);
    EXPECT_EQ(single->GetCount(), 0);
    EXPECT_EQ(Text(single.get(), 1), "'x'");
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

TEST(NextStep, IfPrunesTheBranchItsConditionRulesOut) {
    struct Case {
        const char* condition;
        std::map<std::string, std::string> values;
        std::vector<std::string> asked;
    } cases[] = {
        {"1", {}, {"a", "If(3)"}},     {"0", {}, {"b", "If(3)"}},
        {"'x'", {}, {"b", "If(3)"}},   {"c", {{"c", "2"}}, {"c", "a", "If(3)"}},
        {"c - 1", {{"c", "1"}}, {"c", "b", "If(3)"}},
    };
    for (const auto& c : cases) {
        auto root = Root();
        AddCall(root.get(), "If", {c.condition, "a", "b + 1"});
        EXPECT_EQ(Drive(root.get(), c.values).asked, c.asked) << c.condition;
    }

    // (IF(1, a, b) + x): the IF decides before the rest of its group runs.
    auto root = Root();
    CCalcNode* group = AddChild(root.get(), NodeGroup);
    AddCall(group, "if", {"1", "a", "b"});
    AddTokens(group, "+ x");
    EXPECT_EQ(Drive(root.get(), {{"a", "1"}, {"x", "1"}}).asked, (std::vector<std::string>{"a", "if(3)", "x"}));
    EXPECT_EQ(Text(root.get(), 1), "'f:31'");

    // The pruned branch reads 0.
    auto pruned = Root();
    CCalcNode* call = AddCall(pruned.get(), "IF", {"0", "a", "b"});
    int code = -1;
    EXPECT_EQ(NextStep(pruned.get(), code), call->GetAt(2)->GetAt(0));
    EXPECT_EQ(code, STEP_NAME);
    EXPECT_EQ(call->GetAt(1)->GetKind(), NodeNumber);
    EXPECT_EQ(call->GetAt(1)->GetCount(), 0);
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

    auto root = Root("1 +");
    AddChild(root.get(), NodeGroup)->SetPosition(40);
    int position = 0;
    EXPECT_EQ(CheckTree(root.get(), u"1+()", position), 0);
    EXPECT_EQ(position, 40);

    // The arguments of a call are not operands of one another; the first
    // fault met children-first is the one reported.
    auto calls = Root();
    AddCall(calls.get(), "f", {"1", "2 *"})->SetPosition(0);
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

TEST(Arithmetic, Compare) {
    struct Case { double a; uint8_t op; double b; int decimals; int want; } numbers[] = {
        {1.001, OpEqual, 1.004, -1, 0}, {1.001, OpEqual, 1.004, 2, 1}, {1.006, OpEqual, 1.004, 2, 0},
        {2, OpGreater, 1, -1, 1},       {1, OpLess, 2, -1, 1},         {2, OpGreaterEqual, 2, -1, 1},
        {3, OpLessEqual, 2, -1, 0},     {1, OpNotEqual, 1, -1, 0},     {1, 99, 2, -1, 1},
    };
    for (const auto& c : numbers) {
        const int previous = CUtilityCalc::Calc_SetCompareCalcDeclen(c.decimals);
        EXPECT_EQ(CompareNumbers(c.a, c.op, c.b), c.want) << c.a << " " << int(c.op) << " " << c.b;
        CUtilityCalc::Calc_SetCompareCalcDeclen(previous);
    }
    struct TextCase { const char* a; uint8_t op; const char* b; int want; } texts[] = {
        {"a", OpLess, "b", 1}, {"b", OpGreater, "a", 1}, {"a", OpNotEqual, "a", 0},
        {"a", OpGreaterEqual, "a", 1}, {"a", OpLessEqual, "b", 1}, {"", OpLess, "a", 1},
    };
    for (const auto& c : texts) EXPECT_EQ(CompareTexts(W(c.a), c.op, W(c.b)), c.want) << c.a << c.b;
}

TEST(Arithmetic, AddPreciseKeepsWholeDigits) {
    struct Case { double a, b, want; } cases[] = {
        {0, 7.5, 7.5}, {1.5, 2.25, 3.75}, {20000.25, 0.5, 20000.75}, {-20000.25, 0.5, -19999.75},
        {123456789012.5, 0.25, 123456789012.75}, {1e300, 1e300, 2e300},
    };
    for (const auto& c : cases) EXPECT_DOUBLE_EQ(AddPrecise(c.a, c.b), c.want) << c.a << " + " << c.b;
}

// The sum as the number texts show it: whole parts added as integers, the
// fractions read back from their text.  AddPrecise must give exactly this
// without writing any text.
double AddAsShownInText(double a, double b) {
    auto split = [](double x, int64_t& whole, double& fraction) {
        CString text;
        CUtilityCalc::Double2Str(text, x, -1);
        const int point = text.Find(u'.');
        whole = CUtilityCalc::Str2Int64(point < 0 ? text : text.Left(point));
        fraction = point < 0 ? 0.0 : CUtilityCalc::Str2Double((x < 0 ? CString(u"-0") : CString(u"0")) + text.Mid(point));
    };
    const bool small = std::fabs(a) < 10000 && std::fabs(b) < 10000;
    const bool huge = std::fabs(a) >= 1e18 || std::fabs(b) >= 1e18;
    const bool wholes = a == std::trunc(a) && b == std::trunc(b) && std::fabs(a) < 1e15 && std::fabs(b) < 1e15;
    if (a == 0 || b == 0 || small || huge || wholes) return a + b;
    int64_t wa = 0, wb = 0;
    double fa = 0, fb = 0;
    split(a, wa, fa);
    split(b, wb, fb);
    return static_cast<double>(wa + wb) + fa + fb;
}

TEST(Arithmetic, AddPreciseAddsWhatTheTextsShow) {
    // Values around every digit count, ties at the last shown decimal, and
    // fractions that carry into the whole part.
    const double edges[] = {10000.000000005, 10000.000000015, 99999.999999995, -12345.678901234567,
                            123456789.1234565, 999999999999.9995, 99999999999999.95, 999999999999998.5,
                            1e15 + 0.5, 0.000000005, -0.000000015, 4503599627370495.5, 1e17 + 8};
    for (double a : edges)
        for (double b : edges) EXPECT_EQ(AddPrecise(a, b), AddAsShownInText(a, b)) << a << " + " << b;
    std::mt19937_64 random(20261123);
    for (int i = 0; i < 200000; ++i) {
        // Magnitudes from 1e-9 to 1e17, both signs, as a report's sums meet them.
        std::uniform_real_distribution<double> exponent(-9, 17);
        const double a = std::pow(10.0, exponent(random)) * (random() & 1 ? 1 : -1);
        const double b = std::pow(10.0, exponent(random)) * (random() & 1 ? 1 : -1);
        ASSERT_EQ(AddPrecise(a, b), AddAsShownInText(a, b)) << std::hexfloat << a << " + " << b;
    }
}

TEST(NextStep, DeepNestingReducesWithoutRecursion) {
    for (int depth : {CALC_MAX_NESTING, 10000}) {
        CCalcNode* list = nullptr;
        auto root = NestedGroups(depth, &list);
        int position = 0;
        EXPECT_EQ(CheckTree(root.get(), u"", position), 1);
        int code = -1;
        EXPECT_EQ(NextStep(root.get(), code), list);
        EXPECT_EQ(code, STEP_EVALUATE);
        if (depth > CALC_MAX_NESTING) continue;  // a full run would cost depth squared
        EXPECT_TRUE(Drive(root.get()).ok);
        EXPECT_EQ(Text(root.get(), 1), "3");
    }
}

}  // namespace
