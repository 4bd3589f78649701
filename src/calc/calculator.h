// CCalc: the one calculator behind ICalc.
//
// Invariants: the calculator owns the function manager only when it made it
// itself (m_bOwnsMnger); a tree's progress lives in the tree (its nodes and
// the state its root keeps), so Calculate can stop for the host and be
// called again on the same root.  A failure that leaves a tree half-reduced
// (a failed answer, a list that cannot be reduced) ends that tree's
// calculation: every later Calculate or SetTermValue on it reports the same
// failure.  Terms handed back are checked at constant cost: a node the
// calculation has let go of, one already answered, or one of another tree
// is refused with CALC_MSG_STALE_TERM.
#pragma once

#include <qorcalc/message_ids.h>

#include <qorcalc/calc.h>
#include <qorcalc/func.h>
#include <qorcalc/node.h>

#include <memory>
#include <string_view>

namespace qorcalc::calc {

constexpr uint32_t kMsgFunctionFailed = CALC_MSG_FUNCTION_FAILED;

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
    void SetNames(ICalcNames* names) override { m_pNames = names; }

private:
    // Rebuilds `root` from `text` (the caller's copy, spaced in place);
    // shared by Compile and SetTermValue.  On failure `messageId` is the id
    // of the message reported.
    int Parse(CCalcNode* root, CString& text, int& errorPos, uint32_t& messageId);
    // A root or term that is not (or no longer) part of a calculation: the
    // stale-term failure, kept by `tree` when there is one.  Returns 0.
    int Refuse(CCalcTree* tree, const CString& formula);
    // Keeps the failure just reported as the end of `tree`'s calculation.
    void Fail(CCalcTree& tree, uint32_t messageId);
    // Reports the failure that ended `tree`'s calculation once more.
    void RepeatFailure(const CCalcTree& tree);
    // An answer for a term as the term will take it: a text (unquoted), a
    // literal (a number, or a text that reads as one; `form` is what
    // util::MeasureNumberForm says of it) or a formula to convert.
    struct CAnswer {
        std::u16string_view value;
        enum ENUM_KIND { Text, Literal, Formula } kind;
        int form;
    };
    static CAnswer ReadAnswer(std::u16string_view answer, bool text);
    // SetTermValue of any text; `isText` says the answer is a text that
    // only lacks its quotes.  Without `takesFormula` a formula is declined
    // (kDeclined), the tree untouched.
    static constexpr int kDeclined = -3;
    int AnswerTerm(CCalcNode* root, CCalcNode* term, std::u16string_view text, bool isText,
                   bool takesFormula = true);
    // One function step of Calculate; returns a result code, or -2 to go on.
    int CallFunction(CCalcNode* root, CCalcNode* call, CString& out, int bCheck);
    int AskHost(CCalcNode* call, CFuncPara& para, CString& out);
    // One name step answered from m_pNames: kGoOn, CALC_ERROR, or
    // CALC_NEED_NAME when the host answers it itself.
    int AnswerFromNames(CCalcNode* root, CCalcNode* name);

    // The call record of one function step, kept between steps so that
    // a call allocates nothing for its arguments once it has run before.
    class CParaLease {
    public:
        explicit CParaLease(CCalc& calc);
        ~CParaLease();
        CParaLease(const CParaLease&) = delete;
        CParaLease& operator=(const CParaLease&) = delete;
        CFuncPara& Para() { return *m_pPara; }

    private:
        CCalc& m_calc;
        std::unique_ptr<CFuncPara> m_pPara;
    };

    void* m_pHostData;
    int m_bOwnsMnger = 0;
    CFuncMnger* m_pFuncMnger;
    std::unique_ptr<CFuncPara> m_pSparePara;
    ICalcNames* m_pNames = nullptr;
};

}  // namespace qorcalc::calc
