// The calculator hosts receive from NewCalc: CCalc behind the one guard that
// keeps every failure inside the engine.
//
// Each ICalc operation runs inside qorcalc::detail::Guarded: an exhausted
// memory, a limit passed where no failure return exists, or any other
// exception becomes the operation's failure value, a message id and a last
// error, never an exception in the host.  An engine-level failure (a limit,
// memory, an internal fault) outranks the function failure (1072) that the
// calculator reports around it, so the error code names the cause.
#include <qorcalc/api.h>
#include <qorcalc/vek.h>

#include <new>
#include <string>

#include "api/engine_failure.h"
#include "calc/calculator.h"

namespace qorcalc::calc {
namespace {

class CGuardedCalc final : public ICalc {
public:
    CGuardedCalc(CFuncMnger* mnger, void* hostData) : m_calc(mnger, hostData) {}

    CFuncMnger* GetFuncMnger() override {
        return Run(u"GetFuncMnger", static_cast<CFuncMnger*>(nullptr), [&] { return m_calc.GetFuncMnger(); });
    }

    CCalcNode* Compile(const char16_t* text, int* errorPos) override {
        return Run(u"Compile", static_cast<CCalcNode*>(nullptr), [&]() -> CCalcNode* {
            const size_t length = text ? std::char_traits<char16_t>::length(text) : 0;
            if (length <= static_cast<size_t>(CALC_MAX_FORMULA_LENGTH)) return m_calc.Compile(text, errorPos);
            // Quote only the beginning: the text is too long to copy whole.
            if (errorPos) *errorPos = CALC_MAX_FORMULA_LENGTH;
            detail::ReportMessage(CALC_MSG_FORMULA_TOO_LONG, CString(std::u16string_view(text, CALC_MAX_QUOTED_LENGTH + 1)));
            return nullptr;
        });
    }

    int SetTermValue(CCalcNode* root, CCalcNode* term, const CString& valueText) override {
        return Run(u"SetTermValue", 0, [&] {
            // An answer is a text value like any other, quoted or a formula.
            if (valueText.GetLength() > CALC_MAX_TEXT_LENGTH) {
                detail::ReportMessage(CALC_MSG_TEXT_TOO_LONG, valueText);
                return 0;
            }
            return m_calc.SetTermValue(root, term, valueText);
        });
    }

    int Calculate(CCalcNode* root, CString& out, CCalcNode*& pending, int bCheck, uint8_t format) override {
        return Run(u"Calculate", static_cast<int>(CALC_ERROR),
                   [&] { return m_calc.Calculate(root, out, pending, bCheck, format); });
    }

    void SetNames(ICalcNames* names) override { m_calc.SetNames(names); }

private:
    template <class Result, class Body>
    Result Run(const char16_t* where, Result failed, Body&& body) {
        CString text;
        // An earlier operation's failure is no concern of this one.
        if (detail::EngineFailurePending()) detail::TakeEngineFailure(text);
        const Result result = detail::Guarded(where, failed, body);
        m_nErrorCode = m_calc.GetLastErrorCode();
        if (!detail::EngineFailurePending()) return result;
        if (const uint32_t id = detail::TakeEngineFailure(text); id && result == failed) {
            m_nErrorCode = static_cast<int>(id);
            CVek::Error(text);
        }
        return result;
    }

    CCalc m_calc;
};

}  // namespace
}  // namespace qorcalc::calc

ICalc* NewCalc(CFuncMnger* funcMnger, void* hostData) {
    return new (std::nothrow) qorcalc::calc::CGuardedCalc(funcMnger, hostData);
}
