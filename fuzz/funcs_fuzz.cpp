// The function manager with host items.  The input first describes up to
// eight host items (a control byte, then name, category and group pieces),
// then gives names to look up and call, with the pieces after each name as
// the call's arguments, and last a formula that a calculator on this manager
// runs.  Lookups must agree with each other and with the list, calls must
// return a documented status, and the listing by category (when bit 6 of the
// first byte asks for it) must end.
#include "fuzz_input.h"

#include <memory>

namespace {

constexpr int kBuiltins = 66;
constexpr int kMaxItems = 8;

// Echoes its arguments, so a call's result shows what it was given.
int Echo(CFuncPara* para, int argc) {
    para->m_strResult.Empty();
    for (int i = 0; i < argc; ++i) para->m_strResult += para->m_arrParas[i];
    return 1;
}

int Refuse(CFuncPara* para, int argc) {
    para->m_strResult = u"refused";
    return argc % 2 ? 0 : -1;
}

const int kCategories[] = {0, -1, 1006, 1007, 1008, 1009, 2000, 2001};
const uint8_t kKinds[] = {0, 1, 2, 3, 4, 6, 7, 255};

CFuncItem* MakeItem(uint8_t control, fuzzing::Input& in) {
    const CString name = in.Text();
    auto* item = new CFuncItem(name, 3000 + control, (control & 8) ? -1 : 3100 + control, kKinds[control >> 5]);
    item->m_nCategoryId = kCategories[(control >> 2) & 7];
    item->m_strCategory = in.Text();
    item->m_strGroup = in.Text();
    item->m_pfnCall = (control & 3) == 0 ? nullptr : (control & 3) == 1 ? Refuse : Echo;
    item->m_nFlags = (control >> 4) & 3;
    return item;
}

void RequireLookupsAgree(CFuncMnger& mnger, const CString& name) {
    const int index = mnger.Find(name);
    const int items = mnger.m_arrItems.GetSize();
    fuzzing::Require(index == -1 || (index >= 0 && index < kBuiltins) ||
                         (index >= CFuncMnger::kHostIndexBase && index < CFuncMnger::kHostIndexBase + items),
                     "Find gives a built-in, a host item or -1");
    CFuncItem* item = mnger.GetItem(name);
    if (index >= CFuncMnger::kHostIndexBase)
        fuzzing::Require(item == mnger.m_arrItems[index - CFuncMnger::kHostIndexBase], "Find and GetItem agree");
    if (item) fuzzing::Require(item->m_strName.CompareNoCase(name) == 0, "GetItem matches the name");
    CFuncItem info;
    const int known = mnger.GetFuncInfo(name, info);
    // GetFuncInfo trims the name where Find does not, so only a trimmed name
    // must be known to both.
    CString trimmed = name;
    if (index >= 0 && trimmed.Trim() == name) fuzzing::Require(known == 1, "a function Find knows has its info");
}

void CallAll(CFuncMnger& mnger, const CString& name, fuzzing::Input& in, int bCheck) {
    CFuncPara para;
    para.m_strFuncName = name;
    const int argc = in.Byte() % 4;
    for (int i = 0; i < argc; ++i) para.m_arrParas.Add(in.Text());
    const int status = mnger.Call(para, bCheck, -1);
    fuzzing::Require(status >= CALL_REFUSED && status <= CALL_OK, "Call returns a documented status");
    if (status == CALL_REFUSED) fuzzing::Require(bCheck && !mnger.m_bPermitRestricted, "only a check refuses");
}

void ListCategories(CFuncMnger& mnger) {
    for (int category = 0; category < 64; ++category) {
        CPtrArray listed;
        const int found = mnger.GetFuncsOfCategory(category, listed);
        for (int i = 0; i < listed.GetSize(); ++i) delete static_cast<CFuncItem*>(listed[i]);
        if (!found) return;
    }
    fuzzing::Require(false, "the categories of at most 74 functions number fewer than 64");
}

void RunFormula(CFuncMnger& mnger, const CString& formula) {
    std::unique_ptr<ICalc> calc(NewCalc(&mnger, nullptr));
    int errorPos = -1;
    std::unique_ptr<CCalcNode> root(calc->Compile(formula, &errorPos));
    if (!root) return;
    for (int round = 0; round < 64; ++round) {
        CString out;
        CCalcNode* pending = nullptr;
        const int code = calc->Calculate(root.get(), out, pending, 1, 0);
        if (code != CALC_NEED_NAME && code != CALC_NEED_FUNCTION) return;
        if (!calc->SetTermValue(root.get(), pending, u"'host'")) return;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzzing::InstallMessages();
    fuzzing::Input in(data, size);
    const uint8_t header = in.Byte();
    CFuncMnger mnger;
    mnger.m_bPermitRestricted = header & 1;
    const int count = (header >> 1) % (kMaxItems + 1);
    for (int i = 0; i < count; ++i) {
        CFuncItem* item = MakeItem(in.Byte(), in);
        fuzzing::Require(mnger.AddItem(item) == CFuncMnger::kHostIndexBase + i, "AddItem gives 1000 + position");
    }
    for (int query = 0; query < 8 && !in.Empty(); ++query) {
        const CString name = in.Text();
        RequireLookupsAgree(mnger, name);
        CallAll(mnger, name, in, (header >> 5) & 1);
    }
    for (int i = 0; i < mnger.m_arrItems.GetSize(); ++i)
        RequireLookupsAgree(mnger, static_cast<CFuncItem*>(mnger.m_arrItems[i])->m_strName);
    // Listing builds an item for every function; too slow to do every run.
    if (header & 0x40) ListCategories(mnger);
    RunFormula(mnger, in.Text());
    return 0;
}
