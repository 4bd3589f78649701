// The toolbox keeps every failure inside: a routine whose allocation fails,
// or whose result would pass a limit, returns its failure value, empties
// what it was filling and records the failure, and no exception reaches the
// caller.
//
// Allocation failures are injected by the test program's global operator
// new, which fails the n-th allocation of this thread once armed.  Each routine
// is run with n = 1, 2, ... until it gets through without meeting the
// failure, so every allocation it makes is made to fail once.
#include <gtest/gtest.h>

#include <qorcalc/api.h>
#include <qorcalc/buffer.h>
#include <qorcalc/calc.h>
#include <qorcalc/cells.h>
#include <qorcalc/func.h>
#include <qorcalc/node.h>
#include <qorcalc/pool.h>
#include <qorcalc/streams.h>
#include <qorcalc/utility.h>
#include <qorcalc/vek.h>
#include <qorcalc/window.h>

#include <functional>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "allocations.h"
#include "test_provider.h"

namespace {

long g_failNth = 0;

// Runs `call` with the n-th allocation set to fail.
template <class Call>
auto Armed(Call call) {
    testing_allocations::FailNth(g_failNth);
    struct Disarm {
        ~Disarm() { testing_allocations::FailNth(0); }
    } disarm;
    return call();
}

std::string Show(const CString& s) { return s.ToUtf8(); }
std::string Show(int n) { return std::to_string(n); }
std::string Show(const CStringArray& items) {
    std::string out;
    for (const CString& s : items) out += s.ToUtf8() + ";";
    return out;
}
std::string Show(const CUIntArray& items) {
    std::string out;
    for (uint32_t v : items) out += std::to_string(v) + ";";
    return out;
}
std::string Show(const CStringPool& pool) {
    std::string out;
    for (int i = 0; i < pool.GetSize(); ++i) out += CString(pool.GetAt(i)).ToUtf8() + ";";
    return out;
}
template <class First, class... Rest>
std::string Show(const First& first, const Rest&... rest) {
    return Show(first) + "|" + Show(rest...);
}

// The text a routine rewrites in place, after it ran armed on `start`.
template <class Routine>
std::string Rewritten(const char16_t* start, Routine routine) {
    CString text(start);
    Armed([&] { routine(text); });
    return Show(text);
}

// A compiled formula whose nodes the node cases work on.
std::unique_ptr<CCalcNode> Compiled(const char16_t* formula) {
    std::unique_ptr<ICalc> calc(NewCalc(nullptr, nullptr));
    int pos = -1;
    return std::unique_ptr<CCalcNode>(calc->Compile(formula, &pos));
}

constexpr const char16_t* kFormula = u"concat('first text', upper('second text'), 12.5 * 4, someName)";

struct Case {
    const char* routine;               // the reported place of the failure
    std::function<std::string()> run;  // makes the inputs, calls the routine armed, shows what it left
    std::string failed;                // what `run` shows after a failure
};

const std::vector<Case>& Cases() {
    static const std::vector<Case> cases = {
        {"CString", [] { return Show(Armed([] { return CString(u"a text longer than any small buffer"); })); }, ""},
        {"CString::Mid", [] {
             CString s(u"abcdefghijklmnopqrstuvwxyz");
             return Show(Armed([&] { return s.Mid(2, 20); }));
         }, ""},
        {"CString::Replace", [] {
             CString s(u"one two one two one");
             const int n = Armed([&] { return s.Replace(u"one", u"three and more"); });
             return Show(n, s);
         }, "-1|one two one two one"},
        {"CString::Insert", [] {
             CString s(u"abc");
             const int n = Armed([&] { return s.Insert(1, u"a long insertion of text"); });
             return Show(n, s);
         }, "-1|abc"},
        {"CString::operator+", [] {
             CString a(u"left hand side"), b(u"right hand side");
             return Show(Armed([&] { return a + b; }));
         }, ""},
        {"CString::operator+=", [] {
             return Rewritten(u"left", [](CString& a) { a += u" and a long right hand side"; });
         }, ""},
        {"CString::Format", [] {
             return Rewritten(u"old", [](CString& s) { s.Format(u"%s has %d items at %.2f", u"a long enough list name", 12, 3.5); });
         }, ""},
        {"CString::FromUtf8", [] { return Show(Armed([] { return CString::FromUtf8("some utf-8 text \xE4\xB8\xAD"); })); }, ""},
        {"CVek::Array2CString", [] {
             CStringArray items;
             for (const char16_t* s : {u"first item", u"second item", u"third item"}) items.Add(s);
             CString out(u"old");
             Armed([&] { CVek::Array2CString(out, items, u", "); });
             return Show(out);
         }, ""},
        {"CVek::CString2Array", [] {
             const CString text(u"alpha, beta, gamma, delta");
             CStringArray items;
             const int n = Armed([&] { return CVek::CString2Array(items, text, u",", 1); });
             return Show(n, items);
         }, "-1|"},
        {"CVek::GetLeftRight", [] {
             const CString text(u"a long left side=a long right side");
             CString left, right;
             const int n = Armed([&] { return CVek::GetLeftRight(text, u"=", left, right); });
             return Show(n, left, right);
         }, "0||"},
        {"CVek::FindQuotes", [] {
             const CString text(u"'a' \"b\" 'c' 'd' 'e'");
             CUIntArray starts, ends;
             const int n = Armed([&] { return CVek::FindQuotes(text, starts, ends, u"'\""); });
             return Show(n, starts, ends);
         }, "-1||"},
        {"CVek::FindNoCase", [] {
             const CString text(u"Where Is The Needle In This Text");
             return Show(Armed([&] { return CVek::FindNoCase(text, u"needle"); }));
         }, "-1"},
        {"CVek::Pad", [] { return Rewritten(u"7", [](CString& s) { CVek::Pad(s, 40, u'0'); }); }, ""},
        {"CVek::ParseDate", [] {
             const CString text(u"2024-05-06 07:08:09");
             CUIntArray parts;
             const int n = Armed([&] { return CVek::ParseDate(text, parts); });
             return Show(n, parts);
         }, "0|"},
        {"CUtilityCalc::Double2Str", [] {
             CString out;
             Armed([&] { CUtilityCalc::Double2Str(out, -123456.789, 2); });
             return Show(out);
         }, ""},
        {"CUtilityCalc::RoundStr", [] {
             return Rewritten(u"123456789012.891234567", [](CString& s) { CUtilityCalc::RoundStr(s, 3); });
         }, ""},
        {"CUtilityCalc::Double2Int64", [] { return Show(static_cast<int>(Armed([] { return CUtilityCalc::Double2Int64(2.5e9 / 3); }))); }, "0"},
        {"CUtilityCalc::ConvertToDispFormat", [] {
             return Rewritten(u"1234567.891", [](CString& s) { CUtilityCalc::ConvertToDispFormat(s, 0x80 | 0x40 | 2, 1, 0); });
         }, ""},
        {"CUtilityCalc::FormatNum", [] {
             const CString pattern(u"#,##0.00 units");
             CString s(u"1234.5");
             Armed([&] { CUtilityCalc::FormatNum(s, pattern); });
             return Show(s);
         }, ""},
        {"CUtilityCalc::RMB", [] {
             CString out, amount(u"1234567.89");
             const int n = Armed([&] { return CUtilityCalc::RMB(out, amount, 1); });
             return Show(n, out);
         }, "0|"},
        {"CUtilityCalc::FormatDate", [] {
             const CString date(u"2024-05-06");
             CString pattern(u"YYYY year MM month DD day");
             Armed([&] { CUtilityCalc::FormatDate(date, pattern); });
             return Show(pattern);
         }, ""},
        {"CUtilityCalc::MyFormatDateTime", [] {
             CString out;
             Armed([&] { CUtilityCalc::MyFormatDateTime(out, COleDateTime(2024, 5, 6, 7, 8, 9), u"%A, %d %B %Y %H:%M"); });
             return Show(out);
         }, ""},
        {"CUtilityCalc::Attach_Quotes", [] {
             return Rewritten(u"a text that needs its quotes", [](CString& s) { CUtilityCalc::Attach_Quotes(s); });
         }, ""},
        {"CUtilityCalc::GetLeftPara", [] {
             CString line, text(u"the first line of text\r\nthe second line of text");
             const int n = Armed([&] { return CUtilityCalc::GetLeftPara(line, text, 1, 1); });
             return Show(n, line);
         }, "0|"},
        {"CUtilityCalc::ParseFunction", [] {
             CString name;
             CStringArray args;
             const int n = Armed([&] { return CUtilityCalc::ParseFunction(u"someFunction(1, 'two', three)", name, args); });
             return Show(n, name, args);
         }, "0||"},
        {"CUtilityCalc::SumDim", [] {
             CStringArray args;
             for (const char16_t* s : {u"10 x 20 x 30", u"1 x 2 x 3"}) args.Add(s);
             CString out;
             const int n = Armed([&] { return CUtilityCalc::SumDim(out, args); });
             return Show(n, out);
         }, "-1|"},
        {"CUtilityCalc::EncodeURI", [] {
             CString s(u"name=\u4e2d\u6587 and more");
             const int n = Armed([&] { return CUtilityCalc::EncodeURI(s, 1); });
             return Show(n, s);
         }, "0|"},
        {"CUtilityCalc::EncodeURI_Chinese", [] {
             return Rewritten(u"abc\u4e2d\u6587def", [](CString& s) { CUtilityCalc::EncodeURI_Chinese(s); });
         }, ""},
        {"CUtilityCalc::DecodeURI", [] {
             return Rewritten(u"a%20text%20with%20escapes%E4%B8%AD", [](CString& s) { CUtilityCalc::DecodeURI(s); });
         }, ""},
        {"CUtilityCalc::ParseURL", [] {
             CString base;
             CStringArray names, values;
             const int n = Armed([&] { return CUtilityCalc::ParseURL(u"http://host/path?a=1&bb=22&ccc=333", base, names, values, 0); });
             return Show(n, base, names, values);
         }, "-1|||"},
        {"CUtilityCalc::GenURL", [] {
             CStringArray names, values;
             names.Add(u"first");
             values.Add(u"value one");
             CString out;
             Armed([&] { CUtilityCalc::GenURL(out, u"http://host/a/long/path", names, values, 0); });
             return Show(out);
         }, ""},
        {"CUtilityCalc::RowCols2CellName", [] {
             CString out;
             Armed([&] { CUtilityCalc::RowCols2CellName(CRowCols(0, 0, 99999, 100), out, 1, 1); });
             return Show(out);
         }, ""},
        {"CUtilityCalc::DeserializeUIntArray", [] {
             CMemStreamOutput written;
             for (uint32_t v : {3u, 7u, 8u, 9u}) written.Write32(v);
             CMemStreamInput in(written.GetBytes());
             CUIntArray items;
             const int n = Armed([&] { return CUtilityCalc::DeserializeUIntArray(&in, items, 4); });
             return Show(n, items);
         }, "0|"},
        {"CBuffer::UTF16ToUTF8", [] {
             CBuffer buffer;
             buffer.SetString(u"some text \u4e2d");
             Armed([&] { buffer.UTF16ToUTF8(); });
             return Show(static_cast<int>(buffer.GetSize()));
         }, "0"},
        {"CMemStreamOutput::WriteBytes", [] {
             CMemStreamOutput out;
             const char bytes[] = "some bytes";
             return Show(Armed([&] { return out.WriteBytes(bytes, sizeof bytes); }));
         }, "0"},
        {"CStringPool::Add", [] {
             CStringPool pool;
             pool.Add(u"a");
             pool.Add(u"b");
             const CString added(u"a string that needs room");
             const int n = Armed([&] { return pool.Add(added); });
             return Show(n, pool);
         }, "-1|a;b;"},
        {"CStringPool::InsertAt", [] {
             CStringPool pool;
             pool.Add(u"a");
             pool.Add(u"b");
             pool.GetTags().Add(5);
             const CString added(u"a string that needs room");
             Armed([&] { pool.InsertAt(1, added); });
             return Show(pool, pool.GetTags());
         }, "a;b;|5;"},
        {"CStringPool::Copy", [] {
             CStringPool from, to;
             for (const char16_t* s : {u"one", u"two", u"three"}) from.Add(s);
             to.Add(u"old");
             Armed([&] { to.Copy(&from); });
             return Show(to);
         }, ""},
        {"COleDateTime::Format", [] {
             const COleDateTime date(2024, 5, 6, 7, 8, 9);
             return Show(Armed([&] { return date.Format(u"%#c and %#x"); }));
         }, ""},
        {"RegisterHostWindow", [] {
             HWND window = Armed([] { return RegisterHostWindow([](uint32_t, uintptr_t, intptr_t) { return intptr_t{1}; }); });
             const int registered = IsWindow(window);
             UnregisterHostWindow(window);
             return Show(static_cast<int>(window != nullptr), registered);
         }, "0|0"},
        {"CFuncPara::SetResult", [] {
             CFuncPara para;
             const int n = Armed([&] { return para.SetResult(-1234567.25); });
             return Show(n, para.m_strResult);
         }, "0|"},
        {"GetDateTimeFormat", [] {
             CString out;
             SetDateTimeFormat(u"%Y-%m-%d and a long tail", 1);
             Armed([&] { GetDateTimeFormat(out, 1); });
             SetDateTimeFormat(u"%Y.%m.%d", 1);
             return Show(out);
         }, ""},
        {"CCalcNode::Clone", [] {
             const auto root = Compiled(kFormula);
             std::unique_ptr<CCalcNode> copy(Armed([&] { return root->Clone(); }));
             CString formula;
             if (copy) copy->GetFormula(formula);
             return Show(formula);
         }, ""},
        {"CCalcNode::GetFormula", [] {
             const auto root = Compiled(kFormula);
             CString out(u"old");
             Armed([&] { root->GetFormula(out); });
             return Show(out);
         }, ""},
        {"CCalcNode::GetText", [] {
             const auto root = Compiled(u"'a text value that is long enough'");
             CString out(u"old");
             Armed([&] { root->GetAt(0)->GetText(out, 1); });
             return Show(out);
         }, ""},
        {"CCalcNode::GetNames", [] {
             const auto root = Compiled(kFormula);
             CStringArray names;
             Armed([&] { root->GetFunctionNames(names); });
             return Show(names);
         }, ""},
        {"CCalcNode::GetFunctionCall", [] {
             const auto root = Compiled(kFormula);
             CString name;
             CStringArray args;
             const int n = Armed([&] { return root->GetAt(0)->GetFunctionCall(name, args, 0); });
             return Show(n, name, args);
         }, "0||"},
        {"CCalcNode::SetText", [] {
             const auto root = Compiled(u"'old text'");
             const CString text(u"'a new text that needs room'");
             const int n = Armed([&] { return root->GetAt(0)->SetText(text); });
             CString now;
             root->GetAt(0)->GetText(now, 0);
             return Show(n, now);
         }, "0|old text"},
    };
    return cases;
}

TEST(ToolboxGuard, EveryAllocationFailureEndsInTheFailureValue) {
    TestProvider provider;
    for (const Case& c : Cases()) {
        SCOPED_TRACE(c.routine);
        bool done = false;
        for (g_failNth = 1; !done && g_failNth < 200; ++g_failNth) {
            SCOPED_TRACE(g_failNth);
            CVek::Error(nullptr);
            testing_allocations::ForgetFailure();
            std::string shown;
            EXPECT_NO_THROW(shown = c.run());
            if (!testing_allocations::FailureMet()) {
                // Past the routine's last allocation: it works as usual.
                EXPECT_NE(shown, c.failed);
                EXPECT_EQ(CString(CVek::GetLastError()).GetLength(), 0);
                done = true;
                continue;
            }
            EXPECT_EQ(shown, c.failed);
            EXPECT_EQ(CString(CVek::GetLastError()).ToUtf8(), std::string("E1305:") + c.routine);
        }
        EXPECT_TRUE(done) << "still failing after " << g_failNth << " allocations";
        EXPECT_GT(g_failNth, 2) << "the routine never allocated";
    }
    g_failNth = 0;
}

// A failure inside an operation is the operation's: the routine lets it
// pass, and the operation's guard reports it under its own name.
TEST(ToolboxGuard, InsideAGuardTheFailureReachesThatGuard) {
    TestProvider provider;
    CString out;
    g_failNth = 1;
    const int result = qorcalc::detail::Guarded(u"operation", 7, [&] {
        Armed([&] { CUtilityCalc::Double2Str(out, 1.5, 2); });
        return 1;
    });
    g_failNth = 0;
    EXPECT_EQ(result, 7);
    EXPECT_EQ(CString(CVek::GetLastError()).ToUtf8(), "E1305:operation");
}

std::u16string Many(std::u16string_view piece, size_t count) {
    std::u16string s;
    s.reserve(piece.size() * count);
    for (size_t i = 0; i < count; ++i) s += piece;
    return s;
}

// Results that would pass CALC_MAX_TEXT_LENGTH from inputs well inside it
// are refused before they are built.
TEST(ToolboxGuard, GrowthPastTheTextLimitIsRefused) {
    TestProvider provider;
    const size_t third = CALC_MAX_TEXT_LENGTH / 3 + 1;
    struct LimitCase {
        const char* name;
        std::function<std::string()> run;
        std::string failed;
        std::string quoted;  // the start of the text the message names
    };
    const std::vector<LimitCase> cases = {
        {"repeat", [] { return Show(CString(u'x', CALC_MAX_TEXT_LENGTH + 1)); }, "", "x"},
        {"replace", [] {
             CString s(std::u16string(1 << 20, u'a'));
             const int n = s.Replace(u"a", u"bbbbbbbbbbbbbbbbb");
             return Show(n, static_cast<int>(s.GetLength()));
         }, "-1|1048576", "aaaa"},
        {"join", [&] {
             CStringArray items;
             for (int i = 0; i < 4; ++i) items.Add(CString());
             CString out;
             const CString separator(std::u16string(third, u','));
             CVek::Array2CString(out, items, separator);
             return Show(out);
         }, "", ",,,,"},
        {"encode", [] {
             CString s(std::u16string(CALC_MAX_TEXT_LENGTH / 9 + 1, u'\u4e2d'));
             const int n = CUtilityCalc::EncodeURI(s, 1);
             return Show(n, s);
         }, "0|", "\xE4\xB8\xAD"},
        {"encode Chinese", [] {
             CString s(std::u16string(CALC_MAX_TEXT_LENGTH / 9 + 1, u'\u4e2d'));
             CUtilityCalc::EncodeURI_Chinese(s);
             return Show(s);
         }, "", "\xE4\xB8\xAD"},
        {"date format", [] {
             const COleDateTime date(2024, 5, 6, 7, 8, 9);
             return Show(date.Format(CString(Many(u"%#c", CALC_MAX_TEXT_LENGTH / 20))));
         }, "", "%#c"},
    };
    for (const LimitCase& c : cases) {
        SCOPED_TRACE(c.name);
        CVek::Error(nullptr);
        std::string shown;
        EXPECT_NO_THROW(shown = c.run());
        EXPECT_EQ(shown, c.failed);
        const std::string error = CString(CVek::GetLastError()).ToUtf8();
        EXPECT_EQ(error.rfind("E1300:" + c.quoted, 0), 0u) << error;
        EXPECT_LE(error.size(), 6u + 3 * CALC_MAX_QUOTED_LENGTH);
    }
}

// Just inside the limit the same routines build their text.
TEST(ToolboxGuard, TextsUpToTheLimitAreBuilt) {
    CString repeated(u'x', CALC_MAX_TEXT_LENGTH);
    EXPECT_EQ(repeated.GetLength(), CALC_MAX_TEXT_LENGTH);
    CString s(std::u16string(1 << 20, u'a'));
    EXPECT_EQ(s.Replace(u"a", u"0123456789abcdef"), 1 << 20);
    EXPECT_EQ(s.GetLength(), CALC_MAX_TEXT_LENGTH);
}

}  // namespace
