#!/usr/bin/env bash
# check_install.sh BUILD_DIR SOURCE_DIR CXX
# Installs BUILD_DIR into a fresh prefix, then builds examples/embed.cpp
# against that prefix with find_package (shared and static) and with
# pkg-config, runs each build on the sample data and compares their output
# with what the in-tree build prints.
set -euo pipefail
build=$1 src=$2 cxx=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix

fail() { echo "check_install: $*" >&2; exit 1; }

cmake --install "$build" --prefix "$prefix" >/dev/null
lib=$(find "$prefix" -name 'libqorcalc.so.*' -type f | head -n 1)
[ -n "$lib" ] || fail "no versioned libqorcalc.so installed under $prefix"
soname=$(objdump -p "$lib" | awk '/SONAME/ {print $2}')
[[ $soname =~ ^libqorcalc\.so\.[0-9]+$ ]] || fail "SONAME of $lib is '$soname', not libqorcalc.so.MAJOR"
for f in include/qorcalc/qorcalc.h lib/pkgconfig/qorcalc.pc lib/cmake/QORCalc/QORCalcConfig.cmake lib/libqorcalc.a; do
  [ -e "$prefix/$f" ] || [ -e "$prefix/${f/lib\//lib/x86_64-linux-gnu/}" ] || fail "$f was not installed"
done

sample=("$src/examples/embed_orders.csv" "$src/examples/formulas.txt")
host=$src/examples/embed.cpp
expected=$work/expected.txt
(cd "$src" && "$build/examples/qorcalc_demo" "${sample[@]}") >"$expected"
[ -s "$expected" ] || fail "the in-tree sample host printed nothing"

cmake -S "$src/tests/install/consumer" -B "$work/consumer" -DCMAKE_PREFIX_PATH="$prefix" \
      -DCMAKE_CXX_COMPILER="$cxx" -DSAMPLE_HOST="$host" >/dev/null
cmake --build "$work/consumer" >/dev/null
export PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name qorcalc.pc | head -n 1)")
# shellcheck disable=SC2046
"$cxx" -std=c++20 "$host" -o "$work/host_pkgconfig" $(pkg-config --cflags --libs qorcalc) \
       -Wl,-rpath,"$(pkg-config --variable=libdir qorcalc)"

for exe in "$work/consumer/host_shared" "$work/consumer/host_static" "$work/host_pkgconfig"; do
  "$exe" "${sample[@]}" >"$work/actual.txt" || fail "$(basename "$exe") failed"
  cmp -s "$expected" "$work/actual.txt" || { diff "$expected" "$work/actual.txt" | head; fail "$(basename "$exe") printed other results"; }
done
"$work/consumer/catalogue_host" >"$work/catalogue.txt" || fail "catalogue_host did not get a catalogue text: $(cat "$work/catalogue.txt")"
grep -q '^2 .*1+(2' "$work/catalogue.txt" || fail "catalogue_host printed: $(cat "$work/catalogue.txt")"
echo "check_install: find_package (shared, static) and pkg-config builds give the in-tree results"
