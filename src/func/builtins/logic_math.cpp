// The logic and mathematics built-ins.
//
// Numeric members first normalise their arguments (CFuncPara::
// ResetDoubleString, which refuses "12abc", "x" and "+5" rather than reading
// them as 12 or 0) and compute in doubles.  A computation whose result is not
// finite (exp(1000), pow(-8, 0.5), an argument such as 1e999) gives status
// -1: the engine has no text for infinity or NaN.
#include "func/builtins/builtins.h"
#include "func/builtins/call_record.h"

#include <qorcalc/api.h>
#include <qorcalc/func.h>
#include <qorcalc/message_ids.h>
#include <qorcalc/utility.h>
#include <qorcalc/vek.h>
#include <qorcalc/window.h>

#include "func/invoke.h"
#include "func/script_hosts.h"
#include "support/text.h"

#include <algorithm>
#include <cmath>

namespace qorcalc::builtins {
namespace {

double Number(const CFuncPara* para, int i) { return CUtilityCalc::Str2Double(Arg(para, i)); }

// Rewrites every argument as a canonical number text; false when one is no
// number.
bool NormaliseArgs(CFuncPara* para) { return para->ResetDoubleString(1) != 0; }

// The result becomes the first argument as a canonical number text.
bool NormaliseFirstIntoResult(CFuncPara* para) {
    para->m_strResult = Arg(para, 0);
    return para->ResetDoubleString(0) != 0;
}

int SetNumber(CFuncPara* para, double value) {
    if (!std::isfinite(value)) return kBadValue;
    para->SetResult(value);
    return kOk;
}

// One normalised argument through `f`; values outside `inDomain` give -1.
int Unary(CFuncPara* para, int argc, double (*f)(double), bool (*inDomain)(double)) {
    if (argc != 1) return kWrongCount;
    if (!NormaliseArgs(para)) return kBadValue;
    const double x = Number(para, 0);
    if (!inDomain(x)) return kBadValue;
    return SetNumber(para, f(x));
}

bool Anywhere(double) { return true; }
bool Positive(double x) { return x > 0; }
bool NotNegative(double x) { return x >= 0; }

int Total(CFuncPara* para, int argc, double& total) {
    if (argc < 1) return kWrongCount;
    if (!NormaliseArgs(para)) return kBadValue;
    total = 0;
    for (int i = 0; i < argc; ++i) total += Number(para, i);
    return kOk;
}

// The normalised text of the argument that `better` prefers; on a tie the
// earliest stays, as only a strictly better value replaces it.
int Extreme(CFuncPara* para, int argc, bool (*better)(double, double)) {
    if (argc < 1) return kWrongCount;
    if (!NormaliseArgs(para)) return kBadValue;
    int best = 0;
    for (int i = 1; i < argc; ++i)
        if (better(Number(para, i), Number(para, best))) best = i;
    para->m_strResult = Arg(para, best);
    return kOk;
}

}  // namespace

int If(CFuncPara* para, int argc) {
    if (argc != 3) return kWrongCount;
    const CString& condition = Arg(para, 0);
    // A whole number reads by its leading digits; a fraction such as 0.5,
    // whose leading digits read 0, still counts when its value is not 0.
    const bool truth = support::wtoi64(condition) != 0 ||
                       (condition.Find(u'.') >= 0 && CUtilityCalc::Str2Double(condition) != 0);
    para->m_strResult = Arg(para, truth ? 1 : 2);
    return kOk;
}

int Js(CFuncPara* para, int argc) {
    if (argc < 1) return kWrongCount;
    // The host's window or script host is handed the record itself.
    func::KeepArguments(*para);
    if (para->m_hHostWnd && IsWindow(para->m_hHostWnd)) {
        // The host window fills the result while it handles the message.
        SendMessageW(para->m_hHostWnd, para->m_nHostMsg, reinterpret_cast<uintptr_t>(para), 0);
        return kOk;
    }
    // Only host data the host registered as a script host is called through.
    IScriptHost* host = func::RegisteredScriptHost(para->m_pHostData);
    if (!host) {
        para->m_strResult =
            detail::FormatMessage(CALC_MSG_NO_SCRIPT_HOST, func::CallText(para->m_strFuncName, para->m_arrParas));
        return kOwnText;
    }
    const CString script = Arg(para, 0);
    para->m_arrParas.RemoveAt(0);
    if (host->RunScript(script, para->m_arrParas, para->m_strResult)) return kOk;
    // The script failed: the host's text says why, or the script was bad.
    return para->m_strResult.IsEmpty() ? kBadValue : kOwnText;
}

int Abs(CFuncPara* para, int argc) {
    if (argc != 1) return kWrongCount;
    // Textual on purpose: the sign is dropped whatever follows it.
    CString text = Arg(para, 0);
    text.TrimLeft(u' ');
    if (text.GetAt(0) == u'-') {
        text.Delete(0);
        text.TrimLeft(u' ');
    }
    para->m_strResult = text;
    return kOk;
}

int Sum(CFuncPara* para, int argc) {
    double total = 0;
    const int status = Total(para, argc, total);
    return status == kOk ? SetNumber(para, total) : status;
}

int Average(CFuncPara* para, int argc) {
    double total = 0;
    const int status = Total(para, argc, total);
    return status == kOk ? SetNumber(para, total / argc) : status;
}

int Max(CFuncPara* para, int argc) {
    return Extreme(para, argc, [](double a, double b) { return a > b; });
}

int Min(CFuncPara* para, int argc) {
    return Extreme(para, argc, [](double a, double b) { return a < b; });
}

int Ceil(CFuncPara* para, int argc) {
    return Unary(para, argc, [](double x) { return std::ceil(x); }, Anywhere);
}
int Floor(CFuncPara* para, int argc) {
    return Unary(para, argc, [](double x) { return std::floor(x); }, Anywhere);
}
int Exp(CFuncPara* para, int argc) {
    return Unary(para, argc, [](double x) { return std::exp(x); }, Anywhere);
}
int Log(CFuncPara* para, int argc) {
    return Unary(para, argc, [](double x) { return std::log(x); }, Positive);
}
int Log10(CFuncPara* para, int argc) {
    return Unary(para, argc, [](double x) { return std::log10(x); }, Positive);
}
int Sqrt(CFuncPara* para, int argc) {
    return Unary(para, argc, [](double x) { return std::sqrt(x); }, NotNegative);
}

int Pow(CFuncPara* para, int argc) {
    if (argc != 2) return kWrongCount;
    if (!NormaliseArgs(para)) return kBadValue;
    const double exponent = Number(para, 1);
    // Negative exponents are refused on purpose, whatever the base.
    if (exponent < 0) return kBadValue;
    return SetNumber(para, std::pow(Number(para, 0), exponent));
}

int Mod(CFuncPara* para, int argc) {
    if (argc != 2) return kWrongCount;
    if (!NormaliseArgs(para)) return kBadValue;
    const double a = Number(para, 0);
    const double b = Number(para, 1);
    if (b == 0) {
        para->m_strResult = Arg(para, 0);
        return kOk;
    }
    const double q = a / b;
    // The quotient is truncated, then lowered by one when negative: the
    // decrement for an exact negative quotient is intended, so mod(-6, 3) is
    // 3.  Truncating in double keeps quotients beyond 32 bits meaningful.
    double n = std::trunc(q);
    if (q < 0) n -= 1;
    return SetNumber(para, a - n * b);
}

int Int(CFuncPara* para, int argc) {
    if (argc != 1) return kWrongCount;
    if (!NormaliseFirstIntoResult(para)) return kBadValue;
    CString whole, fraction;
    if (!CVek::GetLeftRight(para->m_strResult, u".", whole, fraction)) return kOk;
    if (whole.IsEmpty())
        para->m_strResult = u"0";
    else if (whole.GetAt(0) == u'-')
        // Toward minus infinity.  Normalisation allows at most 18 characters
        // before the point, so the decrement cannot overflow.
        CUtilityCalc::Int64Str(para->m_strResult, CUtilityCalc::Str2Int64(whole) - 1);
    else
        para->m_strResult = whole;
    return kOk;
}

int Round(CFuncPara* para, int argc) {
    if (argc != 2) return kWrongCount;
    if (!NormaliseFirstIntoResult(para)) return kBadValue;
    const int digits = CUtilityCalc::Str2Int(Arg(para, 1));
    if (digits < 0 || digits > 9) return kBadValue;
    CUtilityCalc::RoundStr(para->m_strResult, digits);
    return kOk;
}

int Percent(CFuncPara* para, int argc) {
    if (argc < 1) return kWrongCount;
    const double value = CUtilityCalc::Str2Double(Arg(para, 0)) * 100;
    if (!std::isfinite(value)) return kBadValue;
    const int digits = argc > 1 ? std::clamp(CUtilityCalc::Str2Int(Arg(para, 1)), 0, 7) : 0;
    CUtilityCalc::Double2Str(para->m_strResult, value, digits);
    para->m_strResult += u'%';
    return kOk;
}

int Rand(CFuncPara* para, int argc) {
    if (argc != 0) return kWrongCount;
    para->SetResult(CUtilityCalc::C0_99());
    return kOk;
}

int SumDim(CFuncPara* para, int argc) {
    if (argc < 1) return kWrongCount;
    if (CUtilityCalc::SumDim(para->m_strResult, para->m_arrParas) < 0) return TextTooLong(para);
    return kOk;
}

}  // namespace qorcalc::builtins
