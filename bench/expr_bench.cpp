// Expression core costs: reducing long operator lists (linear in their
// length), and walking deeply nested trees (clone, write, check, delete,
// and the step-by-step reduction up to the nesting limit).
#include "expr/evaluate.h"

#include <qorcalc/node.h>

#include <benchmark/benchmark.h>

#include <memory>

using namespace qorcalc::expr;

namespace {

CCalcNode* AddNode(CCalcNode* list, uint8_t kind) {
    auto* node = new CCalcNode(list, kind);
    list->Add(node);
    return node;
}

void AddOperator(CCalcNode* list, const char16_t* spelling) {
    AddNode(list, NodeOperator)->ClassifyOperator(spelling);
}

// 1 + 2 * 3 - 4 / 5 ... with n operands; with `logic`, every fourth
// operator is && or ||, so that the list splits into segments.
std::unique_ptr<CCalcNode> LongList(int n, bool logic) {
    static const char16_t* const kArithmetic[] = {u"+", u"*", u"-", u"/"};
    auto root = std::make_unique<CCalcNode>(nullptr, NodeRoot);
    root->Children().reserve(static_cast<size_t>(2 * n));
    for (int i = 0; i < n; ++i) {
        if (i > 0) {
            const int k = i % 4;
            if (logic && k == 0) {
                AddOperator(root.get(), (i / 4) % 2 ? u"&&" : u"||");
            } else {
                AddOperator(root.get(), kArithmetic[k]);
            }
        }
        AddNode(root.get(), NodeNumber)->SetNumber(i % 7 + 1, 0);
    }
    return root;
}

void ReduceList(benchmark::State& state, bool logic) {
    const int n = static_cast<int>(state.range(0));
    for (auto _ : state) {
        state.PauseTiming();
        auto root = LongList(n, logic);
        state.ResumeTiming();
        uint32_t error = 0;
        CString text;
        while (root->GetCount() > 0) {
            if (!EvaluateList(root.get(), 0, error, text)) state.SkipWithError("reduction failed");
        }
        benchmark::DoNotOptimize(root->GetNumber());
    }
    state.SetComplexityN(n);
}

void BM_ReduceArithmeticList(benchmark::State& state) { ReduceList(state, false); }
void BM_ReduceLogicList(benchmark::State& state) { ReduceList(state, true); }
BENCHMARK(BM_ReduceArithmeticList)->Arg(1000)->Arg(10000)->Arg(100000)->Complexity(benchmark::oN);
BENCHMARK(BM_ReduceLogicList)->Arg(1000)->Arg(10000)->Arg(100000)->Complexity(benchmark::oN);

// `depth` groups nested around 1 + 2.
std::unique_ptr<CCalcNode> Nested(int depth) {
    auto root = std::make_unique<CCalcNode>(nullptr, NodeRoot);
    CCalcNode* list = root.get();
    for (int i = 0; i < depth; ++i) list = AddNode(list, NodeGroup);
    AddNode(list, NodeNumber)->SetNumber(1, 0);
    AddOperator(list, u"+");
    AddNode(list, NodeNumber)->SetNumber(2, 0);
    return root;
}

void BM_DeepCloneAndDelete(benchmark::State& state) {
    auto root = Nested(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        std::unique_ptr<CCalcNode> copy(root->Clone());
        benchmark::DoNotOptimize(copy.get());
    }
    state.SetComplexityN(state.range(0));
}
BENCHMARK(BM_DeepCloneAndDelete)->Arg(1000)->Arg(10000)->Complexity(benchmark::oN);

void BM_DeepWrite(benchmark::State& state) {
    auto root = Nested(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        CString formula;
        root->GetFormula(formula);
        benchmark::DoNotOptimize(formula.GetLength());
    }
    state.SetComplexityN(state.range(0));
}
BENCHMARK(BM_DeepWrite)->Arg(1000)->Arg(10000)->Complexity(benchmark::oN);

void BM_DeepCheckTree(benchmark::State& state) {
    auto root = Nested(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        int position = 0;
        benchmark::DoNotOptimize(CheckTree(root.get(), u"", position));
    }
    state.SetComplexityN(state.range(0));
}
BENCHMARK(BM_DeepCheckTree)->Arg(1000)->Arg(10000)->Complexity(benchmark::oN);

// One round of step selection on a tree of the given depth.
void BM_DeepNextStep(benchmark::State& state) {
    auto root = Nested(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        int code = 0;
        benchmark::DoNotOptimize(NextStep(root.get(), code));
    }
    state.SetComplexityN(state.range(0));
}
BENCHMARK(BM_DeepNextStep)->Arg(1000)->Arg(10000)->Complexity(benchmark::oN);

// The whole step-by-step reduction, one round per nesting level; bounded
// by the converter's nesting limit.
void BM_NestedReduction(benchmark::State& state) {
    const int depth = static_cast<int>(state.range(0));
    for (auto _ : state) {
        state.PauseTiming();
        auto root = Nested(depth);
        state.ResumeTiming();
        int code = 0;
        uint32_t error = 0;
        CString text;
        while (CCalcNode* node = NextStep(root.get(), code)) {
            if (code == STEP_EVALUATE) {
                EvaluateList(node, 0, error, text);
            } else {
                node->Unwrap();
            }
        }
        benchmark::DoNotOptimize(root->GetNumber());
    }
}
BENCHMARK(BM_NestedReduction)->Arg(500)->Arg(CALC_MAX_NESTING);

}  // namespace

BENCHMARK_MAIN();
