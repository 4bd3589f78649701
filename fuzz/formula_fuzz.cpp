// Formula text of any shape, compiled and calculated with a host that
// answers every name and unknown function: nothing may crash, hang or leak.
#include "fuzz_input.h"

#include <memory>

namespace {

// Answers drawn in turn from a few shapes: a number, a text, an empty text
// and a small formula.
const char16_t* const kAnswers[] = {u"7", u"'abc'", u"", u"1+2", u"-3.5", u"'2014-03-05'"};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzzing::InstallMessages();
    const CString formula =
        CString::FromUtf8(std::string_view(reinterpret_cast<const char*>(data), size));
    std::unique_ptr<ICalc> calc(NewCalc(nullptr, nullptr));
    int errorPos = -1;
    std::unique_ptr<CCalcNode> root(calc->Compile(formula, &errorPos));
    if (!root) return 0;
    CString written;
    root->GetFormula(written);
    for (int round = 0; round < 64; ++round) {
        CString out;
        CCalcNode* pending = nullptr;
        const int code = calc->Calculate(root.get(), out, pending, 1, 0xC2);
        if (code != CALC_NEED_NAME && code != CALC_NEED_FUNCTION) break;
        calc->SetTermValue(root.get(), pending, CString(kAnswers[round % 6]));
    }
    CString value;
    root->GetText(value, 1);
    return 0;
}
