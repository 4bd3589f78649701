// The calculator as a host uses it: compile and calculate per record, or
// calculate a clone of a root compiled once, with the names answered from a
// table whose values change every iteration.  Beside our figures, when
// muParser is installed, the same formulas through its SetExpr and Eval on
// one reused parser, and the ratio of our time to its time.
#include <qorcalc/qorcalc.h>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <vector>

#if defined(QORCALC_HAVE_MUPARSER)
#include <muParser.h>
#endif

namespace {

struct Formula {
    const char16_t* ours;
    const char* theirs;  // the same formula in muParser's syntax
};

const Formula kFormulas[] = {
    {u"1+2*3-4/5", "1+2*3-4/5"},
    {u"(1.5+2.25)*(3-4.5)/7", "(1.5+2.25)*(3-4.5)/7"},
    {u"a*b+c/2-sqrt(x)", "a*b+c/2-sqrt(x)"},
    {u"min(a,b)+max(c,x,y)", "min(a,b)+max(c,x,y)"},
    {u"sum(a,b,c,x,y)/5", "sum(a,b,c,x,y)/5"},
    {u"if(x>3 && y<2, 1, 0)", "(x>3 && y<2) ? 1 : 0"},
};
constexpr int kFormulaCount = sizeof kFormulas / sizeof kFormulas[0];

class SilentProvider : public ILggInterface {
public:
    const char16_t* GetText(uint32_t) override { return u"%s"; }
    void Translate(CString&) override {}
};

// Name values for one iteration: they change with `i` so that nothing can
// be kept from one record to the next.
class NameTable {
public:
    NameTable() {
        for (int v = 0; v < 16; ++v) m_texts.push_back(CString(std::u16string(1, static_cast<char16_t>(u'0' + v % 10))));
    }
    const CString& Value(const CString& name, int i) const {
        const char16_t c = name.GetLength() == 1 ? name[0] : u'a';
        return m_texts[static_cast<size_t>((c + i) % 16)];
    }

private:
    std::vector<CString> m_texts;
};

// Calculates `root` to the end, answering names from the table.
void Run(ICalc& calc, CCalcNode* root, const NameTable& names, int i) {
    CString out;
    CCalcNode* pending = nullptr;
    for (;;) {
        const int code = calc.Calculate(root, out, pending, 0, 0);
        if (code != CALC_NEED_NAME) break;
        calc.SetTermValue(root, pending, names.Value(out, i));
    }
    benchmark::DoNotOptimize(root);
}

struct Engine {
    SilentProvider provider;
    std::unique_ptr<ICalc> calc;
    NameTable names;
    Engine() : calc(NewCalc(nullptr, nullptr)) {
        SetLggInterface(&provider);
        calc->GetFuncMnger();
    }
};

Engine& TheEngine() {
    static Engine engine;
    return engine;
}

void CompileAndCalculate(benchmark::State& state) {
    Engine& e = TheEngine();
    const Formula& f = kFormulas[state.range(0)];
    int i = 0;
    for (auto _ : state) {
        int pos = 0;
        std::unique_ptr<CCalcNode> root(e.calc->Compile(f.ours, &pos));
        Run(*e.calc, root.get(), e.names, ++i);
    }
}

void CalculateClone(benchmark::State& state) {
    Engine& e = TheEngine();
    int pos = 0;
    std::unique_ptr<CCalcNode> compiled(e.calc->Compile(kFormulas[state.range(0)].ours, &pos));
    int i = 0;
    for (auto _ : state) {
        std::unique_ptr<CCalcNode> root(static_cast<CCalcNode*>(compiled->Clone()));
        Run(*e.calc, root.get(), e.names, ++i);
    }
}

// The cost per term must stay flat from 100 to 10,000 terms.
void Chain(benchmark::State& state) {
    Engine& e = TheEngine();
    std::u16string text = u"1";
    for (int64_t k = 1; k < state.range(0); ++k) text += u"+1";
    for (auto _ : state) {
        int pos = 0;
        std::unique_ptr<CCalcNode> root(e.calc->Compile(text.c_str(), &pos));
        Run(*e.calc, root.get(), e.names, 0);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void Nested(benchmark::State& state) {
    Engine& e = TheEngine();
    const size_t depth = static_cast<size_t>(state.range(0));
    const std::u16string text = std::u16string(depth, u'(') + u"1" + std::u16string(depth, u')');
    for (auto _ : state) {
        int pos = 0;
        std::unique_ptr<CCalcNode> root(e.calc->Compile(text.c_str(), &pos));
        Run(*e.calc, root.get(), e.names, 0);
    }
}

BENCHMARK(CompileAndCalculate)->DenseRange(0, kFormulaCount - 1);
BENCHMARK(CalculateClone)->DenseRange(0, kFormulaCount - 1);
BENCHMARK(Chain)->Arg(100)->Arg(1000)->Arg(10000);
BENCHMARK(Nested)->Arg(500);

#if defined(QORCALC_HAVE_MUPARSER)
void MuParser(benchmark::State& state) {
    mu::Parser parser;
    double a = 1, b = 2, c = 3, x = 4, y = 5;
    parser.DefineVar("a", &a);
    parser.DefineVar("b", &b);
    parser.DefineVar("c", &c);
    parser.DefineVar("x", &x);
    parser.DefineVar("y", &y);
    const char* text = kFormulas[state.range(0)].theirs;
    int i = 0;
    for (auto _ : state) {
        ++i;
        a = i % 16, b = (i + 1) % 16, c = (i + 2) % 16, x = (i + 3) % 16, y = (i + 4) % 16;
        parser.SetExpr(text);
        benchmark::DoNotOptimize(parser.Eval());
    }
}
BENCHMARK(MuParser)->DenseRange(0, kFormulaCount - 1);
#endif

// Keeps the time per iteration of every run, to print the ratios at the end.
class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs)
            if (run.iterations > 0) m_ns[run.benchmark_name()] = run.GetAdjustedRealTime();
        ConsoleReporter::ReportRuns(runs);
    }
    void PrintRatios() const {
        std::printf("\nOur time over muParser's (goal: 0.2 or less)\n");
        for (int k = 0; k < kFormulaCount; ++k) {
            const std::string arg = "/" + std::to_string(k);
            const auto ours = m_ns.find("CompileAndCalculate" + arg);
            const auto clone = m_ns.find("CalculateClone" + arg);
            const auto theirs = m_ns.find("MuParser" + arg);
            if (ours == m_ns.end() || theirs == m_ns.end() || clone == m_ns.end()) continue;
            std::printf("  %-26s compile+calculate %5.2f   clone+calculate %5.2f\n", kFormulas[k].theirs,
                        ours->second / theirs->second, clone->second / theirs->second);
        }
    }

private:
    std::map<std::string, double> m_ns;
};

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.PrintRatios();
    benchmark::Shutdown();
    return 0;
}
