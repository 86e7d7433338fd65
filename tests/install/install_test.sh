#!/usr/bin/env bash
# Usage: install_test.sh BUILD_DIR CONSUMER_SOURCE CXX "CXXFLAGS" [TOOLCHAIN] ["EMULATOR"]
# EMULATOR: the command that runs the build's programs where the kernel cannot
# (qemu-i386 -L / for i386 on some machines); empty to run them directly.
set -euo pipefail
build=$1 consumer=$2 cxx=$3 flags=$4 toolchain=${5:-}
read -r -a run <<<"${6:-}"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --install "$build" --prefix "$work/prefix" >/dev/null
for f in include/kr/diag.h include/kr/containers.h include/kr/export.h \
         lib/libkr95Nbs.so bin/krinfo lib/pkgconfig/kr95Nbs.pc \
         lib/cmake/kr95Nbs/kr95NbsConfig.cmake; do
  [ -e "$work/prefix/$f" ] || { echo "not installed: $f"; exit 1; }
done
# The installed tool finds the installed library through its run path.
"${run[@]}" "$work/prefix/bin/krinfo" error -2008 --context Open | grep -qx 'Open : -2008 -> database is not opened'

echo "== find_package"
args=(-S "$consumer" -B "$work/consumer" -DCMAKE_PREFIX_PATH="$work/prefix"
      -DCMAKE_CXX_COMPILER="$cxx" -DCMAKE_CXX_FLAGS="$flags")
[ -n "$toolchain" ] && args+=(-DCMAKE_TOOLCHAIN_FILE="$toolchain")
cmake "${args[@]}" >/dev/null
cmake --build "$work/consumer" >/dev/null
out=$("${run[@]}" "$work/consumer/consumer")
echo "$out"
[ "$out" = "Open : -2008 -> database is not opened" ]

echo "== pkg-config"
export PKG_CONFIG_PATH="$work/prefix/lib/pkgconfig"
# shellcheck disable=SC2046,SC2086
"$cxx" -std=c++11 $flags "$consumer/main.cpp" $(pkg-config --cflags --libs kr95Nbs) \
  -o "$work/pc-consumer"
out=$(LD_LIBRARY_PATH="$work/prefix/lib" "${run[@]}" "$work/pc-consumer")
echo "$out"
[ "$out" = "Open : -2008 -> database is not opened" ]
