// The cooperative loop with a host that answers anything: the first piece is
// the formula, each further piece an answer, used in turn for every name or
// function the engine asks for.  In an answer "$" stands for the question
// itself, so "$+1" answers `a` with `a+1` (a self-reference that grows the
// tree).  An answer that starts with byte 1 is given to the term asked for
// the round before instead of the current one: a host that answers a stale
// term.  Nothing may crash, leak or run away; the rounds are bounded here,
// the tree's growth must be bounded by the engine.
#include "fuzz_input.h"

#include <memory>
#include <vector>

namespace {

// Each formula answer rewrites and re-reads the whole tree, so a run costs
// rounds times tree size, up to what the engine lets one tree's conversions
// read in all; 128 rounds still grow trees past what any test builds by
// hand.
constexpr int kRounds = 128;
// An answer that names its question twice doubles each round; past this the
// work is only the limits' (tested at the limits themselves), not the
// fuzzer's business.
constexpr int kMaxAnswer = 65536;

CString AnswerFor(std::string_view answer, const CString& question) {
    CString text = CString::FromUtf8(answer);
    const int cut = question.Find(u"\r\n");
    text.Replace(u"$", cut < 0 ? question : question.Left(cut));
    return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzzing::InstallMessages();
    fuzzing::Input in(data, size);
    const CString formula = in.Text();
    std::vector<std::string_view> answers;
    while (!in.Empty()) answers.push_back(in.Piece());
    if (answers.empty()) answers.push_back("$");

    std::unique_ptr<ICalc> calc(NewCalc(nullptr, nullptr));
    int errorPos = -1;
    std::unique_ptr<CCalcNode> root(calc->Compile(formula, &errorPos));
    if (!root) return 0;
    CCalcNode* previous = nullptr;
    for (int round = 0; round < kRounds; ++round) {
        CString out;
        CCalcNode* pending = nullptr;
        const int code = calc->Calculate(root.get(), out, pending, 1, 0);
        if (code != CALC_NEED_NAME && code != CALC_NEED_FUNCTION) break;
        std::string_view answer = answers[static_cast<size_t>(round) % answers.size()];
        CCalcNode* term = pending;
        if (!answer.empty() && answer.front() == '\1' && previous) {
            answer.remove_prefix(1);
            term = previous;
        }
        previous = pending;
        const CString text = AnswerFor(answer, out);
        if (text.GetLength() > kMaxAnswer) break;
        if (!calc->SetTermValue(root.get(), term, text)) break;
    }
    CString value;
    root->GetText(value, 1);
    root->GetFormula(value);
    return 0;
}
