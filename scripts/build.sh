#!/usr/bin/env bash
# Quick start, first command: installs what the machine lacks (as root),
# builds the library, krinfo, tests and benchmarks (x86_64, ./build), and
# shows krinfo at work.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/deps.sh
cmake --preset default >/dev/null
cmake --build --preset default -j "$(nproc)"

krinfo=build/krinfo
show() { echo "\$ krinfo $*"; "$krinfo" "$@"; echo; }
echo
show version
show error -2008 --context Open
show error -2002 0 7 -3050 12345
