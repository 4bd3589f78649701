# Front door of the project: `make test` and `make demo` work on a fresh machine.
BUILD      ?= build
JOBS       ?= $(shell nproc 2>/dev/null || echo 2)
CMAKE_ARGS ?=

.PHONY: all setup configure build test demo sanitize bench fuzz clean

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

sanitize:
	@$(MAKE) --no-print-directory test BUILD=build-asan CMAKE_ARGS="-DQORCALC_SANITIZE=ON -DCMAKE_BUILD_TYPE=Debug"

bench:
	@scripts/setup.sh bench
	@cmake -S . -B build-bench -DQORCALC_BENCH=ON -DQORCALC_TESTS=OFF -DCMAKE_BUILD_TYPE=Release >/dev/null
	@$(CMAKE_BUILD) build-bench -j $(JOBS)
	@for b in build-bench/bench/qorcalc_bench*; do [ -x "$$b" ] && "$$b"; done

# Each libFuzzer target for FUZZ_SECONDS (clang, AddressSanitizer and UBSan).
FUZZ_SECONDS ?= 60
fuzz: setup
	@CXX=clang++ cmake -S . -B build-fuzz -DQORCALC_FUZZ=ON -DQORCALC_TESTS=OFF >/dev/null
	@$(CMAKE_BUILD) build-fuzz -j $(JOBS)
	@for f in build-fuzz/fuzz/qorcalc_fuzz_*; do mkdir -p build-fuzz/corpus/$$(basename $$f); \
	  $$f build-fuzz/corpus/$$(basename $$f) -max_total_time=$(FUZZ_SECONDS) -max_len=512 -timeout=10 || exit 1; done

clean:
	rm -rf build build-asan build-bench build-fuzz
