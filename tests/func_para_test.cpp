// The call record's result setters and number normalisation, and the
// catalogue item's construction and copy.
#include <qorcalc/func.h>

#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <vector>

namespace {

std::vector<std::string> Texts(const CStringArray& items) {
    std::vector<std::string> out;
    for (const CString& s : items) out.push_back(s.ToUtf8());
    return out;
}

TEST(CFuncPara, SetResult) {
    struct IntCase { int n; const char* want; } ints[] = {{-5, "-5"}, {INT_MAX, "2147483647"}, {INT_MIN, "-2147483648"}};
    for (const auto& c : ints) {
        CFuncPara para;
        para.SetResult(c.n);
        EXPECT_EQ(para.m_strResult.ToUtf8(), c.want);
    }
    struct DoubleCase { double d; const char* want; } doubles[] = {
        {2.50, "2.5"}, {100.0, "100"}, {-0.25, "-0.25"}, {1.0 / 3, "0.33333333"}, {0.0, "0"},
    };
    for (const auto& c : doubles) {
        CFuncPara para;
        para.m_strResult = u"stale";
        EXPECT_EQ(para.SetResult(c.d), 1);
        EXPECT_EQ(para.m_strResult.ToUtf8(), c.want) << c.d;
    }
}

TEST(CFuncPara, ResetDoubleString) {
    struct ResultCase { const char16_t* result; int status; const char* want; } results[] = {
        {u" 2.50 ", 1, "2.5"}, {u"-0.0", 1, "0"}, {u"", 1, ""}, {u"12abc", 0, "12abc"},
        {u"1234567890123456789.5", 0, "1234567890123456789.5"},  // 19 digits before the point
        // Already in number form: kept as it is, measured all the same.
        {u"-12.5", 1, "-12.5"}, {u"-0", 1, "0"}, {u"007", 1, "007"}, {u"123456789012345678", 1, "123456789012345678"},
        {u"-1234567890123456789", 0, "-1234567890123456789"},
    };
    for (const auto& c : results) {
        CFuncPara para;
        para.m_strResult = c.result;
        EXPECT_EQ(para.ResetDoubleString(0), c.status);
        EXPECT_EQ(para.m_strResult.ToUtf8(), c.want);
    }
    // Of the arguments: the failing one and every later one stay as they were.
    const char16_t* tooLong = u"12345678901234567890";
    struct ArgsCase { std::vector<const char16_t*> args; int status; std::vector<std::string> want; } cases[] = {
        {{}, 1, {}},
        {{u"1.0", u"2.50", u"7"}, 1, {"1", "2.5", "7"}},
        {{u"1.0", tooLong, u"2.50"}, 0, {"1", "12345678901234567890", "2.50"}},
        {{u"1.0", u"x"}, 0, {"1", "x"}},
        {{u"+5"}, 0, {"+5"}},
        {{u"1,000.50", u"1e3"}, 1, {"1,000.5", "1e3"}},
        {{u"1.50e10 ", u"-2.0E-3", u" "}, 1, {"1.5e10", "-2E-3", ""}},  // the exponent keeps its zeros
        {{u"1", u"-"}, 0, {"1", "-"}}, {{u"."}, 0, {"."}}, {{u"-e5"}, 0, {"-e5"}},  // no digit, no number
    };
    for (const auto& c : cases) {
        CFuncPara para;
        for (const char16_t* a : c.args) para.m_arrParas.Add(CString(a));
        para.m_strResult = u"3.0";
        EXPECT_EQ(para.ResetDoubleString(1), c.status);
        EXPECT_EQ(Texts(para.m_arrParas), c.want);
        EXPECT_EQ(para.m_strResult.ToUtf8(), "3.0");  // the result is not touched
    }
}

int FakeImpl(CFuncPara*, int) { return 1; }

// Every field of an item but the call pointer, joined by "|".
std::string Fields(const CFuncItem& i) {
    std::string out = i.m_strName.ToUtf8();
    for (uint32_t id : i.m_arrUsageIds.Items()) out += "|" + std::to_string(id);
    for (int64_t n : {int64_t{i.m_nDescId}, int64_t{i.m_nReturnKind}, i.m_nValue64, int64_t{i.m_nCategoryId},
                      int64_t{i.m_nValue32}, int64_t{i.m_nFlags}})
        out += "|" + std::to_string(n);
    for (const CString* t : {&i.m_strCategory, &i.m_strGroup, &i.m_strDesc, &i.m_strText1, &i.m_strText2})
        out += "|" + t->ToUtf8();
    for (const CString& u : i.m_arrUsage) out += "|" + u.ToUtf8();
    uint32_t extra = 0;
    return out + "|" + (i.m_mapExtra.Lookup(4, extra) ? std::to_string(extra) : "-");
}

TEST(CFuncItem, ConstructAndCopy) {
    EXPECT_EQ(Fields(CFuncItem(u"myFunc", 1200, -1, 6)), "myFunc|1200|6|0|0|0|0||||||-");
    EXPECT_EQ(Fields(CFuncItem(u"myFunc", 1200, 0, 6)), "myFunc|0|1200|6|0|0|0|0||||||-");
    EXPECT_TRUE(CFuncItem(nullptr, 0, -1, 0).m_strName.IsEmpty());

    CFuncItem from(u"f", 1201, 1300, 1);
    from.m_nValue64 = -(int64_t{1} << 40);
    from.m_nCategoryId = 1006;
    from.m_nValue32 = -3;
    from.m_pfnCall = FakeImpl;
    from.m_strCategory = u"cat";
    from.m_strGroup = u"grp";
    from.m_strDesc = u"desc";
    from.m_arrUsage.Add(CString(u"f(x)"));
    from.m_nFlags = FUNCFLAG_RESTRICTED | FUNCFLAG_EXEMPT;
    from.m_strText1 = u"t1";
    from.m_strText2 = u"t2";
    from.m_mapExtra.SetAt(4, 40);

    CFuncItem to(u"old", 1, 2, 3);
    to.m_arrUsage.Add(CString(u"old usage"));
    to.Copy(&from);
    EXPECT_EQ(Fields(to), "f|1300|1201|1|-1099511627776|1006|-3|3|cat|grp|desc|t1|t2|f(x)|40");
    EXPECT_EQ(to.m_pfnCall, &FakeImpl);
    to.Copy(nullptr);
    EXPECT_EQ(to.m_strName.ToUtf8(), "f");
}

}  // namespace
