// A host on the installed host layer: names with a value and a formula, a
// host function, a script and an unknown name, one line per formula.
#include <qorcalc/host.h>

#include <cstdio>
#include <string>
#include <vector>

int main() {
    using namespace qorcalc::host;
    Functions functions;
    functions.Add("vat", [](const std::vector<std::string>& args) {
        return Result::Success({Kind::Number, DecimalText(std::stod(args.at(0)) * 0.2)});
    });
    Calculator calculator(Options{Language::English, 0, {}, &functions});
    Bindings names;
    names.SetValue("qty", "3");
    names.SetValue("price", "2.675");
    names.SetFormula("total", "(qty * price)");
    for (const char* formula : {"round(total, 2)", "vat(10) + qty", "js('return 6 * 7')", "missing + 1"}) {
        const Result result = calculator.Evaluate(formula, names);
        if (result.ok) std::printf("%s = %s\n", formula, result.value.text.c_str());
        else std::printf("%s: error %u\n", formula, result.error.id);
    }
}
