// libqorcalc.so loaded the way a host loads it: dlopen, then each C entry
// point looked up by its plain name.
#include <qorcalc/qorcalc.h>

#include <gtest/gtest.h>

#include <dlfcn.h>

#include <memory>

namespace {

class SharedLibrary : public ::testing::Test {
protected:
    void SetUp() override {
        m_lib = dlopen(QORCALC_SHARED_LIBRARY, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(m_lib, nullptr) << dlerror();
    }
    void TearDown() override {
        if (m_lib) dlclose(m_lib);
    }

    template <class Fn>
    Fn* Entry(const char* name) {
        return reinterpret_cast<Fn*>(dlsym(m_lib, name));
    }

    void* m_lib = nullptr;
};

TEST_F(SharedLibrary, EveryCEntryPointIsFoundByItsPlainName) {
    for (const char* name :
         {"NewCalc", "SetLggInterface", "GetLastErrorText", "SetDateTimeFormat", "GetDateTimeFormat", "TimeToString"})
        EXPECT_NE(dlsym(m_lib, name), nullptr) << name << " is not exported by its plain name";
}

// The entry points found by name work on the loaded library's own state.
TEST_F(SharedLibrary, EntryPointsFoundByNameWork) {
    auto* setFormat = Entry<void(const char16_t*, int)>("SetDateTimeFormat");
    auto* getFormat = Entry<void(CString&, int)>("GetDateTimeFormat");
    auto* timeToString = Entry<CString(const COleDateTime&, int)>("TimeToString");
    auto* newCalc = Entry<ICalc*(CFuncMnger*, void*)>("NewCalc");
    ASSERT_TRUE(setFormat && getFormat && timeToString && newCalc);

    const COleDateTime leapDay(2024, 2, 29, 13, 5, 9);
    EXPECT_EQ(timeToString(leapDay, 0).ToUtf8(), "2024.02.29 13:05:09");
    setFormat(u"%d/%m/%Y", 7);
    CString format;
    getFormat(format, 1);
    EXPECT_EQ(format.ToUtf8(), "%d/%m/%Y");
    EXPECT_EQ(timeToString(leapDay, 1).ToUtf8(), "29/02/2024");
    EXPECT_EQ(timeToString(COleDateTime(), 1).ToUtf8(), "30/12/1899");
    setFormat(u"%Y.%m.%d", 1);

    std::unique_ptr<ICalc> calc(newCalc(nullptr, nullptr));
    ASSERT_TRUE(calc);
    int pos = -1;
    std::unique_ptr<CCalcNode> root(calc->Compile(u"1+2*3", &pos));
    ASSERT_TRUE(root);
    CString out;
    CCalcNode* pending = nullptr;
    EXPECT_EQ(calc->Calculate(root.get(), out, pending, 0, 0), CALC_DONE);
    root->GetText(out, 0);
    EXPECT_EQ(out.ToUtf8(), "7");
}

}  // namespace
