// The resource limits of qorcalc/limits.h, each tried at the limit (it
// works) and one step past it (it fails with its message id), and the guard
// that keeps every exception inside the engine.
#include <qorcalc/qorcalc.h>

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include "calc_host.h"
#include "test_provider.h"

namespace {

using calctest::Outcome;
using calctest::TestHost;

std::string Repeat(const std::string& unit, size_t times) {
    std::string out;
    out.reserve(unit.size() * times);
    for (size_t i = 0; i < times; ++i) out += unit;
    return out;
}

// "1+1+...+1" with `ones` ones: a tree of 2 * ones nodes with its root.
std::string Ones(size_t ones) { return "1" + Repeat("+1", ones - 1); }

// A text of `length` characters built by two nested replaceAll calls, so
// that the formula stays short: the inner call makes it 8 times longer, the
// outer 8 times again.
std::string GrownText(size_t length) {
    const size_t seed = length / 64;
    return "replaceAll(replaceAll('" + std::string(seed, 'a') + std::string(length - seed * 64, 'b') +
           "', 'a', 'aaaaaaaa'), 'a', 'aaaaaaaa')";
}

// A formula answer of 9 characters around its text: written back twice
// after a compiled name of two characters, the tree's conversions read
// 2 + 2 * (9 + text) = CALC_MAX_CONVERTED_LENGTH characters in all.
std::string ConvertedTwiceToTheLimit() {
    return "b+len('" + std::string((CALC_MAX_CONVERTED_LENGTH - 20) / 2, 'x') + "')";
}

struct LimitCase {
    const char* what;
    std::string formula;
    std::map<std::string, std::string> names;
    int wantCode;        // CALC_DONE, or the failing Calculate/Compile
    int wantError;       // the message id, 0 when it works
    std::string wantValueHead;  // the first characters of the value when it works
};

TEST(Limits, AtTheLimitWorksAndOnePastFailsWithItsId) {
    TestProvider provider;
    const size_t text = CALC_MAX_TEXT_LENGTH;
    const size_t half = text / 2;
    const std::vector<LimitCase> cases = {
        {"formula at the limit", "'" + std::string(CALC_MAX_FORMULA_LENGTH - 2, 'x') + "'", {}, CALC_DONE, 0, "'xxx"},
        {"formula one past", "'" + std::string(CALC_MAX_FORMULA_LENGTH - 1, 'x') + "'", {}, CALC_ERROR, 1301, ""},
        {"function result at the limit", "len(" + GrownText(text) + ")", {}, CALC_DONE, 0, "16777216"},
        {"function result one past", "len(" + GrownText(text + 1) + ")", {}, CALC_ERROR, 1300, ""},
        {"joined text at the limit", "len(a + b)", {{"a", "'" + std::string(half, 'a') + "'"}, {"b", "'" + std::string(half, 'b') + "'"}},
         CALC_DONE, 0, "16777216"},
        {"joined text one past", "len(a + b)", {{"a", "'" + std::string(half, 'a') + "'"}, {"b", "'" + std::string(half + 1, 'b') + "'"}},
         CALC_ERROR, 1300, ""},
        {"answer at the limit", "len(a)", {{"a", "'" + std::string(text - 2, 'a') + "'"}}, CALC_DONE, 0, "16777214"},
        {"answer one past", "len(a)", {{"a", "'" + std::string(text - 1, 'a') + "'"}}, CALC_ERROR, 1300, ""},
        // A name answered with a formula: the tree is rebuilt with it, and
        // the root and the answered name, kept dead, count as two nodes.
        {"tree at the limit", "a", {{"a", "-" + Ones(CALC_MAX_NODES / 2 - 1)}}, CALC_DONE, 0, "1048573"},
        {"tree one past", "a", {{"a", Ones(CALC_MAX_NODES / 2)}}, CALC_ERROR, 1302, ""},
        // The compiled name, then two trees of the same length written back
        // (the answer, then its own name answered with another name).
        {"conversions at the limit", "aa", {{"aa", ConvertedTwiceToTheLimit()}, {"b", "c"}, {"c", "1"}}, CALC_DONE, 0, "2097143"},
        {"conversions one past", "aaa", {{"aaa", ConvertedTwiceToTheLimit()}, {"b", "c"}, {"c", "1"}}, CALC_ERROR, 1307, ""},
    };
    for (const LimitCase& c : cases) {
        SCOPED_TRACE(c.what);
        TestHost host;
        host.names = c.names;
        const Outcome o = host.Run(c.formula);
        EXPECT_EQ(o.code, c.wantCode);
        EXPECT_EQ(o.value.substr(0, c.wantValueHead.size()), c.wantValueHead);
        if (c.wantError) {
            EXPECT_EQ(o.errorCode, c.wantError);
            // The message quotes the culprit, cut short.
            EXPECT_EQ(o.errorText.substr(0, 6), "E" + std::to_string(c.wantError) + ":");
            EXPECT_LE(o.errorText.size(), 6u + 64u * 3u);
        } else {
            EXPECT_EQ(o.errorText, "");
        }
    }
}

TEST(Limits, GrowthIsRefusedBeforeItIsBuilt) {
    TestProvider provider;
    TestHost host;
    // Tenfold per level: unbounded, it would pass 6 GB.
    std::string nested = "'a'";
    for (int i = 0; i < 8; ++i) nested = "replaceAll(" + nested + ", 'a', 'aaaaaaaaaa')";
    Outcome o = host.Run(nested);
    EXPECT_EQ(o.code, CALC_ERROR);
    EXPECT_EQ(o.errorCode, CALC_MSG_TEXT_TOO_LONG);
    EXPECT_EQ(o.errorText.substr(0, 17), "E1300:replaceAll(");

    // A host that answers a name with a formula naming it again grows the
    // tree with every answer.  The nodes each re-conversion leaves behind
    // count until the root goes, so a growth of one term per answer ends
    // after some 1,450 answers, not after a million.
    host.names = {{"a", "a+1"}};
    o = host.Run("a");
    EXPECT_EQ(o.code, CALC_ERROR);
    EXPECT_EQ(o.errorCode, CALC_MSG_TREE_TOO_LARGE);
    EXPECT_EQ(o.errorText.substr(0, 8), "E1302:a+");

    // Two long texts and a name answered with a formula: the tree written
    // back for re-conversion is a formula, and would pass the formula limit.
    host.names = {{"a", "'" + std::string(9000000, 'a') + "'"}, {"b", "'" + std::string(9000000, 'b') + "'"}, {"c", "d"}};
    o = host.Run("a + b + c");
    EXPECT_EQ(o.code, CALC_ERROR);
    EXPECT_EQ(o.errorCode, CALC_MSG_FORMULA_TOO_LONG);
}

// Every answer with a formula converts the whole tree again, so the texts
// one tree is converted from share one budget: a host that keeps answering
// with formulas beside a long text is refused after a number of answers
// bounded by the budget over the tree's length, instead of paying the whole
// tree again for every answer; short trees take as many as they like.
TEST(Limits, ReconversionsShareOneBudget) {
    TestProvider provider;
    struct ChainCase {
        const char* what;
        size_t textLength;  // the text beside the names, read by every conversion
        int chain;          // n0 is answered with n1, ..., the last with 1
        int wantCode;
        int wantError;
    };
    const std::vector<ChainCase> cases = {
        {"a short chain beside a long text", 100000, 5, CALC_DONE, 0},
        {"a long chain beside a short text", 100, 1000, CALC_DONE, 0},
        {"a long chain beside a long text", 100000, 100, CALC_ERROR, CALC_MSG_CONVERTED_TOO_LONG},
    };
    for (const ChainCase& c : cases) {
        SCOPED_TRACE(c.what);
        TestHost host;
        host.answerName = [&c](const std::string& name) {
            const int next = std::stoi(name.substr(1)) + 1;
            return next > c.chain ? std::string("1") : "n" + std::to_string(next);
        };
        const std::string formula = "n0 + len('" + std::string(c.textLength, 'x') + "')";
        std::unique_ptr<CCalcNode> root(host.Calc().Compile(CString::FromUtf8(formula), nullptr));
        ASSERT_NE(root, nullptr);
        Outcome o;
        host.Drive(o, root.get());
        EXPECT_EQ(o.code, c.wantCode);
        EXPECT_EQ(o.errorCode, c.wantError);
        if (c.wantCode == CALC_DONE) {
            EXPECT_EQ(o.value, std::to_string(c.textLength + 1));
            EXPECT_EQ(host.requests.size(), static_cast<size_t>(c.chain) + 1);
            continue;
        }
        // Each conversion reads a little more than the text: the answers
        // end once the budget holds no more copies of it.
        const size_t copies = CALC_MAX_CONVERTED_LENGTH / c.textLength;
        EXPECT_GE(host.requests.size(), copies - 1);
        EXPECT_LE(host.requests.size(), copies + 1);
        EXPECT_EQ(o.errorText.substr(0, 7), "E1307:n");
        // The answered term holds the answer unconverted: the tree's
        // calculation ends rather than asking for it as a name.
        CString out;
        CCalcNode* pending = nullptr;
        EXPECT_EQ(host.Calc().Calculate(root.get(), out, pending, 0, 0), CALC_ERROR);
        EXPECT_EQ(host.Calc().GetLastErrorCode(), CALC_MSG_CONVERTED_TOO_LONG);
        EXPECT_EQ(out.ToUtf8(), "");
    }
}

TEST(Limits, SumDimRefusesATextPastTheLimit) {
    CStringArray args;
    args.Add(CString::FromUtf8(Repeat("1,", 4000000) + "1"));
    args.Add(u"1 ,  1");  // widens every separator to " ,  "
    CString out;
    EXPECT_EQ(CUtilityCalc::SumDim(out, args), -1);
    EXPECT_TRUE(out.IsEmpty());
    args.SetAt(0, CString::FromUtf8(Repeat("1,", 1000000) + "1"));
    EXPECT_EQ(CUtilityCalc::SumDim(out, args), 1000001);
    EXPECT_EQ(out.GetLength(), 1000001 + 1000000 * 4);  // one digit each, " ,  " between
}

// A host function that fails in the ways a host's code can.
int Throws(CFuncPara* para, int) {
    const std::string how = para->m_arrParas[0].ToUtf8();
    if (how == "memory") throw std::bad_alloc();
    if (how == "error") throw std::runtime_error("host bug");
    throw 42;
}

class ThrowingScripts : public IScriptHost {
public:
    int RunScript(const CString&, CStringArray&, CString&) override { throw std::bad_alloc(); }
};

TEST(Guard, NoExceptionLeavesTheEngine) {
    TestProvider provider;
    std::unique_ptr<CFuncMnger> mnger(CFuncMnger::NewFuncMnger());
    auto* item = new CFuncItem(u"boom", 0, -1, 1);
    item->m_pfnCall = Throws;
    mnger->AddItem(item);
    ThrowingScripts scripts;
    RegisterScriptHost(&scripts);
    struct Case {
        const char* formula;
        int wantError;
        const char* wantText;
    };
    const std::vector<Case> cases = {
        {"boom('memory')", 1305, "E1305:CFuncMnger::Call"},
        {"boom('error')", 1306, "E1306:CFuncMnger::Call"},
        {"boom('other')", 1306, "E1306:CFuncMnger::Call"},
        {"1 + js('x')", 1305, "E1305:CFuncMnger::Call"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.formula);
        TestHost host(mnger.get(), static_cast<IScriptHost*>(&scripts));
        const Outcome o = host.Run(c.formula);
        EXPECT_EQ(o.code, CALC_ERROR);
        EXPECT_EQ(o.errorCode, c.wantError);
        EXPECT_EQ(o.errorText, c.wantText);
        // The calculator goes on working after the failure.
        EXPECT_EQ(host.Run("1+2").value, "3");
    }
    UnregisterScriptHost(&scripts);

    // The manager on its own gives the failure status.
    CFuncPara para;
    para.m_strFuncName = u"boom";
    para.m_arrParas.Add(u"error");
    EXPECT_EQ(mnger->Call(para, 0, -1), CALL_FAILED);
    EXPECT_EQ(CString(GetLastErrorText()).ToUtf8(), "E1306:CFuncMnger::Call");
}

// A provider whose catalogue fails while the engine reports an error.
class ThrowingProvider : public ILggInterface {
public:
    const char16_t* GetText(uint32_t) override { throw std::runtime_error("catalogue broken"); }
    void Translate(CString&) override { throw std::bad_alloc(); }
};

TEST(Guard, AFailingProviderFailsTheOperationOnly) {
    ThrowingProvider provider;
    SetLggInterface(&provider);
    std::unique_ptr<ICalc> calc(NewCalc(nullptr, nullptr));
    int pos = -1;
    EXPECT_EQ(calc->Compile(u"1+", &pos), nullptr);
    EXPECT_EQ(calc->GetLastErrorCode(), CALC_MSG_INTERNAL);
    EXPECT_EQ(CString(GetLastErrorText()).ToUtf8(), "error 1306");
    std::unique_ptr<CCalcNode> root(calc->Compile(u"sum()", &pos));
    ASSERT_NE(root, nullptr);
    CString out;
    CCalcNode* pending = nullptr;
    EXPECT_EQ(calc->Calculate(root.get(), out, pending, 0, 0), CALC_ERROR);
    EXPECT_EQ(calc->GetLastErrorCode(), CALC_MSG_INTERNAL);
    CFuncItem info;
    EXPECT_EQ(calc->GetFuncMnger()->GetFuncInfo(u"abs", info), 0);
    SetLggInterface(nullptr);
}

}  // namespace

namespace {

// The toolbox's own bounds: at the bound it works, one past it refuses or
// cuts as the routine documents.
TEST(Limits, ToolboxBoundsAtAndOnePast) {
    CString text;
    text.Format(u"%4096d", 1);
    EXPECT_EQ(text.GetLength(), CALC_MAX_FORMAT_FIELD);
    text.Format(u"%4097d", 1);
    EXPECT_EQ(text.ToUtf8(), "%4097d");  // copied literally

    CString out;
    CString amount(std::u16string(CALC_MAX_RMB_DIGITS, u'9'));
    EXPECT_EQ(CUtilityCalc::RMB(out, amount, 1), 1);
    amount = CString(std::u16string(CALC_MAX_RMB_DIGITS + 1, u'9'));
    EXPECT_EQ(CUtilityCalc::RMB(out, amount, 1), 0);

    TestProvider provider;
    TestHost host;
    const std::string most(CALC_MAX_ENGLISH_DIGITS, '9');
    EXPECT_EQ(host.Run("englishNum(" + most + ")").value.substr(0, 13), "'nine hundred");
    EXPECT_EQ(host.Run("englishNum(" + most + "9)").value, "''");  // no words for it
}

}  // namespace
