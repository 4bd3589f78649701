# Front door of the project: `make test` and `make demo` work on a fresh machine.
BUILD      ?= build
JOBS       ?= $(shell nproc 2>/dev/null || echo 2)
CMAKE_ARGS ?=

.PHONY: all setup configure build test demo sanitize tsan pgo bench-build bench bench-instr bench-check bench-report fuzz fuzz-build fuzz-short clean

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

# The main job: every column of examples/report.formulas for every order of
# examples/orders.csv (a table on a terminal, CSV into a pipe).
demo: configure
	@$(CMAKE_BUILD) $(BUILD) -j $(JOBS) --target qorcalc_cli >/dev/null
	@$(BUILD)/cli/qorcalc report examples/orders.csv examples/report.formulas

# The whole suite under AddressSanitizer with leak detection and UBSan; any
# report fails the test that raised it.
SANITIZER_ENV = ASAN_OPTIONS=detect_leaks=1:abort_on_error=0:strict_string_checks=1 \
  UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1
sanitize:
	@$(SANITIZER_ENV) $(MAKE) --no-print-directory test BUILD=build-asan CMAKE_ARGS="-DQORCALC_SANITIZE=ON -DCMAKE_BUILD_TYPE=Debug"

# The tests that run calculators and managers on several threads, under
# ThreadSanitizer.
TSAN_TESTS = CalcThreads.*:FuncCatalogue.BuiltOnceWhenManagersStartTogether
tsan:
	@$(MAKE) --no-print-directory configure BUILD=build-tsan CMAKE_ARGS="-DQORCALC_TSAN=ON -DCMAKE_BUILD_TYPE=Debug"
	@$(CMAKE_BUILD) build-tsan -j $(JOBS) --target qorcalc_tests
	@$(SANITIZER_ENV) build-tsan/qorcalc_tests --gtest_filter='$(TSAN_TESTS)' --gtest_brief=1

# The tool and libraries built with profile-guided optimisation in
# build-pgo (PGO_BUILD): built with counters, trained on a report and single
# formulas, built again with the profile.
PGO_BUILD ?= build-pgo
pgo: setup
	@scripts/pgo.sh $(PGO_BUILD)

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

# Every libFuzzer target for FUZZ_SECONDS each (clang, AddressSanitizer with
# leak detection, UBSan), one after the other; a summary line per target.
FUZZ_SECONDS ?= 60
fuzz-build:
	@scripts/setup.sh fuzz
	@CC=clang CXX=clang++ cmake -S . -B build-fuzz -DQORCALC_FUZZ=ON -DQORCALC_TESTS=OFF >/dev/null
	@$(CMAKE_BUILD) build-fuzz -j $(JOBS)

fuzz: fuzz-build
	@FUZZ_SECONDS=$(FUZZ_SECONDS) scripts/fuzz.sh

# The short run CI makes of every target.
fuzz-short: fuzz-build
	@FUZZ_SECONDS=25 scripts/fuzz.sh

clean:
	rm -rf build build-asan build-tsan build-bench build-fuzz
