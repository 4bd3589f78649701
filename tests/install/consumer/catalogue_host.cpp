// A host that takes its texts from the installed catalogues: a formula that
// fails to compile must come back with the catalogue's sentence.
#include <qorcalc/messages.h>
#include <qorcalc/qorcalc.h>

#include <cstdio>
#include <memory>

int main() {
    using qorcalc::messages::Language;
    SetLggInterface(qorcalc::messages::Provider(Language::English));
    std::unique_ptr<ICalc> calc(NewCalc(nullptr, nullptr));
    int errorPos = -1;
    std::unique_ptr<CCalcNode> root(calc->Compile(u"1+(2", &errorPos));
    const CString text(GetLastErrorText());
    std::printf("%d %s\n", errorPos, text.ToUtf8().c_str());
    return root || text.IsEmpty() ? 1 : 0;
}
