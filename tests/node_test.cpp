// CCalcNode: the dual value and its mask, literal and operator
// classification, the two written forms, the tree queries, and trees too
// deep for any recursive walk.
#include <qorcalc/node.h>
#include <qorcalc/utility.h>

#include "expr_builders.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace exprtest;

namespace {

TEST(CalcNode, FreshValuesAndQuoting) {
    for (uint8_t kind : {NodeNumber, NodeString, NodeName, NodeEmpty, NodeRoot}) {
        CCalcNode node(nullptr, kind);
        EXPECT_EQ(node.GetValidMask(), 1);
        EXPECT_EQ(node.GetNumber(), 0);
        EXPECT_EQ(Text(&node, 0), kind == NodeNumber ? "0" : "") << int(kind);
    }
    struct Case { const char* text; const char* quoted; } cases[] = {
        {"abc", "'abc'"}, {"it's", "\"it's\""}, {"say \"hi\"", "'say \"hi\"'"}, {"a'b\"c", "\"a'b\"c\""}, {"", "''"},
    };
    for (const auto& c : cases) {
        CCalcNode node(nullptr, NodeString);
        node.AssignText(W(c.text));
        EXPECT_EQ(Text(&node, 1), c.quoted);
        EXPECT_EQ(Text(&node, 0), c.text);
    }
}

TEST(CalcNode, MaskMovesBetweenNumberAndText) {
    CCalcNode node(nullptr, NodeNumber);
    node.SetNumber(12.5, 0);
    EXPECT_EQ(node.GetValidMask(), 1);
    EXPECT_EQ(Text(&node, 0), "12.5");
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

    // An equal number changes nothing, not even the mask.
    node.SetNumber(2.5, 0);
    node.SetText(u"kept");
    node.SetNumber(2.5, 0);
    EXPECT_EQ(node.GetValidMask(), 2);
    EXPECT_EQ(U8(node.RawText()), "kept");
    node.SetNumber(3, 0);
    EXPECT_EQ(node.GetValidMask(), 1);
    EXPECT_EQ(Text(&node, 0), "3");
}

TEST(CalcNode, DisplayAndRoundedText) {
    CCalcNode empty(nullptr, NodeNumber);
    empty.SetText(u"");
    CString out;
    EXPECT_EQ(Text(&empty, 0), "0");
    empty.GetDisplayText(out, 0, 0);
    EXPECT_EQ(U8(out), "");
    empty.GetDisplayText(out, 0, 64);
    EXPECT_EQ(U8(out), "0");

    CCalcNode number(nullptr, NodeNumber);
    number.SetNumber(2.345, 0);
    CCalcNode text(nullptr, NodeString);
    text.AssignText(u"2.345");
    struct Case { CCalcNode* node; int decimals; const char* want; } cases[] = {
        {&number, 2, "2.35"}, {&number, -1, "2.345"}, {&number, 0, "2"}, {&text, 2, "2.345"},
    };
    for (const auto& c : cases) {
        c.node->GetRoundedText(out, c.decimals);
        EXPECT_EQ(U8(out), c.want);
    }
}

TEST(CalcNode, ClassifyOperator) {
    // kind: 1 compare, 2 logic, 0 neither.
    struct Case { const char* spelling; int ok; uint8_t op; const char* kept; int kind; } cases[] = {
        {"+", 1, '+', "+", 0},   {"-", 1, '-', "-", 0},   {"*", 1, '*', "*", 0},     {"/", 1, '/', "/", 0},
        {"=", 1, 1, "=", 1},     {">", 1, 2, ">", 1},     {"<", 1, 3, "<", 1},       {">=", 1, 4, ">=", 1},
        {"<=", 1, 5, "<=", 1},   {"<>", 1, 6, "<>", 1},   {"&&", 1, 10, "&&", 2},    {"AnD", 1, 10, " and ", 2},
        {"||", 1, 11, "||", 2},  {"or", 1, 11, " or ", 2}, {"!", 1, 12, "!", 2},     {"NOT", 1, 12, "!", 2},
        {"=>", 0, 0, "", 0},     {"", 0, 0, "", 0},       {"&", 0, 0, "", 0},        {"ornot", 0, 0, "", 0},
    };
    for (const auto& c : cases) {
        CCalcNode node(nullptr, NodeOperator);
        EXPECT_EQ(node.ClassifyOperator(W(c.spelling)), c.ok) << c.spelling;
        EXPECT_EQ(node.GetOp(), c.op) << c.spelling;
        EXPECT_EQ(U8(node.RawText()), c.kept) << c.spelling;
        EXPECT_EQ(bool(node.IsCompareOperator()), c.kind == 1) << c.spelling;
        EXPECT_EQ(bool(node.IsLogicOperator()), c.kind == 2) << c.spelling;
    }
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

TEST(CalcNode, WrittenForms) {
    struct Case { const char* tokens; const char* formula; const char* converted; } cases[] = {
        {"-5 + -3", "-5+(-3)", "-5+(-3)"},
        {"1 < -2 && 'x' = \"it's\"", "1<(-2)&&'x'=\"it's\"", nullptr},
        {"a AND NOT b or c", "a and !b or c", nullptr},
        {"'a' + 1", "'a'+1", "\"a\" & 1"},
        {"'12' + 1", "'12'+1", "\"12\"+1"},
        {"1 + '' + 2", "1+''+2", "1 & \"\" & 2"},
        {"1 + 2 + 'x'", "1+2+'x'", "1+2 & \"x\""},
        {"", "", ""},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(Formula(Root(c.tokens).get()), c.formula) << c.tokens;
        if (!c.converted) continue;
        CStringBuilder out;
        Root(c.tokens)->WriteConverted(out, 0);
        EXPECT_EQ(U8(out.ToString()), c.converted) << c.tokens;
    }

    auto root = Root("2 *");
    AddTokens(AddChild(root.get(), NodeGroup), "1 + -1");
    AddTokens(root.get(), "-");
    AddCall(root.get(), "SUM", {"1", "-2 * 'a'", ""});
    AddCall(root.get(), "NOW", {});
    AddChild(root.get(), NodeEmpty, "ignored");
    EXPECT_EQ(Formula(root.get()), "2*(1+(-1))-SUM(1,-2*'a',)NOW()");

    CCalcNode plus(nullptr, NodeOperator);
    plus.ClassifyOperator(u"+");
    CStringBuilder alone;
    plus.WriteConverted(alone, 1);
    EXPECT_EQ(U8(alone.ToString()), " & ");
}

std::vector<std::string> Texts(const CStringArray& items) {
    std::vector<std::string> out;
    for (const CString& s : items) out.push_back(U8(s));
    return out;
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
    EXPECT_EQ(Texts(names), (std::vector<std::string>{"SUM", "Max"}));
    root->GetNames(names);
    EXPECT_EQ(Texts(names), (std::vector<std::string>{"a", "b"}));
    CPtrArray operators;
    root->Collect(operators, NodeOperator);
    EXPECT_EQ(operators.GetSize(), 2);

    CCalcNode* call = AddCall(root.get(), "f", {"1", "'it'", "b + 1"});
    struct Case { CCalcNode* node; int raw; int ok; const char* name; std::vector<std::string> args; } cases[] = {
        {call, 0, 1, "f", {"1", "'it'", "b"}},        {call, 1, 1, "f", {"1", "it", "b"}},
        {AddCall(root.get(), "g", {""}), 0, 1, "g", {}}, {AddCall(root.get(), "h", {}), 0, 1, "h", {}},
        {root.get(), 0, 0, "", {"stale"}},
    };
    for (const auto& c : cases) {
        CString name;
        CStringArray args;
        args.Add(u"stale");
        EXPECT_EQ(c.node->GetFunctionCall(name, args, c.raw), c.ok);
        EXPECT_EQ(U8(name), c.name);
        if (c.ok) {
            EXPECT_EQ(Texts(args), c.args);
        }
    }
}

TEST(CalcNode, ChildrenCopiesAndUnwrap) {
    auto root = Root("1 + 2 * 3");
    EXPECT_EQ(root->GetAt(-1), nullptr);
    EXPECT_EQ(root->GetAt(5), nullptr);
    EXPECT_EQ(root->Add(nullptr), -1);
    root->RemoveAt(5);
    root->RemoveAt(-1);
    root->RemoveAt(1);
    EXPECT_EQ(Formula(root.get()), "12*3");
    EXPECT_EQ(root->HasLogicOrCompare(), 0);
    EXPECT_EQ(Root("a <> 1")->HasLogicOrCompare(), 1);

    std::unique_ptr<CCalcNode> copy(root->Clone());
    EXPECT_EQ(copy->GetParent(), nullptr);
    EXPECT_EQ(copy->GetAt(0)->GetParent(), copy.get());
    root->Clear();
    EXPECT_EQ(root->GetCount(), 0);
    EXPECT_EQ(Formula(copy.get()), "12*3");

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

TEST(CalcNode, DeepTreesNeedNoRecursion) {
    constexpr int kDepth = 10000;
    auto root = NestedGroups(kDepth);
    std::unique_ptr<CCalcNode> copy(root->Clone());
    EXPECT_EQ(Formula(copy.get()), std::string(kDepth, '(') + "1+2" + std::string(kDepth, ')'));
    CPtrArray groups;
    copy->Collect(groups, NodeGroup);
    EXPECT_EQ(groups.GetSize(), kDepth);
    EXPECT_EQ(copy->CountFunctions(), 0);
    copy.reset();
    root->RemoveAll();
    EXPECT_EQ(root->GetCount(), 0);
}

}  // namespace
