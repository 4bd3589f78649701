// Module state shared by every calculator: date formats, switches, the
// provider and the last error.
#include <qorcalc/qorcalc.h>

#include <gtest/gtest.h>

#include <memory>
#include <thread>
#include <vector>

#include "test_provider.h"

namespace {

std::string U8(const CString& s) { return s.ToUtf8(); }

TEST(ModuleState, DateFormatsStartAtTheirDefaultsAndChangeIndependently) {
    CString date, dateTime;
    GetDateTimeFormat(date, 1);
    GetDateTimeFormat(dateTime, 0);
    EXPECT_EQ(U8(date), "%Y.%m.%d");
    EXPECT_EQ(U8(dateTime), "%Y.%m.%d %H:%M:%S");

    SetDateTimeFormat(u"%d/%m/%Y", 7);  // any non-zero flag selects the date format
    CString got;
    GetDateTimeFormat(got, 1);
    EXPECT_EQ(U8(got), "%d/%m/%Y");
    GetDateTimeFormat(got, 0);
    EXPECT_EQ(U8(got), "%Y.%m.%d %H:%M:%S");
    SetDateTimeFormat(date, 1);
}

TEST(ModuleState, SwitchesStartOnAndCompareDecimalsReturnsThePreviousValue) {
    EXPECT_EQ(CUtilityCalc::Calc_IsChineseEnabled(), 1);
    EXPECT_EQ(CUtilityCalc::Calc_IsComplexEnabled(), 1);
    EXPECT_EQ(CUtilityCalc::Calc_SetCompareCalcDeclen(5), -1);
    EXPECT_EQ(CUtilityCalc::Calc_SetCompareCalcDeclen(-1), 5);
    EXPECT_EQ(CUtilityCalc::Calc_GetCompareCalcDeclen(), -1);
    CUtilityCalc::Calc_EnableComplex(0);
    EXPECT_EQ(CUtilityCalc::Calc_IsComplexEnabled(), 0);
    CUtilityCalc::Calc_EnableComplex(1);
}

TEST(ModuleState, ReportedMessagesAreFormattedAndBecomeTheLastError) {
    TestProvider provider;
    const CString text = qorcalc::detail::ReportMessage(1003, CString(u"sum(1, x)"));
    EXPECT_EQ(U8(text), "E1003:sum(1, x)");
    EXPECT_EQ(U8(CString(GetLastErrorText())), "E1003:sum(1, x)");
    CVek::Error(nullptr);
    EXPECT_EQ(U8(CString(GetLastErrorText())), "");
}

TEST(ModuleState, WithoutAProviderFailuresRecordTheBareId) {
    SetLggInterface(nullptr);  // legal, and the state before any provider
    std::unique_ptr<ICalc> calc(NewCalc(nullptr, nullptr));
    struct Case {
        const char* formula;
        const char* wantText;
        int wantCode;
    };
    for (const Case& c : std::vector<Case>{{"1+", "error 1003", 0}, {"sum()", "error 1072", 1072}, {"js('x')", "error 1072", 1072}}) {
        SCOPED_TRACE(c.formula);
        int pos = -1;
        std::unique_ptr<CCalcNode> root(calc->Compile(CString::FromUtf8(c.formula), &pos));
        if (root) {
            CString out;
            CCalcNode* pending = nullptr;
            EXPECT_EQ(calc->Calculate(root.get(), out, pending, 0, 0), CALC_ERROR);
            EXPECT_EQ(calc->GetLastErrorCode(), c.wantCode);
        }
        EXPECT_EQ(U8(CString(GetLastErrorText())), c.wantText);
    }
    CFuncItem info;
    ASSERT_TRUE(calc->GetFuncMnger()->GetFuncInfo(u"abs", info));
    EXPECT_EQ(U8(info.m_strCategory), "error 1007");
    CVek::Error(nullptr);
}

TEST(ModuleState, LastErrorIsKeptPerThread) {
    CVek::Error(u"main thread");
    std::thread other([] {
        EXPECT_EQ(U8(CString(CVek::GetLastError())), "");
        CVek::Error(u"other thread");
    });
    other.join();
    EXPECT_EQ(U8(CString(CVek::GetLastError())), "main thread");
    CVek::Error(nullptr);
}

}  // namespace
