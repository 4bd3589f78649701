// CCalcNode: the dual value and its mask, literal and operator
// classification, the two written forms, the tree queries, and trees too
// deep for any recursive walk.
#include <qorcalc/node.h>
#include <qorcalc/utility.h>

#include "expr_builders.h"

#include <gtest/gtest.h>

#include <string>

using namespace exprtest;

namespace {

TEST(CalcNode, FreshNodeValues) {
    struct Case { uint8_t kind; const char* text; double number; } cases[] = {
        {NodeNumber, "0", 0}, {NodeString, "", 0}, {NodeName, "", 0}, {NodeEmpty, "", 0}, {NodeRoot, "", 0},
    };
    for (const auto& c : cases) {
        CCalcNode node(nullptr, c.kind);
        EXPECT_EQ(node.GetValidMask(), 1);
        EXPECT_EQ(node.GetNumber(), c.number);
        CString text;
        node.GetText(text, 0);
        EXPECT_EQ(U8(text), c.text) << int(c.kind);
    }
}

TEST(CalcNode, QuotingOfStrings) {
    struct Case { const char* text; const char* quoted; } cases[] = {
        {"abc", "'abc'"}, {"it's", "\"it's\""}, {"say \"hi\"", "'say \"hi\"'"},
        {"a'b\"c", "\"a'b\"c\""}, {"", "''"},
    };
    for (const auto& c : cases) {
        CCalcNode node(nullptr, NodeString);
        node.AssignText(W(c.text));
        CString out;
        node.GetText(out, 1);
        EXPECT_EQ(U8(out), c.quoted);
        node.GetText(out, 0);
        EXPECT_EQ(U8(out), c.text);
    }
}

TEST(CalcNode, MaskMovesBetweenNumberAndText) {
    CCalcNode node(nullptr, NodeNumber);
    node.SetNumber(12.5, 0);
    EXPECT_EQ(node.GetValidMask(), 1);
    CString text;
    node.GetText(text, 0);
    EXPECT_EQ(U8(text), "12.5");
    EXPECT_EQ(node.GetValidMask(), 3);

    EXPECT_EQ(node.SetText(u"'1,234.5'"), 1);
    EXPECT_EQ(node.GetValidMask(), 2);
    EXPECT_EQ(node.GetKind(), NodeNumber);
    EXPECT_EQ(node.GetNumber(), 1234.5);
    EXPECT_EQ(node.GetValidMask(), 3);

    // The round trip keeps only what the text shows.
    node.SetNumber(1.0 / 3.0, 1);
    EXPECT_EQ(node.GetValidMask(), 3);
    EXPECT_EQ(node.GetNumber(), CUtilityCalc::Str2Double(node.RawText()));
    EXPECT_NE(node.GetNumber(), 1.0 / 3.0);
}

TEST(CalcNode, SetNumberOfAnEqualValueChangesNothing) {
    CCalcNode node(nullptr, NodeNumber);
    node.SetNumber(2.5, 0);
    node.SetText(u"kept");
    node.SetNumber(2.5, 0);
    EXPECT_EQ(node.GetValidMask(), 2);
    EXPECT_EQ(U8(node.RawText()), "kept");
    node.SetNumber(3, 0);
    EXPECT_EQ(node.GetValidMask(), 1);
    CString text;
    node.GetText(text, 0);
    EXPECT_EQ(U8(text), "3");
}

TEST(CalcNode, EmptyNumberTextForDisplay) {
    CCalcNode node(nullptr, NodeNumber);
    node.SetText(u"");
    CString out;
    node.GetText(out, 0);
    EXPECT_EQ(U8(out), "0");
    node.GetDisplayText(out, 0, 0);
    EXPECT_EQ(U8(out), "");
    node.GetDisplayText(out, 0, 64);
    EXPECT_EQ(U8(out), "0");
}

TEST(CalcNode, RoundedTextOnlyRoundsNumbers) {
    CCalcNode number(nullptr, NodeNumber);
    number.SetNumber(2.345, 0);
    CCalcNode text(nullptr, NodeString);
    text.AssignText(u"2.345");
    struct Case { CCalcNode* node; int decimals; const char* want; } cases[] = {
        {&number, 2, "2.35"}, {&number, -1, "2.345"}, {&number, 0, "2"}, {&text, 2, "2.345"},
    };
    for (const auto& c : cases) {
        CString out;
        c.node->GetRoundedText(out, c.decimals);
        EXPECT_EQ(U8(out), c.want);
    }
}

TEST(CalcNode, ClassifyOperator) {
    struct Case { const char* spelling; int ok; uint8_t op; const char* kept; } cases[] = {
        {"+", 1, '+', "+"},  {"-", 1, '-', "-"},  {"*", 1, '*', "*"},   {"/", 1, '/', "/"},
        {"=", 1, 1, "="},    {">", 1, 2, ">"},    {"<", 1, 3, "<"},     {">=", 1, 4, ">="},
        {"<=", 1, 5, "<="},  {"<>", 1, 6, "<>"},  {"&&", 1, 10, "&&"},  {"AnD", 1, 10, " and "},
        {"||", 1, 11, "||"}, {"or", 1, 11, " or "}, {"!", 1, 12, "!"},  {"NOT", 1, 12, "!"},
        {"=>", 0, 0, ""},    {"", 0, 0, ""},      {"&", 0, 0, ""},      {"ornot", 0, 0, ""},
    };
    for (const auto& c : cases) {
        CCalcNode node(nullptr, NodeOperator);
        EXPECT_EQ(node.ClassifyOperator(W(c.spelling)), c.ok) << c.spelling;
        EXPECT_EQ(node.GetOp(), c.op) << c.spelling;
        EXPECT_EQ(U8(node.RawText()), c.kept) << c.spelling;
    }
    CCalcNode compare(nullptr, NodeOperator), logic(nullptr, NodeOperator), plus(nullptr, NodeOperator);
    compare.ClassifyOperator(u"<>");
    logic.ClassifyOperator(u"not");
    plus.ClassifyOperator(u"+");
    EXPECT_TRUE(compare.IsCompareOperator() && !compare.IsLogicOperator());
    EXPECT_TRUE(logic.IsLogicOperator() && !logic.IsCompareOperator());
    EXPECT_FALSE(plus.IsLogicOperator() || plus.IsCompareOperator());
}

TEST(CalcNode, ClassifyTokenAndLiterals) {
    struct Case { const char* token; int name; uint8_t kind; const char* text; } cases[] = {
        {"'abc'", 0, NodeString, "abc"},  {"\"12\"", 0, NodeString, "12"}, {"", 0, NodeString, ""},
        {"12.50", 0, NodeNumber, "12.5"}, {"-3", 0, NodeNumber, "-3"},     {"1,234", 0, NodeString, "1,234"},
        {"price", 1, NodeName, "price"},  {"a.b", 1, NodeName, "a.b"},
        {"1234567890123456789", 0, NodeString, "1234567890123456789"},
    };
    for (const auto& c : cases) {
        CCalcNode node(nullptr, NodeRoot);
        AddTokens(&node, "1 + 2");
        EXPECT_EQ(node.ClassifyToken(W(c.token)), c.name) << c.token;
        EXPECT_EQ(node.GetKind(), c.kind) << c.token;
        EXPECT_EQ(U8(node.RawText()), c.text) << c.token;
        EXPECT_EQ(node.GetCount(), 0);
    }
    CCalcNode literal(nullptr, NodeName);
    EXPECT_EQ(literal.SetLiteral(u"'5'"), 1);
    EXPECT_EQ(literal.GetKind(), NodeString);
    EXPECT_EQ(literal.SetLiteral(u"5.0"), 0);
    EXPECT_EQ(literal.GetKind(), NodeNumber);
    EXPECT_EQ(literal.GetNumber(), 5);
}

TEST(CalcNode, WriteBracketsLaterNegativeOperands) {
    struct Case { const char* tokens; const char* formula; } cases[] = {
        {"-5 + -3", "-5+(-3)"}, {"-5", "-5"}, {"1 < -2 && 'x' = \"it's\"", "1<(-2)&&'x'=\"it's\""},
        {"a AND NOT b or c", "a and !b or c"}, {"", ""},
    };
    for (const auto& c : cases) EXPECT_EQ(Formula(Root(c.tokens).get()), c.formula) << c.tokens;

    auto root = Root("2 *");
    CCalcNode* group = AddChild(root.get(), NodeGroup);
    AddTokens(group, "1 + -1");
    AddTokens(root.get(), "-");
    AddCall(root.get(), "SUM", {"1", "-2 * 'a'", ""});
    AddCall(root.get(), "NOW", {});
    AddChild(root.get(), NodeEmpty, "ignored");
    EXPECT_EQ(Formula(root.get()), "2*(1+(-1))-SUM(1,-2*'a',)NOW()");
}

TEST(CalcNode, WriteConvertedJoinsTexts) {
    struct Case { const char* tokens; const char* converted; } cases[] = {
        {"'a' + 1", "\"a\" & 1"},        {"'12' + 1", "\"12\"+1"},   {"1 + '' + 2", "1 & \"\" & 2"},
        {"1 + 2 + 'x'", "1+2 & \"x\""}, {"-1 + -2", "-1+(-2)"},
    };
    for (const auto& c : cases) {
        CStringBuilder out;
        Root(c.tokens)->WriteConverted(out, 0);
        EXPECT_EQ(U8(out.ToString()), c.converted) << c.tokens;
    }
    CCalcNode plus(nullptr, NodeOperator);
    plus.ClassifyOperator(u"+");
    CStringBuilder alone;
    plus.WriteConverted(alone, 1);
    EXPECT_EQ(U8(alone.ToString()), " & ");
}

TEST(CalcNode, FunctionQueries) {
    auto root = Root();
    AddCall(root.get(), "SUM", {"a"});
    AddTokens(root.get(), "+");
    CCalcNode* outer = AddCall(root.get(), "sum", {"b + a", "'x'"});
    AddCall(outer->GetAt(1), "Max", {});
    EXPECT_EQ(root->CountFunctions(), 3);

    CStringArray names;
    names.Add(u"stale");
    root->GetFunctionNames(names);
    ASSERT_EQ(names.GetSize(), 2);
    EXPECT_EQ(U8(names[0]), "SUM");
    EXPECT_EQ(U8(names[1]), "Max");
    root->GetNames(names);
    ASSERT_EQ(names.GetSize(), 2);
    EXPECT_EQ(U8(names[0]), "a");
    EXPECT_EQ(U8(names[1]), "b");

    CPtrArray operators;
    root->Collect(operators, NodeOperator);
    EXPECT_EQ(operators.GetSize(), 2);
}

TEST(CalcNode, GetFunctionCall) {
    auto root = Root();
    CCalcNode* call = AddCall(root.get(), "f", {"1", "'it'", "b + 1"});
    CCalcNode* empty = AddCall(root.get(), "g", {""});
    CCalcNode* bare = AddCall(root.get(), "h", {});
    CString name;
    CStringArray args;
    struct Case { CCalcNode* node; int raw; int ok; const char* name; std::vector<std::string> args; } cases[] = {
        {call, 0, 1, "f", {"1", "'it'", "b"}}, {call, 1, 1, "f", {"1", "it", "b"}},
        {empty, 0, 1, "g", {}},                {bare, 0, 1, "h", {}},
        {root.get(), 0, 0, "", {}},
    };
    for (const auto& c : cases) {
        name.Empty();
        args.RemoveAll();
        args.Add(u"stale");
        EXPECT_EQ(c.node->GetFunctionCall(name, args, c.raw), c.ok);
        if (!c.ok) continue;
        EXPECT_EQ(U8(name), c.name);
        std::vector<std::string> got;
        for (const CString& a : args) got.push_back(U8(a));
        EXPECT_EQ(got, c.args);
    }
}

TEST(CalcNode, ChildrenAndCopies) {
    auto root = Root("1 + 2 * 3");
    EXPECT_EQ(root->GetAt(-1), nullptr);
    EXPECT_EQ(root->GetAt(5), nullptr);
    EXPECT_EQ(root->Add(nullptr), -1);
    root->RemoveAt(5);
    root->RemoveAt(-1);
    root->RemoveAt(1);
    EXPECT_EQ(Formula(root.get()), "12*3");
    EXPECT_TRUE(root->HasLogicOrCompare() == 0);

    std::unique_ptr<CCalcNode> copy(root->Clone());
    EXPECT_EQ(copy->GetParent(), nullptr);
    EXPECT_EQ(copy->GetAt(0)->GetParent(), copy.get());
    root->Clear();
    EXPECT_EQ(root->GetCount(), 0);
    EXPECT_EQ(Formula(copy.get()), "12*3");

    auto compare = Root("a <> 1");
    EXPECT_EQ(compare->HasLogicOrCompare(), 1);
}

TEST(CalcNode, UnwrapAndCopyValue) {
    auto root = Root();
    CCalcNode* group = AddChild(root.get(), NodeGroup);
    AddTokens(group, "'x'");
    group->GetAt(0)->SetPosition(7);
    group->Unwrap();
    EXPECT_EQ(group->GetKind(), NodeString);
    EXPECT_EQ(group->GetCount(), 0);
    EXPECT_EQ(group->GetPosition(), 7);
    EXPECT_EQ(U8(group->RawText()), "x");

    CCalcNode* arg = AddChild(root.get(), NodeArgument);
    AddTokens(arg, "1");
    arg->Unwrap();  // only groups unwrap
    EXPECT_EQ(arg->GetKind(), NodeArgument);
    EXPECT_EQ(arg->GetCount(), 1);
}

// Builds `depth` groups nested in one another around the list 1 + 2.
std::unique_ptr<CCalcNode> NestedGroups(int depth) {
    auto root = Root();
    CCalcNode* list = root.get();
    for (int i = 0; i < depth; ++i) list = AddChild(list, NodeGroup);
    AddTokens(list, "1 + 2");
    return root;
}

TEST(CalcNode, DeepTreesNeedNoRecursion) {
    constexpr int kDepth = 10000;
    auto root = NestedGroups(kDepth);
    std::unique_ptr<CCalcNode> copy(root->Clone());
    const std::string formula = Formula(copy.get());
    EXPECT_EQ(formula, std::string(kDepth, '(') + "1+2" + std::string(kDepth, ')'));
    CPtrArray groups;
    copy->Collect(groups, NodeGroup);
    EXPECT_EQ(groups.GetSize(), kDepth);
    EXPECT_EQ(copy->CountFunctions(), 0);
    copy.reset();
    root->RemoveAll();
    EXPECT_EQ(root->GetCount(), 0);
}

}  // namespace
