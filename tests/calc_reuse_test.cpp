// What the calculator keeps between calculations for speed must never show:
// arguments reach functions and hosts exactly as written in the tree, a
// host's own node class keeps its behaviour and is deleted, and trees
// deleted while a thread ends are freed safely.
#include <qorcalc/qorcalc.h>

#include <gtest/gtest.h>

#include <functional>
#include <iterator>
#include <memory>
#include <new>
#include <string>
#include <thread>

#include "allocations.h"
#include "expr/tree.h"
#include "test_provider.h"

namespace {

struct Calculation {
    int code;
    std::string out;  // the request, or the result
};

// Calculates `formula`, answering its one name with a text node holding
// `text` exactly as given, quote characters included.
Calculation WithText(ICalc& calc, const char16_t* formula, const char16_t* text) {
    int pos = -1;
    std::unique_ptr<CCalcNode> root(calc.Compile(formula, &pos));
    if (!root) return {CALC_ERROR, "compile failed"};
    CString out;
    CCalcNode* pending = nullptr;
    int code = calc.Calculate(root.get(), out, pending, 0, 0);
    if (code == CALC_NEED_NAME) {
        calc.SetTermValue(root.get(), pending, CString(u"'-'"));
        pending->AssignText(CString(text));
        code = calc.Calculate(root.get(), out, pending, 0, 0);
    }
    if (code == CALC_DONE) root->GetText(out, 0);
    return {code, out.ToUtf8()};
}

TEST(CalcReuse, TextsWithQuotesReachFunctionsAndHostsAsWritten) {
    TestProvider provider;
    std::unique_ptr<ICalc> calc(NewCalc(nullptr, nullptr));
    const struct {
        const char16_t* formula;
        const char16_t* text;
        Calculation want;
    } cases[] = {
        // A built-in receives the text with every pair of like quotes
        // around it removed.
        {u"len(s)", u"abc", {CALC_DONE, "3"}},
        {u"len(s)", u"'abc'", {CALC_DONE, "3"}},
        {u"len(s)", u"\"'abc'\"", {CALC_DONE, "3"}},
        {u"len(s)", u"'ab", {CALC_DONE, "3"}},
        {u"len(s)", u"''", {CALC_DONE, "0"}},
        {u"toUpperCase(s)", u"'it''s'", {CALC_DONE, "IT''S"}},
        // A host's function sees each argument quoted as the tree writes it.
        {u"custom(s, 2)", u"abc", {CALC_NEED_FUNCTION, "custom\r\n'abc'\r\n2"}},
        {u"custom(s)", u"'abc'", {CALC_NEED_FUNCTION, "custom\r\n\"'abc'\""}},
        {u"custom(s)", u"it's", {CALC_NEED_FUNCTION, "custom\r\n\"it's\""}},
        {u"custom(s)", u"", {CALC_NEED_FUNCTION, "custom\r\n''"}},
    };
    // Twice: the second round runs on the records kept from the first.
    for (int round = 0; round < 2; ++round) {
        for (const auto& c : cases) {
            const Calculation got = WithText(*calc, c.formula, c.text);
            EXPECT_EQ(got.code, c.want.code) << CString(c.formula).ToUtf8() << " with " << CString(c.text).ToUtf8();
            EXPECT_EQ(got.out, c.want.out) << CString(c.formula).ToUtf8() << " with " << CString(c.text).ToUtf8();
        }
    }
}

// A node class of the host's own: it reads every number as 7.
int g_ownNodesDeleted = 0;
class SevenNode : public CCalcNode {
public:
    using CCalcNode::CCalcNode;
    ~SevenNode() override { ++g_ownNodesDeleted; }
    double GetNumber() override { return 7; }
};

// Calculates `root`, answering every name with its own length as a number
// (or with a text for a name beginning with "t").
std::string Answered(ICalc& calc, CCalcNode* root) {
    CString out;
    CCalcNode* pending = nullptr;
    int code;
    while ((code = calc.Calculate(root, out, pending, 0, 0)) == CALC_NEED_NAME) {
        const std::string name = out.ToUtf8();
        const std::string answer = name[0] == 't' ? "'" + name + "'" : std::to_string(name.size());
        if (!calc.SetTermValue(root, pending, CString::FromUtf8(answer))) return "refused";
    }
    if (code != CALC_DONE) return "failed: " + CString(GetLastErrorText()).ToUtf8();
    root->GetText(out, 0);
    return out.ToUtf8();
}

TEST(CalcReuse, AHostsOwnNodesAreDeletedNotReused) {
    TestProvider provider;
    std::unique_ptr<ICalc> calc(NewCalc(nullptr, nullptr));
    g_ownNodesDeleted = 0;
    for (int round = 0; round < 3; ++round) {
        int pos = -1;
        std::unique_ptr<CCalcNode> root(calc->Compile(u"1+", &pos));
        ASSERT_FALSE(root);
        root.reset(calc->Compile(u"abs(1)+2", &pos));
        ASSERT_TRUE(root);
        // Replaces the 2 by a node of the host's class.
        root->RemoveAt(2);
        auto* own = new SevenNode(root.get(), NodeNumber);
        own->SetNumber(2, 0);
        root->Add(own);
        EXPECT_EQ(Answered(*calc, root.get()), "8");
        root.reset();
        EXPECT_EQ(g_ownNodesDeleted, round + 1);
        // Nodes made after it are plain ones.
        root.reset(calc->Compile(u"abs(1)+2", &pos));
        EXPECT_EQ(Answered(*calc, root.get()), "3");
    }
}

// A node class of the host's own with members of its own: a size other
// than the engine's nodes.
class LabelledNode : public CCalcNode {
public:
    using CCalcNode::CCalcNode;
    std::string label = "a label longer than a short string keeps in place";
    double padding[3] = {};
};

// Nodes a host makes with any form of new, of the engine's class or its own,
// live beside the engine's recycling of deleted roots: each is a whole node
// until the host deletes it, and is freed as it was allocated (the
// sanitizer builds check every pair).
TEST(CalcReuse, AHostMakesNodesWithEveryFormOfNew) {
    TestProvider provider;
    std::unique_ptr<ICalc> calc(NewCalc(nullptr, nullptr));
    for (int round = 0; round < 3; ++round) {
        int pos = -1;
        // Deleted roots leave memory behind for the nodes made next.
        for (int i = 0; i < 3; ++i) delete calc->Compile(u"max(1, 2) + 3", &pos);
        std::unique_ptr<CCalcNode> plain(new CCalcNode(nullptr, NodeNumber));
        std::unique_ptr<CCalcNode> nothrow(new (std::nothrow) CCalcNode(nullptr, NodeNumber));
        std::unique_ptr<CCalcNode> seven(new SevenNode(nullptr, NodeNumber));
        std::unique_ptr<LabelledNode> labelled(new LabelledNode(nullptr, NodeNumber));
        alignas(CCalcNode) unsigned char room[sizeof(CCalcNode)];
        CCalcNode* placed = new (room) CCalcNode(nullptr, NodeNumber);
        ASSERT_TRUE(nothrow);
        const std::pair<CCalcNode*, const char*> nodes[] = {
            {plain.get(), "1"}, {nothrow.get(), "2"}, {seven.get(), "3"}, {labelled.get(), "4"}, {placed, "5"}};
        for (int i = 0; i < 5; ++i) nodes[i].first->SetNumber(i + 1, 0);
        for (const auto& [node, want] : nodes) {
            CString text;
            node->GetText(text, 0);
            EXPECT_EQ(text.ToUtf8(), want);
        }
        EXPECT_EQ(seven->GetNumber(), 7);
        EXPECT_EQ(labelled->label, "a label longer than a short string keeps in place");
        placed->~CCalcNode();
        // The engine's trees are built as before between the host's nodes.
        std::unique_ptr<CCalcNode> root(calc->Compile(u"abc * 2 + round(xy / 3, 2)", &pos));
        EXPECT_EQ(Answered(*calc, root.get()), "6.67");
    }
}

// A host that compiles or clones a formula, calculates it and deletes the
// root, over and over, allocates nothing once its thread has done it a few
// times (its kept nodes gather the children storage their trees need): the
// deleted root's memory and children storage make the next root.  The
// results are short enough to need no storage of their own.
TEST(CalcReuse, DeletedRootsMakeTheNextRootsWithoutAllocating) {
    TestProvider provider;
    std::unique_ptr<ICalc> calc(NewCalc(nullptr, nullptr));
    const char16_t* const formulas[] = {u"1+2*3-4/5", u"(1.5+2.25)*(3-4.5)/6", u"min(a,b)+max(c,xy,z)",
                                        u"sum(a,b,c,xy,z)/5", u"if(xy>3 && z<2, 1, 0)"};
    for (const char16_t* formula : formulas) {
        int pos = -1;
        const std::unique_ptr<CCalcNode> compiled(calc->Compile(formula, &pos));
        ASSERT_TRUE(compiled);
        const std::string want = Answered(*calc, std::unique_ptr<CCalcNode>(compiled->Clone()).get());
        const auto compileCalcDelete = [&] {
            const std::unique_ptr<CCalcNode> root(calc->Compile(formula, &pos));
            return Answered(*calc, root.get());
        };
        const auto cloneCalcDelete = [&] {
            const std::unique_ptr<CCalcNode> root(compiled->Clone());
            return Answered(*calc, root.get());
        };
        for (const auto& cycle : {std::function<std::string()>(compileCalcDelete), std::function<std::string()>(cloneCalcDelete)}) {
            for (int i = 0; i < 20; ++i) EXPECT_EQ(cycle(), want);  // the thread's first times
            const long before = testing_allocations::Count();
            for (int i = 0; i < 5; ++i) EXPECT_EQ(cycle(), want);
            EXPECT_EQ(testing_allocations::Count() - before, 0) << CString(formula).ToUtf8();
        }
    }
}

// Formulas whose copies are reused, with their results as Answered gives them.
const struct ReuseCase {
    const char16_t* formula;
    const char* want;
} kReuseCases[] = {
    {u"1+2*3", "7"},
    {u"abc * 2 + round(xy / 3, 2)", "6.67"},
    {u"if(abc > 2 && x < 2, left(tname, 3), 'no')", "tna"},
    {u"len(tlong) + max(a, bb, ccc) - (((d)))", "7"},
    {u"englishNum(abcd)", "four"},
    {u"formatNum(abcdef * 1000, '#,##0.00')", "6,000.00"},
};

// How far a copy was calculated before it was given up.
enum class Given { Unused, Half, Done };
constexpr Given kGivenStates[] = {Given::Done, Given::Half, Given::Unused};

void CalculateAsGiven(ICalc& calc, CCalcNode* copy, Given given) {
    CString out;
    CCalcNode* pending = nullptr;
    if (given == Given::Half) calc.Calculate(copy, out, pending, 0, 0);
    if (given == Given::Done) Answered(calc, copy);
}

// A clone given back with Release leaves its nodes to the clones after it:
// they calculate as the first one did, whatever state it was given back in.
TEST(CalcReuse, ReleasedClonesCalculateAsTheFirst) {
    TestProvider provider;
    std::unique_ptr<ICalc> calc(NewCalc(nullptr, nullptr));
    for (const ReuseCase& c : kReuseCases) {
        int pos = -1;
        const std::unique_ptr<CCalcNode> compiled(calc->Compile(c.formula, &pos));
        ASSERT_TRUE(compiled) << CString(c.formula).ToUtf8();
        for (int round = 0; round < 3; ++round) {
            for (Given given : kGivenStates) {
                CCalcNode* clone = compiled->Clone();
                if (given == Given::Done) EXPECT_EQ(Answered(*calc, clone), c.want) << CString(c.formula).ToUtf8();
                else CalculateAsGiven(*calc, clone, given);
                CCalcNode::Release(clone);
            }
        }
        // Deleted as before, a clone calculates the same.
        const std::unique_ptr<CCalcNode> deleted(compiled->Clone());
        EXPECT_EQ(Answered(*calc, deleted.get()), c.want);
    }
}

// A copy made over a spent one (CloneReusing) calculates as a fresh clone
// does and counts the same nodes, whatever formula the spent copy was of and
// whatever state it was given up in; a plain spent root becomes the copy.
TEST(CalcReuse, CopiesOverSpentCopiesCalculateAsFreshOnes) {
    TestProvider provider;
    std::unique_ptr<ICalc> calc(NewCalc(nullptr, nullptr));
    for (const ReuseCase& from : kReuseCases) {
        int pos = -1;
        const std::unique_ptr<CCalcNode> spentFormula(calc->Compile(from.formula, &pos));
        ASSERT_TRUE(spentFormula);
        for (const ReuseCase& to : kReuseCases) {
            const std::unique_ptr<CCalcNode> compiled(calc->Compile(to.formula, &pos));
            ASSERT_TRUE(compiled);
            const std::string label = CString(from.formula).ToUtf8() + " -> " + CString(to.formula).ToUtf8();
            for (Given given : kGivenStates) {
                CCalcNode* spent = spentFormula->Clone();
                CalculateAsGiven(*calc, spent, given);
                CCalcNode* copy = compiled->CloneReusing(spent);
                EXPECT_EQ(copy, spent) << label;
                const std::unique_ptr<CCalcNode> fresh(compiled->Clone());
                EXPECT_EQ(CCalcTree::Of(copy)->NodeCount(), CCalcTree::Of(fresh.get())->NodeCount()) << label;
                EXPECT_EQ(Answered(*calc, copy), to.want) << label;
                CCalcNode::Release(copy);
            }
        }
    }
}

// What cannot serve as a spent copy is released and a fresh clone made: a
// root of the host's class, the formula itself, a node that is no root.
TEST(CalcReuse, CopiesOverWhatCannotServeAreFreshClones) {
    TestProvider provider;
    std::unique_ptr<ICalc> calc(NewCalc(nullptr, nullptr));
    int pos = -1;
    std::unique_ptr<CCalcNode> compiled(calc->Compile(u"abc * 2", &pos));
    ASSERT_TRUE(compiled);
    g_ownNodesDeleted = 0;
    CCalcNode* own = new SevenNode(nullptr, NodeRoot);
    CCalcNode* copy = compiled->CloneReusing(own);
    EXPECT_NE(copy, own);
    EXPECT_EQ(g_ownNodesDeleted, 1);
    EXPECT_EQ(Answered(*calc, copy), "6");
    CCalcNode::Release(copy);
    // A node inside the formula is copied alone, as Clone copies it.
    CCalcNode* spent = compiled->Clone();
    CCalcNode* name = compiled->GetAt(0)->CloneReusing(spent);
    EXPECT_NE(name, spent);
    EXPECT_EQ(name->GetKind(), NodeName);
    EXPECT_EQ(name->GetCount(), 0);
    CCalcNode::Release(name);
    // The formula given up for a copy of itself: the copy is made first.
    CCalcNode* itself = compiled.release();
    CCalcNode* ofItself = itself->CloneReusing(itself);
    EXPECT_NE(ofItself, itself);
    EXPECT_EQ(Answered(*calc, ofItself), "6");
    CCalcNode::Release(ofItself);
}

// A manager class of the host's own: it counts its lookups and calls, can
// hide a built-in, and leaves the rest to the engine's.
class CountingMnger : public CFuncMnger {
public:
    int Find(const char16_t* name) override {
        ++finds;
        return hidden == name ? -1 : CFuncMnger::Find(name);
    }
    int Call(CFuncPara& para, int bCheck, int index) override {
        ++calls;
        return CFuncMnger::Call(para, bCheck, index);
    }
    int finds = 0;
    int calls = 0;
    CString hidden;
};

// A host's manager is asked for every function, built-ins included: one it
// hides goes to the host as a function of its own.
TEST(CalcReuse, AHostsManagerFindsEveryFunction) {
    TestProvider provider;
    CountingMnger counting;
    counting.hidden = u"left";
    std::unique_ptr<ICalc> calc(NewCalc(&counting, nullptr));
    const struct {
        const char16_t* formula;
        int code;
        const char* out;
    } cases[] = {
        {u"len('abc') + 1", CALC_DONE, ""},
        {u"left('abc', 1)", CALC_NEED_FUNCTION, "left\r\n'abc'\r\n1"},
    };
    for (const auto& c : cases) {
        int pos = -1;
        const std::unique_ptr<CCalcNode> root(calc->Compile(c.formula, &pos));
        ASSERT_TRUE(root);
        CString out;
        CCalcNode* pending = nullptr;
        counting.finds = 0;
        EXPECT_EQ(calc->Calculate(root.get(), out, pending, 0, 0), c.code) << CString(c.formula).ToUtf8();
        EXPECT_EQ(out.ToUtf8(), c.out) << CString(c.formula).ToUtf8();
        EXPECT_EQ(counting.finds, 1) << CString(c.formula).ToUtf8();
    }
}

// Text results that begin or end with quote characters read the same
// whether the engine's own manager or a host's class runs the function.
TEST(CalcReuse, TextResultsReadTheSameThroughAHostsManager) {
    TestProvider provider;
    CountingMnger counting;
    std::unique_ptr<ICalc> own(NewCalc(nullptr, nullptr));
    std::unique_ptr<ICalc> hosts(NewCalc(&counting, nullptr));
    const struct {
        const char16_t* formula;
        const char* want;
    } cases[] = {
        {u"left(\"'a'b\", 3)", "a"},   {u"right(\"'a'b\", 2)", "'b"},        {u"left('\"\"x', 2)", ""},
        {u"mid('\"ab\"', 0, 4)", "ab"}, {u"left('''', 1)", ""},              {u"left('x', 1)", "x"},
        {u"'a' + left('b''', 2)", "ab'"}, {u"toUpperCase('ab') + 1", "AB1"}, {u"englishNum(12)", "twelve"},
    };
    for (const auto& c : cases) {
        for (ICalc* calc : {own.get(), hosts.get()}) {
            int pos = -1;
            const std::unique_ptr<CCalcNode> root(calc->Compile(c.formula, &pos));
            ASSERT_TRUE(root) << CString(c.formula).ToUtf8();
            EXPECT_EQ(Answered(*calc, root.get()), c.want) << CString(c.formula).ToUtf8();
        }
    }
    EXPECT_EQ(counting.calls, static_cast<int>(std::size(cases)));
}

// Release deletes what the engine does not keep: a host's own node class
// (its destructor runs) and nothing at all for null.
TEST(CalcReuse, ReleaseDeletesAHostsOwnNode) {
    g_ownNodesDeleted = 0;
    CCalcNode::Release(nullptr);
    auto* own = new SevenNode(nullptr, NodeGroup);
    own->Add(new SevenNode(own, NodeNumber));
    CCalcNode::Release(own);
    EXPECT_EQ(g_ownNodesDeleted, 2);
}

// Calculates `n0 + len('x...x')` with a text of `textLength` characters,
// answering n0 with n1 and so on, the last of `chain` names with 1.
int NameChainBesideText(ICalc& calc, size_t textLength, int chain) {
    const std::string formula = "n0 + len('" + std::string(textLength, 'x') + "')";
    int pos = -1;
    std::unique_ptr<CCalcNode> root(calc.Compile(CString::FromUtf8(formula), &pos));
    if (!root) return CALC_ERROR;
    CString out;
    CCalcNode* pending = nullptr;
    int code;
    while ((code = calc.Calculate(root.get(), out, pending, 0, 0)) == CALC_NEED_NAME) {
        const int next = std::stoi(out.ToUtf8().substr(1)) + 1;
        const std::string answer = next > chain ? "1" : "n" + std::to_string(next);
        if (!calc.SetTermValue(root.get(), pending, CString::FromUtf8(answer))) return CALC_ERROR;
    }
    return code;
}

// A formula's conversions share one budget; a root made after one that
// spent it starts with the whole budget again.
TEST(CalcReuse, EachRootHasItsOwnConversionBudget) {
    TestProvider provider;
    std::unique_ptr<ICalc> calc(NewCalc(nullptr, nullptr));
    const size_t longText = CALC_MAX_CONVERTED_LENGTH / 4;
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(NameChainBesideText(*calc, longText, 8), CALC_ERROR);
        EXPECT_EQ(calc->GetLastErrorCode(), CALC_MSG_CONVERTED_TOO_LONG);
        EXPECT_EQ(NameChainBesideText(*calc, longText, 2), CALC_DONE) << CString(GetLastErrorText()).ToUtf8();
    }
}

// Roots kept in thread-local storage are deleted while their thread ends,
// before or after what the engine keeps for the thread.
thread_local std::unique_ptr<CCalcNode> t_before;
thread_local std::unique_ptr<CCalcNode> t_after;

TEST(CalcReuse, TreesDeletedWhileTheirThreadEndsAreFreed) {
    TestProvider provider;
    std::string results;
    std::thread worker([&results] {
        std::unique_ptr<ICalc> calc(NewCalc(nullptr, nullptr));
        int pos = -1;
        t_before.reset(calc->Compile(u"1+2*3", &pos));
        results += Answered(*calc, t_before.get());
        for (int i = 0; i < 3; ++i) {
            std::unique_ptr<CCalcNode> root(calc->Compile(u"max(1, 2) + (3)", &pos));
            results += " " + Answered(*calc, root.get());
        }
        t_after.reset(calc->Compile(u"if(1 > 0 && 2 > 1, 4, 5)", &pos));
        results += " " + Answered(*calc, t_after.get());
    });
    worker.join();
    EXPECT_EQ(results, "7 5 5 5 4");
}

}  // namespace
