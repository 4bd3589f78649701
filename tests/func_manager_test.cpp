// The function manager: the built-in catalogue, lookup, descriptions,
// calls and the listing by category, plus the one-time build under threads.
#include <qorcalc/func.h>
#include <qorcalc/vek.h>

#include "func/catalogue.h"
#include "test_provider.h"

#include <gtest/gtest.h>

#include <clocale>
#include <latch>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

std::string U8(const CString& s) { return s.ToUtf8(); }
CString W(const char* s) { return CString::FromUtf8(s); }
std::string Msg(int id) { return "E" + std::to_string(id) + ":%s"; }

// The catalogue as the host sees it; usage -1 means no usage line.
struct Row { const char* name; int category, desc, usage, kind; };
const Row kCatalogue[] = {
    {"abs", 1007, 1015, 1057, 6}, {"average", 1007, 1012, 1056, 6}, {"ceil", 1007, 1020, 1057, 2},
    {"chineseBankDate", 1008, 1111, 1113, 1}, {"chineseDate", 1008, 1114, 1113, 1}, {"chineseNum", 1008, 1037, 631, 1},
    {"compare", 1008, 1141, 1143, 2}, {"compareDate", 1009, 1054, 1059, 2}, {"dateAddDays", 1009, 1045, 1064, 4},
    {"dateAddHours", 1009, 1046, 1064, 3}, {"dateAddMinutes", 1009, 1047, 1064, 3}, {"dateAddMonths", 1009, 1044, 1064, 4},
    {"dateAddYears", 1009, 1043, 1064, 4}, {"dateDifDays", 1009, 1040, 1064, 2}, {"dateDifHours", 1009, 1041, 1064, 2},
    {"dateDifMinutes", 1009, 1042, 1064, 2}, {"dateDifMonths", 1009, 1039, 1064, 2}, {"dateDifYears", 1009, 1038, 1064, 2},
    {"encodeURI", 1008, 1146, 1057, 1}, {"encodeURIComponent", 1008, 1147, 1057, 1}, {"endWith", 1008, 1140, 1142, 2},
    {"englishNum", 1008, 1108, 1057, 1}, {"exp", 1007, 1022, 1057, 6}, {"firstDateOfMonth", 1009, 653, 1057, 3},
    {"firstDateOfSeason", 1009, 654, 1057, 3}, {"firstDateOfYear", 1009, 655, 1057, 3}, {"floor", 1007, 1019, 1057, 2},
    {"formatDate", 1008, 1110, 1112, 1}, {"formatNum", 1008, 1264, 1265, 1}, {"getDay", 1009, 1050, 1057, 2},
    {"getHour", 1009, 1051, 1057, 2}, {"getMinute", 1009, 1052, 1057, 2}, {"getMonth", 1009, 1049, 1057, 2},
    {"getYear", 1009, 1048, 1057, 2}, {"if", 1006, 1010, 1055, 0}, {"indexOf", 1008, 1119, 1120, 1},
    {"int", 1007, 1018, 1057, 2}, {"js", 1006, 1144, 1145, 1}, {"lastDateOfMonth", 1009, 656, 1057, 3},
    {"lastDateOfSeason", 1009, 657, 1057, 3}, {"lastDateOfYear", 1009, 658, 1057, 3}, {"left", 1008, 1029, 1061, 1},
    {"len", 1008, 1027, 1057, 2}, {"log", 1007, 1024, 1057, 6}, {"log10", 1007, 1025, 1057, 6},
    {"max", 1007, 1013, 1056, 6}, {"mid", 1008, 1033, 1062, 1}, {"min", 1007, 1014, 1056, 6},
    {"mod", 1007, 1017, 1059, 6}, {"now", 1009, 1053, 1065, 3}, {"percent", 1007, 1115, 1058, 6},
    {"pow", 1007, 1026, 1060, 6}, {"rand", 1007, 1023, -1, 6}, {"replace", 1008, 1035, 1063, 1},
    {"replaceAll", 1008, 1035, 1293, 1}, {"right", 1008, 1031, 1061, 1}, {"RMB", 1008, 1107, 1057, 1},
    {"round", 1007, 1016, 1058, 6}, {"sqrt", 1007, 1021, 1057, 6}, {"sum", 1007, 1011, 1056, 6},
    {"sumdim", 1007, 1295, 1056, 1}, {"toLowerCase", 1008, 1220, 1057, 1}, {"toUpperCase", 1008, 1219, 1057, 1},
    {"trim", 1008, 1244, 1247, 1}, {"trimLeft", 1008, 1245, 1247, 1}, {"trimRight", 1008, 1246, 1247, 1},
};
static_assert(std::size(kCatalogue) == 66);

// A host function: echoes its arguments joined by "|".
int Echo(CFuncPara* para, int argc) {
    for (int i = 0; i < argc; ++i) {
        if (i) para->m_strResult += u"|";
        para->m_strResult += para->m_arrParas[i];
    }
    return 1;
}

// A host function that fails with a text of its own.
int OwnFailure(CFuncPara* para, int) {
    para->m_strResult = u"own failure text";
    return 7;
}

// Rewrites and drops its arguments, then fails on them.
int RewriteThenFail(CFuncPara* para, int) {
    para->m_arrParas[0] = u"rewritten";
    para->m_arrParas.RemoveAt(1);
    return -1;
}

class FuncManager : public ::testing::Test {
protected:
    TestProvider provider;
    std::unique_ptr<CFuncMnger> mnger{CFuncMnger::NewFuncMnger()};

    CFuncItem* AddHost(const char* name, int categoryId = 0, const char* group = "", const char* category = "") {
        auto* item = new CFuncItem(W(name), 0, -1, 1);
        item->m_nCategoryId = categoryId;
        item->m_strGroup = W(group);
        item->m_strCategory = W(category);
        mnger->AddItem(item);
        return item;
    }

    std::string Call(const char* name, std::vector<const char16_t*> args, int index) {
        CFuncPara para;
        para.m_strFuncName = W(name);
        for (const char16_t* a : args) para.m_arrParas.Add(CString(a));
        EXPECT_EQ(mnger->Call(para, 0, index), 1) << name;
        return U8(para.m_strResult);
    }
};

TEST_F(FuncManager, CatalogueHoldsEveryBuiltInAsTabled) {
    for (int i = 0; i < 66; ++i) {
        const Row& row = kCatalogue[i];
        SCOPED_TRACE(row.name);
        EXPECT_EQ(mnger->Find(W(row.name)), i);
        CFuncItem info;
        ASSERT_EQ(mnger->GetFuncInfo(W(row.name), info), 1);
        EXPECT_EQ(U8(info.m_strName), row.name);
        EXPECT_EQ(info.m_nCategoryId, row.category);
        EXPECT_EQ(U8(info.m_strCategory), Msg(row.category));
        EXPECT_EQ(U8(info.m_strDesc), Msg(row.desc));
        EXPECT_EQ(info.m_nReturnKind, row.kind);
        ASSERT_EQ(info.m_arrUsage.GetSize(), row.usage < 0 ? 0 : 1);
        if (row.usage >= 0) {
            EXPECT_EQ(U8(info.m_arrUsage[0]), Msg(row.usage));
        }
    }
}

TEST_F(FuncManager, FindIgnoresCaseButDoesNotTrimAndBuiltInsWin) {
    CFuncItem* alpha = AddHost("alpha");
    CFuncItem* beta = AddHost("Beta");
    CFuncItem* sum = AddHost("sum");
    struct Case { const char* name; int want; } cases[] = {
        {"sum", 59}, {"SUM", 59}, {"Sum", 59}, {"rmb", 56}, {"LOG10", 44}, {"trimright", 65}, {"ALPHA", 1000},
        {"beta", 1001}, {" sum", -1}, {"sum ", -1}, {"", -1}, {"su", -1}, {"summ", -1}, {"\xC3\xA0", -1},
    };
    for (const auto& c : cases) EXPECT_EQ(mnger->Find(W(c.name)), c.want) << c.name;
    EXPECT_EQ(mnger->Find(nullptr), -1);
    EXPECT_EQ(mnger->GetItem(u"ALPHA"), alpha);
    EXPECT_EQ(mnger->GetItem(u"beta"), beta);
    EXPECT_EQ(mnger->GetItem(u"SUM"), sum);  // GetItem knows only host items
    EXPECT_EQ(mnger->GetItem(u"abs"), nullptr);
    EXPECT_EQ(mnger->GetItem(nullptr), nullptr);
    sum->m_pfnCall = Echo;
    EXPECT_EQ(Call("sum", {u"1", u"2"}, -1), "3");
}

// Host item names ignore the case of A..Z and nothing else, so the Turkish
// locale's dotted capital I (which lower-cases to "i") and its case pairs of
// other letters make no two different names match.
TEST_F(FuncManager, HostItemsMatchTheSameUnderATurkishLocale) {
    const std::string saved = std::setlocale(LC_ALL, nullptr);
    if (!std::setlocale(LC_ALL, "tr_TR.UTF-8")) GTEST_SKIP() << "no tr_TR.UTF-8 locale (scripts/setup.sh builds it)";
    CFuncItem* dotted = AddHost("d\xC4\xB0v");       // dİv
    CFuncItem* umlaut = AddHost("\xC3\x84rea");      // Ärea
    CFuncItem* plain = AddHost("Index");
    struct Case { const char* name; int find; CFuncItem* item; } cases[] = {
        {"div", -1, nullptr},          {"DIV", -1, nullptr},           {"d\xC4\xB0V", 1000, dotted},
        {"D\xC4\xB0v", 1000, dotted},  {"\xC3\xA4rea", -1, nullptr},   {"\xC3\x84REA", 1001, umlaut},
        {"index", 1002, plain},        {"INDEX", 1002, plain},         {"\xC4\xB0ndex", -1, nullptr},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(mnger->Find(W(c.name)), c.find) << c.name;
        EXPECT_EQ(mnger->GetItem(W(c.name)), c.item) << c.name;
        CFuncItem info;
        EXPECT_EQ(mnger->GetFuncInfo(W(c.name), info), c.item ? 1 : 0) << c.name;
    }
    std::setlocale(LC_ALL, saved.c_str());
}

TEST_F(FuncManager, GetFuncInfoTrimsAndTranslatesHostTexts) {
    CFuncItem probe;
    EXPECT_EQ(mnger->GetFuncInfo(u"  Round\t", probe), 1);
    EXPECT_EQ(U8(probe.m_strName), "round");
    EXPECT_EQ(mnger->GetFuncInfo(u"nothing", probe), 0);

    CFuncItem* own = AddHost("ownTexts", 0, "Group", "Mine");
    own->m_strDesc = u"does things";
    own->m_arrUsage.Add(u"own(x)");
    own->m_arrUsageIds.Add(1500);
    own->m_strText1 = u"one";
    own->m_strText2 = u"two";
    CFuncItem* ids = AddHost("withIds", 1400);
    ids->m_nDescId = 1401;
    ids->m_strDesc = u"ignored";

    CFuncItem info;
    ASSERT_EQ(mnger->GetFuncInfo(u" OWNTEXTS ", info), 1);
    EXPECT_EQ(U8(info.m_strName), "ownTexts");
    EXPECT_EQ(U8(info.m_strCategory), "T:Mine");
    EXPECT_EQ(U8(info.m_strDesc), "T:does things");
    ASSERT_EQ(info.m_arrUsage.GetSize(), 2);
    EXPECT_EQ(U8(info.m_arrUsage[0]), "T:own(x)");
    EXPECT_EQ(U8(info.m_arrUsage[1]), "T:" + Msg(1500));
    EXPECT_EQ(U8(info.m_strText1) + U8(info.m_strText2), "T:oneT:two");
    EXPECT_EQ(U8(own->m_strCategory), "Mine");  // the manager's own item is left as the host made it

    ASSERT_EQ(mnger->GetFuncInfo(u"withids", info), 1);
    EXPECT_EQ(U8(info.m_strCategory), Msg(1400));
    EXPECT_EQ(U8(info.m_strDesc), Msg(1401));
}

TEST(FuncMngerCall, Statuses) {
    TestProvider provider;
    struct Case {
        const char* name;
        uint32_t flags;
        PFN_CALCFUNC impl;
        int bCheck, permit, wantStatus;
        const char* wantResult;
        const char* wantError;
    } cases[] = {
        {"nosuch", 0, Echo, 0, 1, -1, "", "E1000:nosuch"},
        {"host", 0, nullptr, 0, 1, -1, "", ""},
        {"host", 1, Echo, 1, 0, -2, "", "before"},
        {"host", 1, Echo, 1, 1, 1, "'a|b'", "before"},
        {"host", 1, Echo, 0, 0, 1, "'a|b'", "before"},
        {"host", 3, Echo, 1, 0, 1, "'a|b'", "before"},  // exempt
        {"host", 2, Echo, 1, 0, 1, "'a|b'", "before"},
        {"host", 0, OwnFailure, 0, 1, 0, "", "own failure text"},
        // the failure quotes the arguments as handed over, unquoted
        {"host", 0, RewriteThenFail, 0, 1, 0, "", "E1004:host(a, b)"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(::testing::Message() << c.name << " flags " << c.flags << " check " << c.bCheck
                                          << " permit " << c.permit);
        CFuncMnger m;
        auto* item = new CFuncItem(u"host", 0, -1, 1);
        item->m_nFlags = c.flags;
        item->m_pfnCall = c.impl;
        m.AddItem(item);
        m.m_bPermitRestricted = c.permit;
        CVek::Error(u"before");
        CFuncPara para;
        para.m_strFuncName = W(c.name);
        para.m_strResult = u"stale";
        para.m_arrParas.Add(u"'a'");
        para.m_arrParas.Add(u"b");
        EXPECT_EQ(m.Call(para, c.bCheck, -1), c.wantStatus);
        EXPECT_EQ(U8(para.m_strResult), c.wantResult);
        EXPECT_EQ(U8(CVek::GetLastError()), c.wantError);
    }
}

// Every built-in runs, whatever the shape of its arguments: it succeeds, or
// fails with a message formatted with the call text (js, without a script
// host here, with 1304).
TEST_F(FuncManager, EveryBuiltInRunsOnArgumentsOfAnyShape) {
    const std::u16string letters(10000, u'x');
    const std::u16string separators(10000, u'-');
    const std::vector<std::vector<std::u16string>> shapes = {
        {}, {u""}, {letters}, {separators, separators}, {u"2014-03-05", u"-1", u"99999999999", separators},
    };
    for (int i = 0; i < qorcalc::func::kBuiltinCount; ++i) {
        const qorcalc::func::CatalogueEntry& e = qorcalc::func::BuiltinAt(i);
        ASSERT_NE(e.fn, nullptr) << U8(e.name);
        for (const auto& args : shapes) {
            CFuncPara para;
            para.m_strFuncName = e.name;
            for (const auto& a : args) para.m_arrParas.Add(CString(a));
            CVek::Error(u"");
            const int status = mnger->Call(para, 0, i);
            SCOPED_TRACE(U8(e.name) + " with " + std::to_string(args.size()) + " arguments");
            ASSERT_TRUE(status == 0 || status == 1) << status;
            if (status == 0) {
                const bool noScriptHost = U8(e.name) == "js" && !args.empty();
                EXPECT_EQ(U8(CVek::GetLastError()).substr(0, 4), noScriptHost ? "E130" : "E100");
            }
        }
    }
}

TEST_F(FuncManager, CallByIndexAndHostContext) {
    mnger->m_hHostWnd = reinterpret_cast<HWND>(0x1234);
    mnger->m_nHostMsg = 0x401;
    CFuncPara para;
    para.m_strFuncName = u"ignored";
    para.m_arrParas.Add(u"2");
    para.m_arrParas.Add(u"3");
    ASSERT_EQ(mnger->Call(para, 0, 59), 1);  // sum by index
    EXPECT_EQ(U8(para.m_strResult), "5");
    EXPECT_EQ(para.m_hHostWnd, reinterpret_cast<HWND>(0x1234));
    EXPECT_EQ(para.m_nHostMsg, 0x401u);
    // An index outside the catalogue is looked up by name.
    EXPECT_EQ(Call("MAX", {u"2", u"3"}, 500), "3");
}

std::vector<std::string> Listing(CFuncMnger& m, int category, int& ok) {
    CPtrArray out;
    ok = m.GetFuncsOfCategory(category, out);
    std::vector<std::string> names;
    for (void* p : out) {
        auto* item = static_cast<CFuncItem*>(p);
        names.push_back(U8(item->m_strName));
        delete item;
    }
    return names;
}

TEST_F(FuncManager, ListingNumbersHostCategoriesAfterTheBuiltIns) {
    int ok = 0;
    const std::vector<std::string> math = Listing(*mnger, 1, ok);
    EXPECT_EQ(math.size(), 18u);
    EXPECT_EQ(math.front(), "abs");
    EXPECT_EQ(Listing(*mnger, 2, ok).size(), 23u);
    EXPECT_EQ(Listing(*mnger, 3, ok).size(), 23u);
    EXPECT_TRUE(Listing(*mnger, 4, ok).empty());
    EXPECT_EQ(ok, 0);
    EXPECT_TRUE(Listing(*mnger, -1, ok).empty());
    EXPECT_EQ(ok, 0);

    AddHost("extraMath", 1007);
    AddHost("early", 1001);
    AddHost("late", 1500);
    AddHost("named1", 0, "G", "Cat");
    AddHost("named2", 0, "g", "CAT");  // same category ignoring case, but listed only exactly
    AddHost("other", -5, "H", "X");
    AddHost("named3", 0, "G", "Cat");
    struct Case { int number; std::vector<std::string> want; } cases[] = {
        {0, {"early"}}, {1, {"if", "js"}}, {6, {"named1", "named3"}}, {7, {"other"}}, {5, {"late"}},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(Listing(*mnger, c.number, ok), c.want) << c.number;
        EXPECT_EQ(ok, 1);
    }
    const std::vector<std::string> withHost = Listing(*mnger, 2, ok);
    EXPECT_EQ(withHost.size(), 19u);
    EXPECT_EQ(withHost.back(), "extraMath");
    EXPECT_TRUE(Listing(*mnger, 8, ok).empty());
    EXPECT_EQ(ok, 0);
}

TEST(FuncCatalogue, BuiltOnceWhenManagersStartTogether) {
    TestProvider provider;
    constexpr int kThreads = 8;
    std::latch start(kThreads);
    std::vector<int> found(kThreads, -2);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            start.arrive_and_wait();
            for (int round = 0; round < 20; ++round) {
                std::unique_ptr<CFuncMnger> m(CFuncMnger::NewFuncMnger());
                found[static_cast<size_t>(t)] = m->Find(u"trimLeft") + m->Find(u"ABS");
            }
        });
    }
    for (auto& th : threads) th.join();
    EXPECT_EQ(qorcalc::func::CatalogueBuildCount(), 1);
    for (int f : found) EXPECT_EQ(f, 64);
}

}  // namespace
