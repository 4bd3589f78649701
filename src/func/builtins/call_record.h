// What the built-ins share: the statuses, access
// to the argument texts of the call record, and the quoted text result.
#pragma once

#include <qorcalc/api.h>
#include <qorcalc/func.h>
#include <qorcalc/limits.h>
#include <qorcalc/message_ids.h>
#include <qorcalc/utility.h>

#include "func/invoke.h"

namespace qorcalc::builtins {

inline constexpr int kOk = 1;
inline constexpr int kWrongCount = 0;
inline constexpr int kBadValue = -1;
// Failure with the function's own text in the result.
inline constexpr int kOwnText = 2;

// Argument `i` of the call; the caller has checked the count.
inline const CString& Arg(const CFuncPara* para, int i) { return para->m_arrParas[i]; }

// Argument `i` read as a whole number, or `absent` when the call has fewer.
inline int IntArg(const CFuncPara* para, int argc, int i, int absent) {
    return i < argc ? CUtilityCalc::Str2Int(Arg(para, i)) : absent;
}

// Fails the call: its result would pass CALC_MAX_TEXT_LENGTH (message 1300
// with the call text).
inline int TextTooLong(CFuncPara* para) {
    para->m_strResult = detail::ReportMessage(CALC_MSG_TEXT_TOO_LONG, func::CallText(para->m_strFuncName, para->m_arrParas));
    return kOwnText;
}

// The result text put in formula quotes.
inline int QuoteResult(CFuncPara* para) {
    CUtilityCalc::Attach_Quotes(para->m_strResult);
    return kOk;
}

// The result becomes `text` in formula quotes.  It is copied over the
// result's own storage, which the call record keeps from call to call, so a
// result that fits costs no allocation.
inline int SetQuoted(CFuncPara* para, const CString& text) {
    para->m_strResult = text;
    return QuoteResult(para);
}

}  // namespace qorcalc::builtins
