# Front door of the project: `make test` and `make demo` work on a fresh machine.
BUILD      ?= build
JOBS       ?= $(shell nproc 2>/dev/null || echo 2)
CMAKE_ARGS ?=

.PHONY: all setup configure build test demo sanitize bench-build bench bench-instr bench-check bench-report fuzz clean

all: build

setup:
	@scripts/setup.sh

configure: setup
	@cmake -S . -B $(BUILD) $(CMAKE_ARGS) >/dev/null

# The inner build runs without our make's flags, so it prints no directory noise.
CMAKE_BUILD = env -u MAKEFLAGS -u MAKELEVEL -u MFLAGS cmake --build

build: configure
	@$(CMAKE_BUILD) $(BUILD) -j $(JOBS)

test: build
	@cd $(BUILD) && ctest --output-on-failure -j $(JOBS)

demo: configure
	@$(CMAKE_BUILD) $(BUILD) -j $(JOBS) --target qorcalc_demo >/dev/null
	@$(BUILD)/examples/qorcalc_demo examples/orders.csv examples/formulas.txt

sanitize:
	@$(MAKE) --no-print-directory test BUILD=build-asan CMAKE_ARGS="-DQORCALC_SANITIZE=ON -DCMAKE_BUILD_TYPE=Debug"

# The speed record as one table: CPU time per run against muParser in the
# same run (bench), or instructions per run under callgrind (bench-instr).
# BENCH_ARGS go to Google Benchmark, e.g. BENCH_ARGS=--benchmark_filter=small.
BENCH_ARGS ?=
bench-build:
	@scripts/setup.sh bench
	@cmake -S . -B build-bench -DQORCALC_BENCH=ON -DQORCALC_TESTS=OFF -DCMAKE_BUILD_TYPE=Release >/dev/null
	@$(CMAKE_BUILD) build-bench -j $(JOBS) --target qorcalc_bench >/dev/null

bench: bench-build
	@bench/table.py time build-bench/bench/qorcalc_bench $(BENCH_ARGS)

bench-instr: bench-build
	@bench/table.py instr build-bench/bench/qorcalc_bench

# The bench's own tools: verdicts, dump and timing parsers, generated data.
bench-check:
	@python3 -m unittest discover -s bench -p 'test_*.py'

# qorcalc report over generated orders (100,000 and 1,000,000 records).
QORCALC ?= $(BUILD)/cli/qorcalc
bench-report:
	@scripts/setup.sh bench
	@bench/report_bench.py run $(QORCALC)

# Each libFuzzer target for FUZZ_SECONDS (clang, AddressSanitizer and UBSan).
FUZZ_SECONDS ?= 60
fuzz: setup
	@CXX=clang++ cmake -S . -B build-fuzz -DQORCALC_FUZZ=ON -DQORCALC_TESTS=OFF >/dev/null
	@$(CMAKE_BUILD) build-fuzz -j $(JOBS)
	@for f in build-fuzz/fuzz/qorcalc_fuzz_*; do mkdir -p build-fuzz/corpus/$$(basename $$f); \
	  $$f build-fuzz/corpus/$$(basename $$f) -max_total_time=$(FUZZ_SECONDS) -max_len=512 -timeout=10 || exit 1; done

clean:
	rm -rf build build-asan build-bench build-fuzz
