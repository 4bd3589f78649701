// CCalc: the one calculator behind ICalc.
//
// Invariants: the calculator owns the function manager only when it made it
// itself (m_bOwnsMnger); a tree's progress lives in the tree, so Calculate
// can stop for the host and be called again on the same root.
#pragma once

#include <qorcalc/calc.h>
#include <qorcalc/node.h>

namespace qorcalc::calc {

constexpr uint32_t kMsgFunctionFailed = 1072;

// Spaces "&&" and "||" outside quotes, so that the converter sees them as
// words of their own: a||b&&c becomes a || b && c.
void SpaceLogicalOperators(CString& text);

class CCalc final : public ICalc {
public:
    CCalc(CFuncMnger* mnger, void* hostData) : m_pHostData(hostData), m_pFuncMnger(mnger) {}
    ~CCalc() override;
    CCalc(const CCalc&) = delete;
    CCalc& operator=(const CCalc&) = delete;

    CFuncMnger* GetFuncMnger() override;
    CCalcNode* Compile(const char16_t* text, int* errorPos) override;
    int SetTermValue(CCalcNode* root, CCalcNode* term, const CString& valueText) override;
    int Calculate(CCalcNode* root, CString& out, CCalcNode*& pending, int bCheck, uint8_t format) override;

private:
    // Rebuilds `root` from `text`; shared by Compile and SetTermValue.
    int Parse(CCalcNode* root, CString text, int& errorPos);
    // One function step of Calculate; returns a result code, or -2 to go on.
    int CallFunction(CCalcNode* root, CCalcNode* call, CString& out, int bCheck);

    void* m_pHostData;
    int m_bOwnsMnger = 0;
    CFuncMnger* m_pFuncMnger;
};

}  // namespace qorcalc::calc
