#!/usr/bin/env bash
# Installs, with apt-get, whatever the build and the tests need and this
# machine lacks.  Quiet and quick when everything is already there.
#   scripts/setup.sh          build and test dependencies
#   scripts/setup.sh bench    also what the benchmarks need
#   scripts/setup.sh fuzz     also clang with libFuzzer and the sanitizer
#                             runtimes, and llvm to symbolize their reports
set -euo pipefail

packages=(cmake make g++ pkg-config binutils python3 libgtest-dev libgmock-dev locales)
# The host layer and the qorcalc tool: Duktape (its source is built with the
# execution-time check the packaged library lacks), argument parsing, JSON,
# line editing; tmux and valgrind drive the tool's terminal and leak tests.
packages+=(duktape-dev libcli11-dev nlohmann-json3-dev libedit-dev tmux valgrind)
# The Python module, the SQLite extension and the Dask mapper, for Debian's
# own python3 (its python3-* packages, never pip), and the sqlite3 shell
# their tests drive.
packages+=(pybind11-dev python3-dev python3-pytest python3-pandas python3-dask python3-distributed
           sqlite3 libsqlite3-dev)
if [ "${1:-}" = bench ]; then
  packages+=(libbenchmark-dev libmuparser-dev time)
elif [ "${1:-}" = fuzz ]; then
  packages+=(clang libclang-rt-14-dev llvm)
fi

SUDO=""
[ "$(id -u)" -ne 0 ] && SUDO="sudo"

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  echo "setup: installing ${missing[*]}"
  export DEBIAN_FRONTEND=noninteractive
  $SUDO apt-get update -qq
  $SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
fi

# The tests check that case and collation behave under a Turkish locale and a
# UTF-8 one; build them when the machine has not got them.
for loc in tr_TR C; do
  locale -a 2>/dev/null | grep -qi "^${loc}\.utf-\?8$" && continue
  echo "setup: building the ${loc}.UTF-8 locale"
  $SUDO localedef -i "$loc" -f UTF-8 "${loc}.UTF-8" >/dev/null 2>&1 || echo "setup: could not build ${loc}.UTF-8"
done
