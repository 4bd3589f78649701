// Calls a built-in as the calculator does, through CFuncMnger::Call on a
// call record, and checks the outcome against a table row: the result as
// the invocation leaves it (quoted by the function's return kind), or the
// failure text "E<id>:<call text>" of the test provider.
#pragma once

#include <qorcalc/func.h>
#include <qorcalc/vek.h>

#include "test_provider.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

struct BuiltinCase {
    const char* name;
    std::vector<const char*> args;
    const char* want;  // the result, or "E1003:..." / "E1004:..." for a failure
};

class BuiltinCall : public ::testing::Test {
protected:
    struct Outcome {
        int status;
        std::string result;
        std::string error;
    };

    Outcome Run(const char* name, const std::vector<const char*>& args, void* hostData = nullptr) {
        CFuncPara para;
        para.m_strFuncName = CString::FromUtf8(name);
        for (const char* a : args) para.m_arrParas.Add(CString::FromUtf8(a));
        para.m_pHostData = hostData;
        CVek::Error(u"");
        const int status = mnger->Call(para, 1, -1);
        return {status, para.m_strResult.ToUtf8(), CString(CVek::GetLastError()).ToUtf8()};
    }

    void Check(const BuiltinCase& c) {
        std::string call = c.name;
        for (const char* a : c.args) call += std::string(" [") + a + "]";
        SCOPED_TRACE(call);
        const Outcome got = Run(c.name, c.args);
        const bool fails = std::string_view(c.want).starts_with("E100");
        EXPECT_EQ(got.status, fails ? 0 : 1);
        EXPECT_EQ(fails ? got.error : got.result, c.want);
        if (fails) {
            EXPECT_EQ(got.result, "");
        }
    }

    void CheckAll(const std::vector<BuiltinCase>& cases) {
        for (const auto& c : cases) Check(c);
    }

    TestProvider provider;
    std::unique_ptr<CFuncMnger> mnger{CFuncMnger::NewFuncMnger()};
};
