#include <qorcalc/func.h>

#include <qorcalc/utility.h>

int CFuncPara::SetResult(double d) {
    CUtilityCalc::Double2Str(m_strResult, d, -1);
    CUtilityCalc::ResetDoubleString(m_strResult);
    return 1;
}

void CFuncPara::SetResult(int n) { m_strResult.Format(u"%d", n); }

namespace {

// Rewrites a number text in its canonical form.  0 for a text the number
// reader does not take whole ("12abc", "x", "+5"; the empty text reads as 0)
// or whose integer part is too long to keep as a number.
int NormaliseNumber(CString& text) {
    return CUtilityCalc::IsConvertAbleNumberString(text, 1) && CUtilityCalc::ResetDoubleString(text);
}

}  // namespace

int CFuncPara::ResetDoubleString(int bArgs) {
    if (!bArgs) return NormaliseNumber(m_strResult);
    for (CString& arg : m_arrParas) {
        // Normalised on a copy, so that an argument that fails stays as the
        // caller gave it.
        CString number = arg;
        if (!NormaliseNumber(number)) return 0;
        arg = number;
    }
    return 1;
}

CFuncItem::CFuncItem(const char16_t* name, int descId, int usageId, uint8_t kind)
    : m_nDescId(descId), m_nReturnKind(kind), m_strName(name) {
    if (usageId != -1) m_arrUsageIds.Add(static_cast<uint32_t>(usageId));
}

void CFuncItem::Copy(const CFuncItem* from) {
    if (from) *this = *from;
}
