#!/usr/bin/env bash
# Runs every libFuzzer target built in $BUILD (default build-fuzz) for
# FUZZ_SECONDS each, one after the other, on the seeds taken from the tests
# plus the corpus kept from earlier runs, and prints one summary line per
# target: executions, coverage, features, corpus size and the slowest input.
# A crash, leak, sanitizer report, timeout or violated property fails the
# run; the input that caused it is left in $BUILD/artifacts/<target>/.
#   FUZZ_SECONDS  seconds per target (60)
#   FUZZ_TIMEOUT  seconds one input may take before it counts as a hang (10)
#   FUZZ_TARGETS  the targets to run (all)
set -uo pipefail
cd "$(dirname "$0")/.."

BUILD=${BUILD:-build-fuzz}
seconds=${FUZZ_SECONDS:-60}
timeout=${FUZZ_TIMEOUT:-10}
targets=${FUZZ_TARGETS:-$(cd "$BUILD/fuzz" && ls qorcalc_fuzz_* | sed 's/^qorcalc_fuzz_//')}

rm -rf "$BUILD/seeds"
scripts/fuzz_seeds.py "$BUILD/seeds"
mkdir -p "$BUILD/logs"

failed=()
summary=()
for target in $targets; do
  # Formula targets take long inputs: quadratic work only shows on them.
  case $target in formula|answers) max_len=65536 ;; *) max_len=4096 ;; esac
  corpus=$BUILD/corpus/$target
  artifacts=$BUILD/artifacts/$target/
  log=$BUILD/logs/$target.log
  mkdir -p "$corpus" "$artifacts" "$BUILD/seeds/$target"
  echo "fuzz: $target for ${seconds}s"
  "$BUILD/fuzz/qorcalc_fuzz_$target" "$corpus" "$BUILD/seeds/$target" \
    -max_total_time="$seconds" -max_len="$max_len" -timeout="$timeout" -report_slow_units=1 \
    -print_final_stats=1 -artifact_prefix="$artifacts" >"$log" 2>&1
  status=$?
  runs=$(grep -o 'number_of_executed_units: [0-9]*' "$log" | awk '{print $2}' | tail -1)
  stats=$(grep -E '^#[0-9]+' "$log" | grep -o 'cov: [0-9]* ft: [0-9]* corp: [0-9]*' | tail -1)
  slowest=$(grep -o 'Slowest unit: [0-9]* s' "$log" | awk '{print $3}' | sort -n | tail -1)
  line=$(printf '%-11s %-4s runs=%-9s %s slowest=%ss' "$target" \
    "$([ $status -eq 0 ] && echo ok || echo FAIL)" "${runs:-?}" "${stats:-cov: ?}" "${slowest:-<1}")
  summary+=("$line")
  if [ $status -ne 0 ]; then
    failed+=("$target")
    grep -E 'ERROR|SUMMARY|property violated|Test unit written|==[0-9]+==' "$log" | head -20
  fi
done

echo "fuzz summary (${seconds}s per target; logs in $BUILD/logs):"
printf '  %s\n' "${summary[@]}"
if [ ${#failed[@]} -gt 0 ]; then
  echo "fuzz: failed: ${failed[*]}"
  exit 1
fi
