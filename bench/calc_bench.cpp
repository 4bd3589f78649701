// The project's speed record: the calculator as a host uses it, through the
// public interface only.
//
// Every case is defined once, in the table built by Cases(), and runs in two
// ways:
//   qorcalc_bench [google benchmark flags]   timed by Google Benchmark
//   qorcalc_bench --instr                    a few iterations per case, for
//                                            counting instructions under
//                                            valgrind --tool=callgrind
// bench/table.py runs either and prints one table with the goals beside the
// figures.  Each case checks its own result before it is measured: a case
// that calculates the wrong thing, or fails, is reported instead of timed.
//
// muParser (when installed) is a yardstick only: the same six small formulas
// through its SetExpr and Eval on one reused parser, in the same run, so that
// the ratios hold on a machine whose load changes.
#include <qorcalc/qorcalc.h>

#include <benchmark/benchmark.h>

#include <cmath>
#include <ctime>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <new>
#include <string>
#include <vector>

#if defined(QORCALC_HAVE_MUPARSER)
#include <muParser.h>
#endif
#if defined(QORCALC_HAVE_CALLGRIND)
#include <valgrind/callgrind.h>
#endif

// Every allocation of the process is counted, the engine's and muParser's
// alike.  The bench runs on one thread, so a plain counter is exact and
// costs next to nothing.
namespace {
size_t g_allocations = 0;
}

void* operator new(std::size_t size) {
    ++g_allocations;
    if (void* p = std::malloc(size ? size : 1)) return p;
    throw std::bad_alloc();
}
void* operator new[](std::size_t size) { return operator new(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    ++g_allocations;
    return std::malloc(size ? size : 1);
}
void* operator new[](std::size_t size, const std::nothrow_t& tag) noexcept { return operator new(size, tag); }
void operator delete(void* p) noexcept { std::free(p); }
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }
void operator delete[](void* p, std::size_t) noexcept { std::free(p); }

namespace {

// ---------------------------------------------------------------------------
// The host side: names answered as numbers that change with the iteration,
// so that nothing can be kept from one record to the next.

// The value of a one-letter name in iteration `i`: 0 to 15.
int NameValue(char16_t name, int i) { return (name + i) % 16; }

class Provider : public ILggInterface {
public:
    const char16_t* GetText(uint32_t) override { return u"failed: %s"; }
    void Translate(CString&) override {}
};

class Host {
public:
    Host() : m_calc(NewCalc(nullptr, nullptr)) {
        SetLggInterface(&m_provider);
        m_calc->GetFuncMnger();
        for (int v = 0; v < 16; ++v) m_values.push_back(CString::FromUtf8(std::to_string(v)));
    }
    ICalc& Calc() { return *m_calc; }

    // Calculates `root` to the end, answering every name; the result code.
    int Drive(CCalcNode* root, int i) {
        CString out;
        CCalcNode* pending = nullptr;
        for (;;) {
            const int code = m_calc->Calculate(root, out, pending, 0, 0);
            if (code != CALC_NEED_NAME) return code;
            m_calc->SetTermValue(root, pending, ValueOf(out.Str(), i));
        }
    }

    // The value of a name in iteration `i`, as SetTermValue takes it.
    const CString& ValueOf(std::u16string_view name, int i) const {
        const char16_t letter = name.size() == 1 ? name[0] : u'?';
        return m_values[static_cast<size_t>(NameValue(letter, i))];
    }

    // The result text of `root` after Drive, or what went wrong.
    static std::string Outcome(CCalcNode* root, int code) {
        if (!root) return "compile failed: " + CString(GetLastErrorText()).ToUtf8();
        if (code != CALC_DONE) return "calculate returned " + std::to_string(code) + ": " + CString(GetLastErrorText()).ToUtf8();
        CString text;
        root->GetText(text, 0);
        return text.ToUtf8();
    }

private:
    Provider m_provider;
    std::unique_ptr<ICalc> m_calc;
    std::vector<CString> m_values;
};

Host& TheHost() {
    static Host host;
    return host;
}

// ---------------------------------------------------------------------------
// What a case measures: one iteration (Run) and, outside the measurement,
// the result of one iteration (Result).

class Bench {
public:
    virtual ~Bench() = default;
    virtual void Run(int i) = 0;
    virtual std::string Result(int i) = 0;
};

// Compile and calculate per record: what a host does without keeping roots.
class CompileCalc : public Bench {
public:
    explicit CompileCalc(std::u16string text) : m_text(std::move(text)) {}
    void Run(int i) override {
        int pos = 0;
        std::unique_ptr<CCalcNode> root(TheHost().Calc().Compile(m_text.c_str(), &pos));
        if (root) benchmark::DoNotOptimize(TheHost().Drive(root.get(), i));
    }
    std::string Result(int i) override {
        int pos = 0;
        std::unique_ptr<CCalcNode> root(TheHost().Calc().Compile(m_text.c_str(), &pos));
        const int code = root ? TheHost().Drive(root.get(), i) : CALC_ERROR;
        return Host::Outcome(root.get(), code);
    }

private:
    std::u16string m_text;
};

// Compile once, calculate a clone per record: the report path.
class CloneCalc : public Bench {
public:
    explicit CloneCalc(const std::u16string& text) {
        int pos = 0;
        m_compiled.reset(TheHost().Calc().Compile(text.c_str(), &pos));
    }
    void Run(int i) override {
        if (!m_compiled) return;
        std::unique_ptr<CCalcNode> root(m_compiled->Clone());
        benchmark::DoNotOptimize(TheHost().Drive(root.get(), i));
    }
    std::string Result(int i) override {
        if (!m_compiled) return Host::Outcome(nullptr, CALC_ERROR);
        std::unique_ptr<CCalcNode> root(m_compiled->Clone());
        const int code = TheHost().Drive(root.get(), i);
        return Host::Outcome(root.get(), code);
    }

private:
    std::unique_ptr<CCalcNode> m_compiled;
};

// The same per record as a host that makes each copy over the last one
// (CloneReusing) and answers its names inside Calculate (SetNames) runs
// it: the path of qorcalc report.
class ReuseCalc : public Bench {
public:
    explicit ReuseCalc(const std::u16string& text) {
        int pos = 0;
        m_compiled.reset(TheHost().Calc().Compile(text.c_str(), &pos));
    }
    ~ReuseCalc() override { CCalcNode::Release(m_spent); }
    void Run(int i) override {
        if (m_compiled) benchmark::DoNotOptimize(Calculate(i));
    }
    std::string Result(int i) override {
        if (!m_compiled) return Host::Outcome(nullptr, CALC_ERROR);
        const int code = Calculate(i);
        return Host::Outcome(m_spent, code);
    }

private:
    // Names from the values of iteration `i`, as the plain host gives them.
    struct Names final : ICalcNames {
        const Host* host = &TheHost();
        int i = 0;
        const CString* Answer(std::u16string_view name) noexcept override { return &host->ValueOf(name, i); }
    };
    int Calculate(int i) {
        m_names.i = i;
        m_spent = m_compiled->CloneReusing(m_spent);
        TheHost().Calc().SetNames(&m_names);
        const int code = TheHost().Drive(m_spent, i);
        TheHost().Calc().SetNames(nullptr);
        return code;
    }
    std::unique_ptr<CCalcNode> m_compiled;
    CCalcNode* m_spent = nullptr;
    Names m_names;
};

#if defined(QORCALC_HAVE_MUPARSER)
class MuParserCalc : public Bench {
public:
    explicit MuParserCalc(const char* text) : m_text(text) {
        for (int k = 0; k < 5; ++k) m_parser.DefineVar(std::string(1, kNames[k]), &m_vars[k]);
    }
    void Run(int i) override {
        for (int k = 0; k < 5; ++k) m_vars[k] = NameValue(static_cast<char16_t>(kNames[k]), i);
        m_parser.SetExpr(m_text);
        benchmark::DoNotOptimize(m_parser.Eval());
    }
    std::string Result(int i) override {
        try {
            Run(i);
            char text[64];
            std::snprintf(text, sizeof text, "%.17g", m_parser.Eval());
            return text;
        } catch (const mu::Parser::exception_type& e) {
            return "muParser failed: " + e.GetMsg();
        }
    }

private:
    static constexpr char kNames[] = "abcxy";
    const char* m_text;
    mu::Parser m_parser;
    double m_vars[5] = {};
};
#endif

// ---------------------------------------------------------------------------
// The table of cases.

struct Case {
    std::string name;   // "<group>/<family>/<key>": table.py groups rows by it
    std::string label;  // what is calculated, for the reader
    int64_t terms;      // for the cost per term of growing formulas
    std::string expected;
    std::function<std::unique_ptr<Bench>()> make;
    // Cases of one ladder grow in size; a size whose run is predicted to
    // exceed the budget is skipped (see Ladder).
    std::string ladder;
};

// The iteration whose result each case checks before it is measured.
constexpr int kCheckIteration = 3;

std::string Number(double v) {
    char text[64];
    std::snprintf(text, sizeof text, "%.17g", v);
    return text;
}

// Results agree when both are numbers that differ by no more than the
// engine's rounding of numbers written as text (8 decimals), or the same text.
bool SameResult(const std::string& got, const std::string& want) {
    char* end1 = nullptr;
    char* end2 = nullptr;
    const double g = std::strtod(got.c_str(), &end1);
    const double w = std::strtod(want.c_str(), &end2);
    if (!got.empty() && !want.empty() && *end1 == 0 && *end2 == 0)
        return std::fabs(g - w) <= 1e-8 * std::max(1.0, std::fabs(w));
    return got == want;
}

std::u16string U16(const std::string& ascii) { return std::u16string(ascii.begin(), ascii.end()); }

struct SmallFormula {
    const char* label;   // the key of the rows: 0 to 5
    const char* ours;
    const char* theirs;  // the same formula in muParser's syntax
    double (*oracle)(double a, double b, double c, double x, double y);
};

const SmallFormula kSmall[] = {
    {"0", "1+2*3-4/5", "1+2*3-4/5", [](double, double, double, double, double) { return 1 + 2 * 3 - 4 / 5.0; }},
    {"1", "(1.5+2.25)*(3-4.5)/7", "(1.5+2.25)*(3-4.5)/7",
     [](double, double, double, double, double) { return (1.5 + 2.25) * (3 - 4.5) / 7; }},
    {"2", "a*b+c/2-sqrt(x)", "a*b+c/2-sqrt(x)",
     [](double a, double b, double c, double x, double) { return a * b + c / 2 - std::sqrt(x); }},
    {"3", "min(a,b)+max(c,x,y)", "min(a,b)+max(c,x,y)",
     [](double a, double b, double c, double x, double y) { return std::min(a, b) + std::max({c, x, y}); }},
    {"4", "sum(a,b,c,x,y)/5", "sum(a,b,c,x,y)/5",
     [](double a, double b, double c, double x, double y) { return (a + b + c + x + y) / 5; }},
    {"5", "if(x>3 && y<2, 1, 0)", "(x>3 && y<2) ? 1 : 0",
     [](double, double, double, double x, double y) { return x > 3 && y < 2 ? 1.0 : 0.0; }},
};

std::string SmallExpected(const SmallFormula& f, int i) {
    auto v = [i](char16_t name) { return static_cast<double>(NameValue(name, i)); };
    return Number(f.oracle(v(u'a'), v(u'b'), v(u'c'), v(u'x'), v(u'y')));
}

// One formula of each built-in family with the result a report author
// would expect of it.
struct BuiltinFormula {
    const char* family;
    const char* key;
    const char* text;
    const char* expected;
};

const BuiltinFormula kBuiltins[] = {
    {"logic-math", "round", "round(a * 1.175, 2) + mod(b, 7) + abs(0 - c)", "15.7"},
    {"logic-math", "if-max", "if(x > 3, max(a, b, c), min(x, y))", "6"},
    {"logic-math", "pow-floor", "pow(2, 10) + floor(7.5) + ceil(7.5) + int(9.9) + log10(1000)", "1051"},
    {"dates", "difdays", "dateDifDays('2014-03-05', '2014-04-02')", "28"},
    {"dates", "addmonths", "formatDate(dateAddMonths('2014-11-15 10:20:30', 3), 'YYYY-MM-DD')", "2015-02-15"},
    {"dates", "season", "getMonth(lastDateOfSeason('2014-05-05'))", "6"},
    {"text", "left-upper", "left('report designer', 6) + '-' + toUpperCase(trim('  ab  '))", "report-AB"},
    {"text", "replace-len", "len(replaceAll('a,b,c,d', ',', '; '))", "10"},
    {"text", "indexof", "indexOf('hello world', 'wor')", "6"},
    {"words", "englishNum", "englishNum(1234)", "one thousand two hundred and thirty four"},
    {"words", "RMB", "RMB(1234.5)", "壹仟贰佰叁拾肆元伍角整"},
    {"words", "formatNum", "formatNum(1234567.891, '#,##0.00')", "1,234,567.89"},
};

// `n` copies of `term` joined by "+".
std::u16string Joined(const std::string& term, int64_t n) {
    const std::u16string t = U16(term);
    std::u16string text;
    text.reserve(static_cast<size_t>(n) * (t.size() + 1));
    for (int64_t k = 0; k < n; ++k) {
        if (k) text += u'+';
        text += t;
    }
    return text;
}

std::u16string Nested(int64_t depth) {
    return std::u16string(static_cast<size_t>(depth), u'(') + u"1" + std::u16string(static_cast<size_t>(depth), u')');
}

// A growing formula: its terms and its expected value for `n` of them.
struct Shape {
    const char* family;
    std::function<std::u16string(int64_t)> text;
    std::function<std::string(int64_t)> expected;
};

std::vector<Shape> Shapes() {
    const std::string a = std::to_string(NameValue(u'a', kCheckIteration));
    return {
        {"chain", [](int64_t n) { return Joined("1", n); }, [](int64_t n) { return std::to_string(n); }},
        {"calls", [](int64_t n) { return Joined("abs(1)", n); }, [](int64_t n) { return std::to_string(n); }},
        {"groups", [](int64_t n) { return Joined("(1)", n); }, [](int64_t n) { return std::to_string(n); }},
        {"names", [](int64_t n) { return Joined("a", n); },
         [a](int64_t n) { return std::to_string(n * std::stoll(a)); }},
        {"nesting", Nested, [](int64_t) { return std::string("1"); }},
    };
}

Shape FindShape(const std::string& family) {
    for (Shape& s : Shapes())
        if (family == s.family) return s;
    std::abort();
}

void AddCompileCalc(std::vector<Case>& cases, std::string name, std::string label, int64_t terms,
                    std::string expected, std::u16string text, std::string ladder = {}) {
    auto make = [text = std::move(text)] { return std::make_unique<CompileCalc>(text); };
    cases.push_back({std::move(name), std::move(label), terms, std::move(expected), make, std::move(ladder)});
}

std::vector<Case> Cases() {
    std::vector<Case> cases;
    for (const SmallFormula& f : kSmall)
        AddCompileCalc(cases, std::string("small/compile+calc/") + f.label, f.ours, 1, SmallExpected(f, kCheckIteration),
                       U16(f.ours));
    for (const SmallFormula& f : kSmall) {
        auto make = [text = U16(f.ours)] { return std::make_unique<CloneCalc>(text); };
        cases.push_back({std::string("small/clone+calc/") + f.label, f.ours, 1, SmallExpected(f, kCheckIteration), make, {}});
    }
    for (const SmallFormula& f : kSmall) {
        auto make = [text = U16(f.ours)] { return std::make_unique<ReuseCalc>(text); };
        cases.push_back({std::string("small/reuse+calc/") + f.label, f.ours, 1, SmallExpected(f, kCheckIteration), make, {}});
    }
#if defined(QORCALC_HAVE_MUPARSER)
    for (const SmallFormula& f : kSmall) {
        auto make = [text = f.theirs] { return std::make_unique<MuParserCalc>(text); };
        cases.push_back({std::string("small/muparser/") + f.label, f.theirs, 1, SmallExpected(f, kCheckIteration), make, {}});
    }
#endif
    for (const BuiltinFormula& f : kBuiltins)
        AddCompileCalc(cases, std::string("builtin/") + f.family + "/" + f.key, f.text, 1, f.expected, U16(f.text));

    // Growth: the cost per term should not change with the size.
    for (const Shape& s : Shapes()) {
        const bool nesting = std::string(s.family) == "nesting";
        const std::vector<int64_t> sizes =
            nesting ? std::vector<int64_t>{10, 100, 1000, CALC_MAX_NESTING} : std::vector<int64_t>{100, 1000, 10000, 100000};
        for (int64_t n : sizes)
            AddCompileCalc(cases, "growth/" + std::string(s.family) + "/" + std::to_string(n), s.family, n, s.expected(n),
                           s.text(n), std::string("growth/") + s.family);
    }

    // Formulas of 1 MB, climbed to in steps of 2 from 1/32 of the full size.
    struct Big {
        const char* family;
        const char* term;
        int64_t full;
    };
    for (const Big& b : {Big{"calls", "abs(1)", 150000}, Big{"names", "a", 500000}, Big{"groups", "(1)", 250000}}) {
        const Shape s = FindShape(b.family);
        for (int64_t divisor = 32; divisor >= 1; divisor /= 2) {
            const int64_t n = b.full / divisor;
            AddCompileCalc(cases, "1MB/" + std::string(b.family) + "/" + std::to_string(n),
                           std::string(b.term) + "+... of " + std::to_string(b.full), n, s.expected(n), s.text(n),
                           std::string("1MB/") + b.family);
        }
    }
    return cases;
}

// ---------------------------------------------------------------------------
// Ladders: the sizes of one family are run from small to large; a size
// whose single run, extrapolated from the two sizes before it, would take
// longer than the budget is skipped, so that the bench finishes even when
// the engine is quadratic somewhere, and shows where it stopped.

class Ladder {
public:
    explicit Ladder(double budgetSeconds) : m_budget(budgetSeconds) {}

    // The predicted seconds of one run of `terms`, or 0 when nothing is known.
    double Predict(const std::string& ladder, int64_t terms) const {
        const auto it = m_runs.find(ladder);
        if (ladder.empty() || it == m_runs.end() || it->second.empty()) return 0;
        const auto& runs = it->second;
        const auto [n1, t1] = runs.back();
        double exponent = 2;  // with one size known, assume the worst we have seen
        if (runs.size() >= 2) {
            const auto [n0, t0] = runs[runs.size() - 2];
            exponent = std::max(1.0, std::log(t1 / t0) / std::log(static_cast<double>(n1) / static_cast<double>(n0)));
        }
        return t1 * std::pow(static_cast<double>(terms) / static_cast<double>(n1), exponent);
    }
    bool OverBudget(const std::string& ladder, int64_t terms) const { return Predict(ladder, terms) > m_budget; }
    // Google Benchmark may run one size more than once (a trial, then the
    // measurement): the last run of a size stands for it.
    void Record(const std::string& ladder, int64_t terms, double seconds) {
        if (ladder.empty()) return;
        auto& runs = m_runs[ladder];
        if (!runs.empty() && runs.back().first == terms) runs.pop_back();
        runs.push_back({terms, std::max(seconds, 1e-9)});
    }

private:
    double m_budget;
    std::map<std::string, std::vector<std::pair<int64_t, double>>> m_runs;
};

double BudgetSeconds(double fallback) {
    const char* text = std::getenv("QORCALC_BENCH_BUDGET");
    return text && std::atof(text) > 0 ? std::atof(text) : fallback;
}

// Processor seconds of this process: the ladders judge sizes by them, so
// that a busy machine does not stop them earlier than a quiet one.
double CpuSeconds() { return static_cast<double>(std::clock()) / CLOCKS_PER_SEC; }

std::string SkipText(const Ladder& ladder, const Case& c) {
    return "skipped: about " + std::to_string(static_cast<int64_t>(ladder.Predict(c.ladder, c.terms))) +
           " s per run predicted at the growth measured so far";
}

// The check that precedes every measurement; empty when the result is right.
std::string Check(Bench& bench, const Case& c) {
    const std::string got = bench.Result(kCheckIteration);
    return SameResult(got, c.expected) ? std::string() : "wrong result: got " + got + ", expected " + c.expected;
}

// ---------------------------------------------------------------------------
// Timed by Google Benchmark.

void RegisterAll(const std::vector<Case>& cases, Ladder& ladder) {
    for (const Case& c : cases) {
        auto* b = benchmark::RegisterBenchmark(c.name.c_str(), [&c, &ladder](benchmark::State& state) {
            state.SetLabel(c.label);
            state.counters["terms"] = static_cast<double>(c.terms);
            if (ladder.OverBudget(c.ladder, c.terms)) return state.SkipWithError(SkipText(ladder, c).c_str());
            std::unique_ptr<Bench> bench = c.make();
            if (const std::string wrong = Check(*bench, c); !wrong.empty()) return state.SkipWithError(wrong.c_str());
            int i = 0;
            const size_t allocations = g_allocations;
            const double start = CpuSeconds();
            for (auto _ : state) bench->Run(++i);
            const double seconds = CpuSeconds() - start;
            const double iterations = static_cast<double>(state.iterations());
            state.counters["allocs"] = static_cast<double>(g_allocations - allocations) / iterations;
            ladder.Record(c.ladder, c.terms, seconds / iterations);
        });
        if (c.terms >= 10000) b->Iterations(1);
    }
}

// ---------------------------------------------------------------------------
// Counted under callgrind: each case runs a few iterations with collection
// on, and dumps its counts under its own name.  Allocations are counted the
// same way, and are exact here.  The formulas of 1 MB are left out: the
// growth cases count the same shapes per term, and callgrind would take
// minutes over them.  `filter`, when given, picks the cases whose name
// contains it.

int RunForInstructions(const std::vector<Case>& cases, Ladder& ladder, const char* filter) {
    for (const Case& c : cases) {
        if (c.name.starts_with("1MB/") || (filter && c.name.find(filter) == std::string::npos)) continue;
        if (ladder.OverBudget(c.ladder, c.terms)) {
            std::printf("%s\tskip\t%s\n", c.name.c_str(), SkipText(ladder, c).c_str());
            continue;
        }
        std::unique_ptr<Bench> bench = c.make();
        if (const std::string wrong = Check(*bench, c); !wrong.empty()) {
            std::printf("%s\tskip\t%s\n", c.name.c_str(), wrong.c_str());
            continue;
        }
        const int iterations = static_cast<int>(std::max<int64_t>(1, std::min<int64_t>(20, 2000 / c.terms)));
        const size_t allocations = g_allocations;
        const double start = CpuSeconds();
#if defined(QORCALC_HAVE_CALLGRIND)
        CALLGRIND_ZERO_STATS;
        CALLGRIND_TOGGLE_COLLECT;
#endif
        for (int i = 1; i <= iterations; ++i) bench->Run(i);
#if defined(QORCALC_HAVE_CALLGRIND)
        CALLGRIND_TOGGLE_COLLECT;
        CALLGRIND_DUMP_STATS_AT(c.name.c_str());
#endif
        const double seconds = CpuSeconds() - start;
        ladder.Record(c.ladder, c.terms, seconds / iterations);
        std::printf("%s\t%d\t%.2f\t%lld\t%s\n", c.name.c_str(), iterations,
                    static_cast<double>(g_allocations - allocations) / iterations, static_cast<long long>(c.terms),
                    c.label.c_str());
        std::fflush(stdout);
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    const std::vector<Case> cases = Cases();
    if (argc >= 2 && std::strcmp(argv[1], "--instr") == 0) {
        // Under callgrind a run is some 50 times slower; the budget is of
        // the slowed-down seconds.
        Ladder ladder(BudgetSeconds(10));
        return RunForInstructions(cases, ladder, argc >= 3 ? argv[2] : nullptr);
    }
    Ladder ladder(BudgetSeconds(5));
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
    RegisterAll(cases, ladder);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
