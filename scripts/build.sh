#!/usr/bin/env bash
# Quick start, first command: installs what the machine lacks (as root),
# builds the library, krinfo, tests and benchmarks (x86_64, ./build), and
# shows krinfo at work.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/deps.sh build
cmake --preset default >/dev/null
cmake --build --preset default -j "$(nproc)"

krinfo=build/krinfo
# Commands that answer "no" exit with 1; that is part of the demonstration.
show() { echo "\$ krinfo $*"; "$krinfo" "$@" || true; echo; }
echo
show version
show self
show now
show error -2008 --context Open
show error -2002 0 7 -3050 12345
show check-version 9.5.23.262.0 --flags 4
show crc32 build/libkr95Nbs.so
demo=$(mktemp -d)
trap 'rm -rf "$demo"' EXIT
printf 'ant bee cat dog ' > "$demo/a"
printf 'bee cat cow ' > "$demo/b"
show diff --record-size 4 --text "$demo/a" "$demo/b"
