#!/usr/bin/env bash
# Installs, with apt-get, whatever the build and the tests need and this
# machine lacks.  Quiet and quick when everything is already there.
#   scripts/setup.sh          build and test dependencies
#   scripts/setup.sh bench    also what the benchmarks need
set -euo pipefail

packages=(cmake make g++ libgtest-dev libgmock-dev)
if [ "${1:-}" = bench ]; then
  packages+=(libbenchmark-dev libmuparser-dev)
fi

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "setup: installing ${missing[*]}"
SUDO=""
[ "$(id -u)" -ne 0 ] && SUDO="sudo"
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq
$SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
