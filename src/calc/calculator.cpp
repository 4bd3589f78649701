// Compiling formula text and driving its calculation with the host.
#include "calc/calculator.h"

#include <qorcalc/api.h>
#include <qorcalc/func.h>
#include <qorcalc/message_ids.h>
#include <qorcalc/utility.h>
#include <qorcalc/vek.h>

#include <memory>
#include <typeinfo>

#include "calc/converter.h"
#include "expr/evaluate.h"
#include "func/catalogue.h"
#include "expr/tree.h"
#include "support/text.h"
#include "support/thread_spare.h"
#include "util/number_form.h"
#include "util/quotes.h"

ICalc::~ICalc() = default;

namespace qorcalc::calc {

namespace {

constexpr int kGoOn = -2;
constexpr int kWriteCapacity = 512;

// A builder that stops at a limit: a tree written back is a text like any
// other, and one written back for re-conversion is a formula as well.
class CBoundedBuilder final : public CStringBuilder {
public:
    CBoundedBuilder(int limit, uint32_t messageId)
        : CStringBuilder(kWriteCapacity), m_nLimit(limit), m_nMessageId(messageId) {}
    using CWriter::Write;
    void Write(const char16_t* text, int length) override {
        if (length > m_nLimit - GetLength()) throw detail::LimitExceeded{m_nMessageId, ToString()};
        CStringBuilder::Write(text, length);
    }

private:
    int m_nLimit;
    uint32_t m_nMessageId;
};

CString FormulaOf(CCalcNode* node) {
    CBoundedBuilder builder(CALC_MAX_TEXT_LENGTH, CALC_MSG_TEXT_TOO_LONG);
    node->Write(builder);
    return builder.ToString();
}

// The whole tree as the formula it is converted from again after a host
// answered a name with a formula: no longer than Compile would take, nor
// than what is left of the tree's conversion budget.  Past either the
// answered term holds the answer unconverted, so the tree's calculation
// ends there, as after any answer that cannot be converted.
CString FormulaToReconvert(CCalcTree& tree) {
    CBoundedBuilder builder(CALC_MAX_FORMULA_LENGTH, CALC_MSG_FORMULA_TOO_LONG);
    try {
        tree.Root()->Write(builder);
        const size_t left = CALC_MAX_CONVERTED_LENGTH - tree.ConvertedLength();
        if (static_cast<size_t>(builder.GetLength()) > left)
            throw detail::LimitExceeded{CALC_MSG_CONVERTED_TOO_LONG, builder.ToString()};
    } catch (const detail::LimitExceeded& e) {
        tree.SetFailure(e.id, detail::FormatMessage(e.id, e.text));
        throw;
    }
    return builder.ToString();
}

// The call handed to the host: its name, then each argument, "\r\n"-joined.
void JoinCall(CString& out, const CFuncPara& para) {
    CStringArray parts = para.m_arrParas;
    parts.InsertAt(0, para.m_strFuncName);
    CVek::Array2CString(out, parts, u"\r\n");
}

}  // namespace

void SpaceLogicalOperators(CString& text) {
    const std::u16string& in = text.Str();
    // The spaced text is built only once a blank must go in (a formula
    // written "x > 3 && y < 2" stays as it is); in[0, copied) is in it.
    std::u16string out;
    size_t copied = 0;
    // The last character of the growing text: a blank just put after an
    // earlier pair counts.
    const auto last = [&](size_t i) -> char16_t { return i > copied ? in[i - 1] : out.empty() ? 0 : out.back(); };
    constexpr std::u16string_view kStops = u"|&\"'";
    for (size_t i = support::FindFirstOf(in, kStops); i < in.size(); i = support::FindFirstOf(in, kStops, i + 1)) {
        const char16_t c = in[i];
        if (c == u'"' || c == u'\'') {
            // A quoted stretch is passed over whole; an unclosed one runs to the end.
            i = in.find(c, i + 1);
            if (i == std::u16string::npos) break;
        } else if (i + 1 < in.size() && in[i + 1] == c) {
            const bool before = last(i) != 0 && last(i) != u' ';
            const bool after = i + 2 < in.size() && in[i + 2] != u' ';
            if (before || after) {
                if (out.empty()) out.reserve(in.size() + 8);
                out.append(in, copied, i - copied);
                if (before) out += u' ';
                out.append(2, c);
                if (after) out += u' ';
                copied = i + 2;
            }
            ++i;
        }
    }
    if (copied == 0) return;
    out.append(in, copied);
    text.Str().swap(out);
}

CCalc::~CCalc() {
    if (m_bOwnsMnger) delete m_pFuncMnger;
}

CFuncMnger* CCalc::GetFuncMnger() {
    if (!m_pFuncMnger) {
        m_pFuncMnger = CFuncMnger::NewFuncMnger();
        m_bOwnsMnger = 1;
    }
    return m_pFuncMnger;
}

CCalcNode* CCalc::Compile(const char16_t* text, int* errorPos) {
    int localPos = -1;
    int& pos = errorPos ? *errorPos : localPos;
    // Owned until it is handed over: a provider that throws while a failure
    // is reported must not leak the half-built tree.
    std::unique_ptr<CCalcNode> root(CCalcNode::MakeRoot(expr::ThreadSpares(), NodeRoot));
    CCalcTree::Of(root.get());  // the root keeps its calculation's state from the start
    uint32_t messageId = 0;
    // The formula is worked on in this thread's spare text, whose storage
    // serves the next compile (a host that compiles from inside a compile,
    // in a function of its own, gets a text of its own).
    support::CThreadSpare<CString, support::CShortText> formula;
    if (text) formula->Str().assign(text);
    if (!Parse(root.get(), *formula, pos, messageId)) return nullptr;
    return root.release();
}

int CCalc::Parse(CCalcNode* root, CString& text, int& errorPos, uint32_t& messageId) {
    errorPos = -1;
    root->Clear();
    root->SetKind(NodeRoot);
    if (CCalcTree* tree = CCalcTree::Of(root)) {
        tree->CountConverted(static_cast<size_t>(text.GetLength()));
        tree->Walk().Restart();
        tree->SetTypesChecked(!CUtilityCalc::Calc_IsComplexEnabled());
    }
    CVek::Error(nullptr);
    CUIntArray starts, ends;
    // Most formulas hold neither quotes nor "||" and "&&": one look tells.
    if (const size_t first = support::FindFirstOf(text.Str(), u"|&\"'"); first != std::u16string_view::npos) {
        SpaceLogicalOperators(text);
        // Spacing adds no quote, and no character before `first`.
        if (support::FindFirstOf(text.Str(), u"\"'", first) != std::u16string_view::npos)
            CVek::FindQuotes(text, starts, ends, u"\"'", 0);
    }
    int pos = 0;
    ConvertError error;
    // The nodes the tree keeps dead count too: memory stays within the limit
    // however often a host answers with a formula.
    if (CCalcTree* tree = CCalcTree::Of(root)) error.nodeCount = static_cast<int>(tree->NodeCount());
    if (!Convert(ConvertSource{text, starts, ends}, pos, root, error)) {
        // A conversion failure leaves the calculator's error code alone.
        errorPos = error.position;
        messageId = error.messageId;
        detail::ReportMessage(error.messageId, text);
        return 0;
    }
    return expr::CheckTree(root, text, errorPos, &messageId);
}

int CCalc::Refuse(CCalcTree* tree, const CString& formula) {
    m_nErrorCode = CALC_MSG_STALE_TERM;
    const CString text = detail::ReportMessage(CALC_MSG_STALE_TERM, formula);
    if (tree) tree->SetFailure(CALC_MSG_STALE_TERM, text);
    return 0;
}

void CCalc::Fail(CCalcTree& tree, uint32_t messageId) {
    tree.SetFailure(messageId, CString(CVek::GetLastError()));
}

void CCalc::RepeatFailure(const CCalcTree& tree) {
    m_nErrorCode = static_cast<int>(tree.FailureId());
    CVek::Error(tree.FailureText());
}

int CCalc::SetTermValue(CCalcNode* root, CCalcNode* term, const CString& valueText) {
    return AnswerTerm(root, term, valueText.Str(), false);
}

// Unquoting a text marked by its quotes would remove them and then the
// pairs it was written with: the same as unquoting the text alone.  The
// answer itself is read where it stands, to be copied into the term.
inline CCalc::CAnswer CCalc::ReadAnswer(std::u16string_view answer, bool text) {
    const std::u16string_view value = util::Unquoted(answer);
    if (value.size() < answer.size() || text || value.empty()) return {value, CAnswer::Text, 0};
    // Most answers are numbers in number form already: measuring one is
    // cheaper than the general test, which it implies.  Nothing was
    // unquoted, so the value is the whole answer, which ends in a NUL.
    const int form = util::MeasureNumberForm(value);
    if (form >= 0 || CUtilityCalc::IsPureNumber(value.data(), 1)) return {value, CAnswer::Literal, form};
    return {value, CAnswer::Formula, 0};
}

int CCalc::AnswerTerm(CCalcNode* root, CCalcNode* term, std::u16string_view text, bool isText, bool takesFormula) {
    // Read first, as nothing has changed yet when a formula is declined.
    const CAnswer answer = ReadAnswer(text, isText);
    if (answer.kind == CAnswer::Formula && !takesFormula) return kDeclined;
    CCalcTree* tree = CCalcTree::Of(root);
    if (!tree) return Refuse(nullptr, CString());
    if (tree->Failed()) {
        RepeatFailure(*tree);
        return 0;
    }
    // A node freed by the calculation, answered before, or of another tree.
    if (!tree->Accepts(term)) return Refuse(tree, FormulaOf(root));
    expr::CStepWalk& walk = tree->Walk();
    const bool asked = walk.IsPendingAnswer(term);
    // The walk resumes only after the answer to its own question; any other
    // change to the tree has it start again from the root.
    if (!asked) walk.Restart();
    tree->MarkAnswered(term);
    switch (answer.kind) {
        case CAnswer::Text:
            term->SetTextFrom(answer.value);
            term->SetKind(NodeString);
            break;
        case CAnswer::Literal:
            term->SetLiteralFrom(answer.value, answer.form);
            break;
        case CAnswer::Formula:
            // A formula of the host's own, converted in place.
            term->SetTextFrom(answer.value);
            term->SetKind(NodeName);
            break;
    }
    term->RemoveAll();
    if (answer.kind == CAnswer::Formula) {
        int pos = -1;
        uint32_t messageId = 0;
        CString formula = FormulaToReconvert(*tree);
        if (Parse(root, formula, pos, messageId)) return 1;
        Fail(*tree, messageId);
        return 0;
    }
    CCalcNode* parent = term->GetParent();
    if (!parent || CUtilityCalc::Calc_IsComplexEnabled()) return 1;
    // The type check writes the failing list's own text only when it fails,
    // so answering a name costs no formula writing.
    if (asked && tree->TypesChecked()) {
        if (!walk.PendingListMixesTypes(term)) return 1;
        detail::ReportMessage(expr::kMsgMixedTypes, FormulaOf(parent));
    } else {
        int pos = -1;
        if (expr::CheckTypes(parent, CString(), pos)) return 1;
    }
    m_nErrorCode = static_cast<int>(expr::kMsgMixedTypes);
    Fail(*tree, expr::kMsgMixedTypes);
    return 0;
}

int CCalc::AnswerFromNames(CCalcNode* root, CCalcNode* name) {
    const CString* value = m_pNames->Answer(name->RawText().Str());
    // A formula, or a text too long to take, is left to the host: its
    // failures are reported as SetTermValue reports them.
    if (!value || value->GetLength() > CALC_MAX_TEXT_LENGTH) return CALC_NEED_NAME;
    // Under the guard SetTermValue runs under, so that a failure reads the same.
    const int answered =
        detail::Guarded(u"SetTermValue", 0, [&] { return AnswerTerm(root, name, value->Str(), false, false); });
    if (answered == kDeclined) return CALC_NEED_NAME;
    return answered ? kGoOn : CALC_ERROR;
}

// The call handed to the host as it stands in the tree: quoted arguments.
int CCalc::AskHost(CCalcNode* call, CFuncPara& para, CString& out) {
    call->GetFunctionCall(para.m_strFuncName, para.m_arrParas, 0);
    JoinCall(out, para);
    return CALC_NEED_FUNCTION;
}

int CCalc::CallFunction(CCalcNode* root, CCalcNode* call, CString& out, int bCheck) {
    CFuncMnger* mnger = GetFuncMnger();
    if (!mnger) return CALC_ERROR;
    CParaLease lease(*this);
    CFuncPara& para = lease.Para();
    para.m_pHostData = m_pHostData;
    para.m_strFuncName = call->RawText();
    // A host's own manager class finds and calls as it defines Find and
    // Call.  The engine's own finds a built-in first, as its Find does, and
    // leaves a text result unquoted, as the tree holds it.
    const bool own = typeid(*mnger) == typeid(CFuncMnger);
    int index = own ? func::FindBuiltin(para.m_strFuncName.Str()) : -1;
    if (index < 0) index = mnger->Find(para.m_strFuncName);
    if (index == -1) return AskHost(call, para, out);
    call->WriteArguments(para.m_arrParas, CCalcNode::ArgumentsUnquoted);
    bool text = false;
    const int status = own ? mnger->CallInto(para, bCheck, index, &text) : mnger->Call(para, bCheck, index);
    switch (status) {
        case 1:
            return AnswerTerm(root, call, para.m_strResult.Str(), text) ? kGoOn : CALC_ERROR;
        case -1:
            return AskHost(call, para, out);
        case -2:
            return CALC_REFUSED;
        default:
            // The function's own text gives way to the calculator's message.
            m_nErrorCode = static_cast<int>(kMsgFunctionFailed);
            CVek::Error(detail::MessageText(kMsgFunctionFailed));
            return CALC_ERROR;
    }
}

// The calculator's own call record while nobody else uses it (a host
// function may calculate with the same calculator), else a fresh one.
CCalc::CParaLease::CParaLease(CCalc& calc) : m_calc(calc), m_pPara(std::move(calc.m_pSparePara)) {
    if (!m_pPara) m_pPara = std::make_unique<CFuncPara>();
}

// A text too long to keep is let go of rather than kept with the record.
CCalc::CParaLease::~CParaLease() {
    if (m_calc.m_pSparePara) return;
    const CFuncPara& para = *m_pPara;
    if (!support::IsShortText(para.m_strResult) || !support::IsShortText(para.m_strFuncName) ||
        !support::CShortTexts()(para.m_arrParas))
        return;
    m_calc.m_pSparePara = std::move(m_pPara);
}

int CCalc::Calculate(CCalcNode* root, CString& out, CCalcNode*& pending, int bCheck, uint8_t format) {
    out.Empty();
    pending = nullptr;
    if (!root) return CALC_ERROR;
    CCalcTree* tree = CCalcTree::Of(root);
    if (!tree) return Refuse(nullptr, CString()), CALC_ERROR;
    // A tree left half-reduced by a failure is not calculated further.
    if (tree->Failed()) {
        RepeatFailure(*tree);
        return CALC_ERROR;
    }
    expr::CStepWalk& walk = tree->Walk();
    for (;;) {
        int code = STEP_NONE;
        CCalcNode* node = walk.Next(root, code);
        pending = node;
        switch (code) {
            case STEP_EVALUATE: {
                uint32_t errorCode = 0;
                CString errorText;
                if (expr::EvaluateList(node, format, errorCode, errorText)) break;
                m_nErrorCode = static_cast<int>(errorCode);
                if (errorText.IsEmpty()) errorText = detail::MessageText(errorCode);
                CVek::Error(errorText);
                tree->SetFailure(errorCode, errorText);
                return CALC_ERROR;
            }
            case STEP_NAME:
                if (m_pNames) {
                    const int result = AnswerFromNames(root, node);
                    if (result == kGoOn) break;
                    if (result != CALC_NEED_NAME) return result;
                }
                node->GetText(out, 0);
                return CALC_NEED_NAME;
            case STEP_FUNCTION: {
                const int result = CallFunction(root, node, out, bCheck);
                if (result != kGoOn) return result;
                break;
            }
            case STEP_UNWRAP:
                node->Unwrap();
                break;
            default:
                pending = nullptr;
                return CALC_DONE;
        }
    }
}

}  // namespace qorcalc::calc
