// Module state: what every calculator of the process shares.  Plain data
// with no lock; the host sets it before it calculates.
#include <qorcalc/api.h>
#include <qorcalc/utility.h>
#include <qorcalc/vek.h>

#include "api/engine_failure.h"

#include <cstdlib>
#include <new>
#include <ctime>

namespace {

struct ModuleState {
    CString dateFormat{u"%Y.%m.%d"};
    CString dateTimeFormat{u"%Y.%m.%d %H:%M:%S"};
    ILggInterface* provider = nullptr;
};

// The switches are read at nearly every step of a calculation: plain
// constant-initialised values, not members reached through the state's
// first-use guard.
struct ModuleSwitches {
    int chineseEnabled = 1;
    int complexEnabled = 1;
    int compareDecimals = -1;
};
constinit ModuleSwitches g_switches;

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

// Without memory for the new format the old one stays.
void SetDateTimeFormat(const char16_t* format, int bDate) {
    qorcalc::detail::ShieldedInto(u"SetDateTimeFormat", [&] {
        CString copy = format;
        (bDate ? State().dateFormat : State().dateTimeFormat).Str().swap(copy.Str());
    });
}

void GetDateTimeFormat(CString& out, int bDate) {
    qorcalc::detail::ShieldedInto(u"GetDateTimeFormat", [&] { out = bDate ? State().dateFormat : State().dateTimeFormat; }, out);
}

CString TimeToString(const COleDateTime& time, int bDate) {
    return time.Format(bDate ? State().dateFormat : State().dateTimeFormat);
}

int CUtilityCalc::Calc_IsChineseEnabled() { return g_switches.chineseEnabled; }
void CUtilityCalc::Calc_EnableChinese(int enable) { g_switches.chineseEnabled = enable; }
int CUtilityCalc::Calc_IsComplexEnabled() { return g_switches.complexEnabled; }
void CUtilityCalc::Calc_EnableComplex(int enable) { g_switches.complexEnabled = enable; }
int CUtilityCalc::Calc_GetCompareCalcDeclen() { return g_switches.compareDecimals; }

int CUtilityCalc::Calc_SetCompareCalcDeclen(int decimals) {
    const int previous = g_switches.compareDecimals;
    g_switches.compareDecimals = decimals;
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

// Whether t_engineFailure holds one: a plain flag, read without the
// initialisation check every access to the record itself goes through.
constinit thread_local bool t_engineFailed = false;
constinit thread_local int t_guardDepth = 0;

namespace {

struct EngineFailure {
    uint32_t id = 0;
    CString text;
};

thread_local EngineFailure t_engineFailure;

CString Quoted(const CString& text) {
    if (text.GetLength() <= CALC_MAX_QUOTED_LENGTH) return text;
    return text.Left(CALC_MAX_QUOTED_LENGTH - 3) + CString(u"...");
}

}  // namespace

bool IsEngineFailure(uint32_t id) {
    return id == CALC_MSG_TEXT_TOO_LONG || id == CALC_MSG_FORMULA_TOO_LONG || id == CALC_MSG_TREE_TOO_LARGE ||
           id == CALC_MSG_CONVERTED_TOO_LONG || id == CALC_MSG_OUT_OF_MEMORY || id == CALC_MSG_INTERNAL;
}

CString FormatMessage(uint32_t id, const CString& argument) {
    CString text;
    text.Format(MessageText(id), IsEngineFailure(id) ? Quoted(argument) : argument);
    return text;
}

CString ReportMessage(uint32_t id, const CString& argument) {
    CString text = FormatMessage(id, argument);
    CVek::Error(text);
    if (IsEngineFailure(id)) {
        t_engineFailure = {id, text};
        t_engineFailed = true;
    }
    return text;
}

void ReportCurrentException(const char16_t* where) noexcept {
    const GuardDepth depth;  // reporting's own failures come back here
    uint32_t id = CALC_MSG_INTERNAL;
    try {
        try {
            throw;
        } catch (const LimitExceeded& e) {
            ReportEngineFailure(e.id, e.text);
            return;
        } catch (const std::bad_alloc&) {
            id = CALC_MSG_OUT_OF_MEMORY;
        } catch (...) {
        }
        ReportEngineFailure(id, CString(where));
    } catch (...) {
        ReportEngineFailure(id, CString());
    }
}

void CheckTextLength(size_t length, std::u16string_view source) {
    if (length <= static_cast<size_t>(CALC_MAX_TEXT_LENGTH)) return;
    throw LimitExceeded{CALC_MSG_TEXT_TOO_LONG, CString(source.substr(0, CALC_MAX_QUOTED_LENGTH + 1))};
}

void ReportEngineFailure(uint32_t id, const CString& argument) noexcept {
    const GuardDepth depth;  // the toolbox routines it calls throw to the handlers below
    try {
        ReportMessage(id, argument);
        return;
    } catch (...) {
    }
    t_engineFailure.id = id;
    t_engineFailed = true;
    try {
        CString text;
        text.Format(u"error %u", id);
        CVek::Error(text);
        t_engineFailure.text = text;
    } catch (...) {
    }
}

uint32_t TakeEngineFailure(CString& text) {
    // Nothing pending, as nearly always: no copy, no fresh record.
    if (!t_engineFailed) {
        text.Empty();
        return 0;
    }
    const uint32_t id = t_engineFailure.id;
    text = t_engineFailure.text;
    t_engineFailure = EngineFailure();
    t_engineFailed = false;
    return id;
}

}  // namespace qorcalc::detail
