#include "func/invoke.h"

#include <qorcalc/api.h>
#include <qorcalc/limits.h>
#include <qorcalc/message_ids.h>
#include <qorcalc/utility.h>
#include <qorcalc/vek.h>

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

}  // namespace

int Invoke(CFuncPara& para, PFN_CALCFUNC fn, uint8_t kind, bool* text) {
    for (CString& arg : para.m_arrParas) util::Unquote(arg);
    // Functions may rewrite or remove their arguments; a failure is reported
    // with the arguments as they were handed over; the copy is kept between
    // calls, so the next arguments reuse its storage.
    support::CThreadSpare<CStringArray, support::CShortTexts> handedOver;
    handedOver->Copy(para.m_arrParas);
    const CStringArray& args = *handedOver;
    int status = fn(&para, args.GetSize());
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
