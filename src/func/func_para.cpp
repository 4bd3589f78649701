#include <qorcalc/api.h>
#include <qorcalc/func.h>

#include <qorcalc/utility.h>

#include "func/invoke.h"
#include "util/number_form.h"

using qorcalc::detail::Shielded;
using qorcalc::detail::ShieldedInto;

int CFuncPara::SetResult(double d) {
    return Shielded(u"CFuncPara::SetResult", 0, [&]() -> int {
        CUtilityCalc::Double2Str(m_strResult, d, -1);
        CUtilityCalc::ResetDoubleString(m_strResult);
        return 1;
    }, m_strResult);
}

void CFuncPara::SetResult(int n) { CUtilityCalc::Int64Str(m_strResult, n); }

namespace {

// Rewrites a text that is not in number form (MeasureNumberForm gave -1) in
// its canonical form.  0 for a text the number reader does not take whole
// ("12abc", "x", "+5"), for one without a digit before its exponent ("-",
// "."; a blank text reads as 0), or whose integer part is too long to keep
// as a number.  Only the mantissa of a number with an exponent is
// rewritten: the zeros of 1.50e10 belong to the exponent.
int RewriteNumber(CString& text) {
    if (!CUtilityCalc::IsConvertAbleNumberString(text, 1)) return 0;
    const int exponent = text.FindOneOf(u"eE");
    CString mantissa = exponent < 0 ? text : text.Left(exponent);
    CString blank = text;
    if (mantissa.FindOneOf(u"0123456789") < 0 && !blank.Trim().IsEmpty()) return 0;
    if (!CUtilityCalc::ResetDoubleString(mantissa)) return 0;
    text = exponent < 0 ? mantissa : mantissa + text.Mid(exponent).TrimRight();
    return 1;
}

// A text already in number form stays as it is; only its length counts.
int NormaliseNumber(CString& text) {
    const int fits = qorcalc::util::MeasureNumberForm(text.Str());
    return fits >= 0 ? fits : RewriteNumber(text);
}

}  // namespace

int CFuncPara::ResetDoubleString(int bArgs) {
    return Shielded(u"CFuncPara::ResetDoubleString", 0, [&]() -> int {
        if (!bArgs) return NormaliseNumber(m_strResult);
        for (CString& arg : m_arrParas) {
            // Most arguments are in number form already: they are neither
            // copied nor kept, as nothing of them changes.
            if (const int fits = qorcalc::util::MeasureNumberForm(arg.Str()); fits >= 0) {
                if (!fits) return 0;
                continue;
            }
            // The call this record is for fails with its arguments as given,
            // kept before the first of them changes.
            qorcalc::func::KeepArguments(*this);
            // Rewritten on a copy, so that an argument that fails stays as
            // the caller gave it.
            CString number = arg;
            if (!RewriteNumber(number)) return 0;
            arg = number;
        }
        return 1;
    });
}

CFuncItem::CFuncItem(const char16_t* name, int descId, int usageId, uint8_t kind)
    : m_nDescId(descId), m_nReturnKind(kind), m_strName(name) {
    if (usageId != -1)
        ShieldedInto(u"CFuncItem", [&] { m_arrUsageIds.Add(static_cast<uint32_t>(usageId)); }, m_arrUsageIds);
}

// A copy that runs out of memory leaves a default item, not half of one.
void CFuncItem::Copy(const CFuncItem* from) {
    if (from && !Shielded(u"CFuncItem::Copy", false, [&] { return *this = *from, true; })) *this = CFuncItem();
}
