#include <qorcalc/func.h>

#include <qorcalc/utility.h>

int CFuncPara::SetResult(double d) {
    CUtilityCalc::Double2Str(m_strResult, d, -1);
    CUtilityCalc::ResetDoubleString(m_strResult);
    return 1;
}

void CFuncPara::SetResult(int n) { m_strResult.Format(u"%d", n); }

int CFuncPara::ResetDoubleString(int bArgs) {
    if (!bArgs) return CUtilityCalc::ResetDoubleString(m_strResult);
    for (CString& arg : m_arrParas) {
        // Normalised on a copy, so that an argument that fails stays as the
        // caller gave it.
        CString number = arg;
        if (!CUtilityCalc::ResetDoubleString(number)) return 0;
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
