// Module state: what every calculator of the process shares.  Plain data
// with no lock; the host sets it before it calculates.
#include <qorcalc/api.h>
#include <qorcalc/utility.h>
#include <qorcalc/vek.h>

#include <cstdlib>
#include <ctime>

namespace {

struct ModuleState {
    CString dateFormat{u"%Y.%m.%d"};
    CString dateTimeFormat{u"%Y.%m.%d %H:%M:%S"};
    ILggInterface* provider = nullptr;
    int chineseEnabled = 1;
    int complexEnabled = 1;
    int compareDecimals = -1;
};

ModuleState& State() {
    static ModuleState state;
    return state;
}

// Library attach: rand() serves the `rand` built-in and is seeded once.
const bool g_seeded = [] {
    std::srand(static_cast<unsigned>(std::time(nullptr)));
    return true;
}();

}  // namespace

void SetLggInterface(ILggInterface* provider) { State().provider = provider; }

const char16_t* GetLastErrorText() { return CVek::GetLastError(); }

void SetDateTimeFormat(const char16_t* format, int bDate) {
    (bDate ? State().dateFormat : State().dateTimeFormat) = format;
}

void GetDateTimeFormat(CString& out, int bDate) {
    out = bDate ? State().dateFormat : State().dateTimeFormat;
}

CString TimeToString(const COleDateTime& time, int bDate) {
    return time.Format(bDate ? State().dateFormat : State().dateTimeFormat);
}

int CUtilityCalc::Calc_IsChineseEnabled() { return State().chineseEnabled; }
void CUtilityCalc::Calc_EnableChinese(int enable) { State().chineseEnabled = enable; }
int CUtilityCalc::Calc_IsComplexEnabled() { return State().complexEnabled; }
void CUtilityCalc::Calc_EnableComplex(int enable) { State().complexEnabled = enable; }
int CUtilityCalc::Calc_GetCompareCalcDeclen() { return State().compareDecimals; }

int CUtilityCalc::Calc_SetCompareCalcDeclen(int decimals) {
    const int previous = State().compareDecimals;
    State().compareDecimals = decimals;
    return previous;
}

namespace qorcalc::detail {

CString MessageText(uint32_t id) {
    ILggInterface* provider = State().provider;
    if (provider) return CString(provider->GetText(id));
    // No catalogue yet: a text without "%s", so formatting keeps it as is.
    CString text;
    text.Format(u"error %u", id);
    return text;
}

void TranslateText(CString& text) {
    if (ILggInterface* provider = State().provider) provider->Translate(text);
}

CString FormatMessage(uint32_t id, const CString& argument) {
    CString text;
    text.Format(MessageText(id), argument);
    return text;
}

CString ReportMessage(uint32_t id, const CString& argument) {
    CString text = FormatMessage(id, argument);
    CVek::Error(text);
    return text;
}

}  // namespace qorcalc::detail
