// The logic and mathematics built-ins, called as the calculator calls them:
// through CFuncMnger::Call on a call record.
#include <qorcalc/func.h>
#include <qorcalc/vek.h>
#include <qorcalc/window.h>

#include "builtin_call.h"

#include <optional>
#include <string>
#include <vector>

namespace {

using BuiltinsMath = BuiltinCall;

TEST_F(BuiltinsMath, Results) {
    CheckAll({
        // mod: the quotient is lowered by one when negative, even when exact.
        {"mod", {"7", "3"}, "1"}, {"mod", {"-7", "3"}, "2"}, {"mod", {"-6", "3"}, "3"}, {"mod", {"7", "-3"}, "-2"},
        {"mod", {"5.50", "0"}, "5.5"}, {"mod", {"7.5", "2"}, "1.5"},
        {"mod", {"x", "3"}, "E1004:mod(x, 3)"}, {"mod", {"7"}, "E1003:mod(7)"},
        // int: toward minus infinity, on the text.
        {"int", {"2.7"}, "2"}, {"int", {"-2.3"}, "-3"}, {"int", {"-0.5"}, "-1"}, {"int", {"-.5"}, "-1"},
        {"int", {".5"}, "0"}, {"int", {"-2.000"}, "-2"}, {"int", {"'-7.25'"}, "-8"},
        {"int", {"123456789012.5"}, "123456789012"}, {"int", {"abc"}, "E1004:int(abc)"},
        // round: digits 0..9 only.
        {"round", {"2.345", "2"}, "2.35"}, {"round", {"-2.345", "2"}, "-2.35"}, {"round", {"2.5", "0"}, "3"},
        {"round", {"1.2", "4"}, "1.2000"}, {"round", {"2.345", "9"}, "2.345000000"},
        {"round", {"2.345", "10"}, "E1004:round(2.345, 10)"}, {"round", {"2.345", "-1"}, "E1004:round(2.345, -1)"},
        {"round", {"2.345"}, "E1003:round(2.345)"},
        // A failure quotes the arguments as handed over, not as normalising left them.
        {"round", {"2.50", "10"}, "E1004:round(2.50, 10)"}, {"sum", {"1.50", "x"}, "E1004:sum(1.50, x)"},
        {"pow", {"-8.0", "0.5"}, "E1004:pow(-8.0, 0.5)"}, {"exp", {"1000.0"}, "E1004:exp(1000.0)"},
        {"sum", {"1", "2.50", "x"}, "E1004:sum(1, 2.50, x)"},
        {"sum", {"2.50", "1234567890123456789"}, "E1004:sum(2.50, 1234567890123456789)"},
        {"sum", {"123456789012345678", "1.0"}, "123456789012345680"},
        // percent: digits clamped to 0..7, the text result quoted.
        {"percent", {"0.125", "9"}, "'12.5000000%'"}, {"percent", {"0.125", "-2"}, "'13%'"},
        {"percent", {"0.5"}, "'50%'"}, {"percent", {"0.12345", "2"}, "'12.35%'"}, {"percent", {}, "E1003:percent()"},
        // max and min: ties keep the earliest argument.
        {"max", {"2", "5", "05"}, "5"}, {"max", {"2", "05", "5"}, "05"}, {"min", {"3", "01", "1"}, "01"},
        {"min", {"3", "1", "01"}, "1"}, {"max", {"-1", "-2"}, "-1"}, {"min", {"1.50", "2"}, "1.5"},
        {"max", {}, "E1003:max()"}, {"min", {"1", "y"}, "E1004:min(1, y)"},
        // abs: textual, so a word comes back quoted.
        {"abs", {"-5"}, "5"}, {"abs", {"  - 5.5"}, "5.5"}, {"abs", {"--5"}, "-5"}, {"abs", {"-abc"}, "'abc'"},
        {"abs", {"1", "2"}, "E1003:abs(1, 2)"},
        // pow refuses negative exponents, whatever the base.
        {"pow", {"2", "-1"}, "E1004:pow(2, -1)"}, {"pow", {"-8", "2"}, "64"}, {"pow", {"4", "0.5"}, "2"},
        {"pow", {"-8", "0.5"}, "E1004:pow(-8, 0.5)"}, {"pow", {"2"}, "E1003:pow(2)"},
        // sums read each argument whole or not at all; the call text is unquoted.
        {"sum", {}, "E1003:sum()"}, {"sum", {"1", "x"}, "E1004:sum(1, x)"},
        {"sum", {"'1'", "\"x\""}, "E1004:sum(1, x)"}, {"sum", {"12abc"}, "E1004:sum(12abc)"},
        {"sum", {"+5"}, "E1004:sum(+5)"}, {"sum", {"1", ""}, "1"}, {"sum", {"1e3", "1,000", " 2 "}, "2002"},
        {"sum", {"1.50e10", "1"}, "15000000001"}, {"max", {"-", "-5"}, "E1004:max(-, -5)"},
        {"sum", {"1e999"}, "E1004:sum(1e999)"}, {"sum", {"0.1", "0.2"}, "0.3"},
        {"average", {"1", "2"}, "1.5"}, {"average", {}, "E1003:average()"},
        {"sumdim", {"10x20", "3x4"}, "'13x24'"}, {"sumdim", {}, "E1003:sumdim()"},
        // one-argument functions and their domains
        {"ceil", {"2.1"}, "3"}, {"ceil", {"-2.9"}, "-2"}, {"floor", {"-2.1"}, "-3"}, {"exp", {"0"}, "1"},
        {"exp", {"1000"}, "E1004:exp(1000)"}, {"log", {"1"}, "0"}, {"log", {"0"}, "E1004:log(0)"},
        {"log", {"-1"}, "E1004:log(-1)"}, {"log10", {"1000"}, "3"}, {"log10", {"0"}, "E1004:log10(0)"},
        {"sqrt", {"16"}, "4"}, {"sqrt", {"0"}, "0"}, {"sqrt", {"-1"}, "E1004:sqrt(-1)"}, {"sqrt", {}, "E1003:sqrt()"},
        {"rand", {"1"}, "E1003:rand(1)"},
        // if: any non-zero number leads to the first branch; kind "any" leaves numbers bare.
        {"if", {"0.5", "a", "b"}, "'a'"}, {"if", {"-3", "a", "b"}, "'a'"}, {"if", {"12abc", "a", "b"}, "'a'"},
        {"if", {"0", "a", "b"}, "'b'"}, {"if", {"0.0", "a", "b"}, "'b'"}, {"if", {"abc", "a", "b"}, "'b'"},
        {"if", {"", "a", "b"}, "'b'"}, {"if", {"1", "2", "3"}, "2"}, {"if", {"1", "", "3"}, ""},
        {"if", {"'1'", "'it''s'", "b"}, "\"it''s\""}, {"if", {"1", "a"}, "E1003:if(1, a)"},
    });
}

TEST_F(BuiltinsMath, RandGivesWholeNumbersBelowAHundred) {
    for (int i = 0; i < 200; ++i) {
        const Outcome got = Run("rand", {});
        ASSERT_EQ(got.status, 1);
        ASSERT_FALSE(got.result.empty());
        ASSERT_EQ(got.result.find_first_not_of("0123456789"), std::string::npos) << got.result;
        ASSERT_LT(std::stoi(got.result), 100);
    }
}

class RecordingHost : public IScriptHost {
public:
    int RunScript(const CString& script, CStringArray& args, CString& result) override {
        seen = script.ToUtf8();
        for (const CString& a : args) seen += "|" + a.ToUtf8();
        result = CString::FromUtf8(answer);
        return succeeds;
    }
    std::string seen;
    std::string answer = "ran";
    int succeeds = 1;
};

// Registers a script host for the lifetime of the object.
struct Registered {
    explicit Registered(IScriptHost* h) : host(h) { RegisterScriptHost(host); }
    ~Registered() { UnregisterScriptHost(host); }
    IScriptHost* host;
};

TEST_F(BuiltinsMath, JsRunsScriptsOnlyThroughARegisteredScriptHost) {
    RecordingHost host;
    void* const hostData = static_cast<void*>(static_cast<IScriptHost*>(&host));
    int document = 0;  // host data of another kind
    struct Case {
        const char* what;
        bool registered;
        void* data;
        int succeeds;
        const char* answer;
        std::vector<const char*> args;
        int status;
        const char* want;  // the result, or the last error on failure
        const char* seen;
    };
    const std::vector<Case> cases = {
        {"registered host runs", true, hostData, 1, "ran", {"'f(a, b)'", "1", "'two'"}, 1, "'ran'", "f(a, b)|1|two"},
        {"count checked first", true, hostData, 1, "ran", {}, 0, "E1003:js()", ""},
        {"no host data", true, nullptr, 1, "ran", {"x"}, 0, "E1304:js(x)", ""},
        {"other host data", true, &document, 1, "ran", {"'x'", "2"}, 0, "E1304:js(x, 2)", ""},
        {"host not registered", false, hostData, 1, "ran", {"x"}, 0, "E1304:js(x)", ""},
        {"script fails with text", true, hostData, 0, "no such var q", {"q"}, 0, "no such var q", "q"},
        {"script fails silently", true, hostData, 0, "", {"q", "1"}, 0, "E1004:js(q, 1)", "q|1"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        host.seen.clear();
        host.succeeds = c.succeeds;
        host.answer = c.answer;
        std::optional<Registered> registration;
        if (c.registered) registration.emplace(&host);
        const Outcome got = Run("js", c.args, c.data);
        EXPECT_EQ(got.status, c.status);
        EXPECT_EQ(c.status == 1 ? got.result : got.error, c.want);
        EXPECT_EQ(host.seen, c.seen);
    }
}

TEST_F(BuiltinsMath, JsPrefersALiveHostWindow) {
    RecordingHost host;
    Registered registration(&host);
    std::vector<std::string> scripts;
    const HWND window = RegisterHostWindow([&](uint32_t message, uintptr_t wParam, intptr_t lParam) -> intptr_t {
        auto* para = reinterpret_cast<CFuncPara*>(wParam);
        scripts.push_back(std::to_string(message) + ":" + para->m_arrParas[0].ToUtf8() + ":" + std::to_string(lParam));
        para->m_strResult = u"42";
        return 1;
    });
    mnger->m_hHostWnd = window;
    mnger->m_nHostMsg = 0x401;
    EXPECT_EQ(Run("js", {"'1+1'"}, static_cast<IScriptHost*>(&host)).result, "'42'");  // js is of kind text
    EXPECT_EQ(scripts, std::vector<std::string>{"1025:1+1:0"});
    EXPECT_EQ(host.seen, "");  // the window took it

    // A window that is gone falls back to the host data.
    UnregisterHostWindow(window);
    EXPECT_EQ(Run("js", {"g()"}, static_cast<IScriptHost*>(&host)).result, "'ran'");
    EXPECT_EQ(host.seen, "g()");
}

}  // namespace
