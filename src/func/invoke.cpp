#include "func/invoke.h"

#include <qorcalc/api.h>
#include <qorcalc/limits.h>
#include <qorcalc/message_ids.h>
#include <qorcalc/utility.h>
#include <qorcalc/vek.h>

#include <optional>

#include "support/thread_spare.h"
#include "util/quotes.h"

namespace qorcalc::func {

CString CallText(const CString& name, const CStringArray& args) {
    CString joined;
    CVek::Array2CString(joined, args, u", ");
    CString text;
    text.Format(u"%s(%s)", name, joined);
    return text;
}

namespace {

// Return kinds whose results are always text: text, date and time, date.
bool IsQuotedKind(uint8_t kind) { return kind == 1 || kind == 3 || kind == 4; }

void ReportFailure(CFuncPara& para, int status, const CStringArray& args) {
    if (status == 0 || status == -1) {
        const uint32_t id = status == 0 ? kMsgWrongArgCount : kMsgBadArgValue;
        detail::ReportMessage(id, CallText(para.m_strFuncName, args));
    } else {
        // The function left its own text.
        CVek::Error(para.m_strResult);
    }
    para.m_strResult.Empty();
}

// The arguments of the innermost call running on this thread, once they are
// kept: a copy made only when the function is about to change them (or
// before a host's function runs), in storage the thread keeps between
// calls.  A function that calculates again (a host's, or a script) runs
// calls of its own, each with its own record here.
class CKeptArguments {
public:
    CKeptArguments() : m_pOuter(t_pInnermost) { t_pInnermost = this; }
    ~CKeptArguments() { t_pInnermost = m_pOuter; }
    CKeptArguments(const CKeptArguments&) = delete;
    CKeptArguments& operator=(const CKeptArguments&) = delete;

    static CKeptArguments* Innermost() { return t_pInnermost; }
    void Keep(const CFuncPara& para) {
        if (m_kept) return;
        m_kept.emplace();
        (*m_kept)->Copy(para.m_arrParas);
    }
    // The arguments as handed over to the function.
    const CStringArray& Of(const CFuncPara& para) { return m_kept ? **m_kept : para.m_arrParas; }

private:
    static thread_local CKeptArguments* t_pInnermost;
    CKeptArguments* m_pOuter;
    std::optional<support::CThreadSpare<CStringArray, support::CShortTexts>> m_kept;
};

thread_local CKeptArguments* CKeptArguments::t_pInnermost = nullptr;

}  // namespace

void KeepArguments(const CFuncPara& para) {
    if (CKeptArguments* kept = CKeptArguments::Innermost()) kept->Keep(para);
}

int Invoke(CFuncPara& para, PFN_CALCFUNC fn, uint8_t kind, ArgumentKeeping keeping, bool* text) {
    for (CString& arg : para.m_arrParas) util::Unquote(arg);
    CKeptArguments kept;
    if (keeping == ArgumentKeeping::Before) kept.Keep(para);
    int status = fn(&para, para.m_arrParas.GetSize());
    const CStringArray& args = kept.Of(para);
    // Results made by the host (its items, js) are not measured before they
    // are built; none enters a tree past the limit (two more characters for
    // the quotes a text result may already carry).
    if (status == 1 && para.m_strResult.GetLength() > CALC_MAX_TEXT_LENGTH + 2) {
        para.m_strResult = detail::ReportMessage(CALC_MSG_TEXT_TOO_LONG, CallText(para.m_strFuncName, args));
        status = 2;
    }
    if (status != 1) {
        ReportFailure(para, status, args);
        return 0;
    }
    if (text) *text = false;
    if (para.m_strResult.IsEmpty()) return 1;
    if (IsQuotedKind(kind) || !CUtilityCalc::IsPureNumber(para.m_strResult, 0)) {
        if (text) *text = true;
        else CUtilityCalc::Attach_Quotes(para.m_strResult);
    }
    return 1;
}

}  // namespace qorcalc::func
