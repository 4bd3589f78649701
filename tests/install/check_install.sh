#!/usr/bin/env bash
# check_install.sh BUILD_DIR SOURCE_DIR CXX
# Installs BUILD_DIR into a fresh prefix, then builds examples/embed.cpp
# against that prefix with find_package (shared and static) and with
# pkg-config, runs each build on the sample data and compares their output
# with what the in-tree build prints; builds a host on the host layer both
# ways too, and runs the installed tool, Python package and SQLite extension
# as a user would.
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
for f in include/qorcalc/qorcalc.h include/qorcalc/host.h lib/pkgconfig/qorcalc.pc lib/pkgconfig/qorcalc-host.pc \
         lib/cmake/QORCalc/QORCalcConfig.cmake lib/libqorcalc.a lib/libqorcalc_host.a bin/qorcalc; do
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
# The host layer, through find_package and through pkg-config: the same
# values and error ids as the installed tool gives for the same formulas.
host_expected="round(total, 2) = 8.03
vat(10) + qty = 5
js('return 6 * 7') = 42
missing + 1: error 2000"
# shellcheck disable=SC2046
"$cxx" -std=c++20 "$src/tests/install/consumer/host_layer.cpp" -o "$work/host_layer_pkgconfig" \
       $(pkg-config --cflags --libs qorcalc-host)
for exe in "$work/consumer/host_layer" "$work/host_layer_pkgconfig"; do
  out=$("$exe") || fail "$(basename "$exe") failed"
  [ "$out" = "$host_expected" ] || fail "$(basename "$exe") printed: $out"
done
tool=$prefix/bin/qorcalc
[ "$("$tool" eval --var qty=3 --var price=2.675 -- 'round(qty * price, 2)')" = 8.03 ] || fail "the installed tool did not calculate"
unknown=$("$tool" eval --json -- 'missing + 1' || true)
[[ $unknown == *'"id": 2000'* ]] || fail "the installed tool printed for an unknown name: $unknown"

# The Python package and the SQLite extension (a plain build has both).
python_dir=$(find "$prefix" -type d -name qorcalc -path '*-packages/*' | head -n 1)
[ -n "$python_dir" ] || fail "no Python package qorcalc was installed"
got=$(cd "$work" && PYTHONPATH=$(dirname "$python_dir") /usr/bin/python3 -c \
      'import qorcalc; print(qorcalc.__file__.startswith("'"$prefix"'"), qorcalc.evaluate("round(qty * 2.675, 2)", {"qty": 3}))')
[ "$got" = "True 8.03" ] || fail "the installed Python package printed: $got"
extension=$(find "$prefix" -name 'qorcalc.so' -path '*/qorcalc/sqlite/*' | head -n 1)
[ -n "$extension" ] || fail "no SQLite extension was installed under lib/qorcalc/sqlite"
got=$(sqlite3 -cmd ".load ${extension%.so}" :memory: "SELECT qorcalc('round(qty * 2.675, 2)', 'qty', 3);")
[ "$got" = 8.03 ] || fail "the installed SQLite extension printed: $got"

"$work/consumer/catalogue_host" >"$work/catalogue.txt" || fail "catalogue_host did not get a catalogue text: $(cat "$work/catalogue.txt")"
grep -q '^2 .*1+(2' "$work/catalogue.txt" || fail "catalogue_host printed: $(cat "$work/catalogue.txt")"
echo "check_install: find_package (shared, static, host) and pkg-config builds give the in-tree results"
