#!/usr/bin/env bash
# Runs the test suite (x86_64 build, ./build) under valgrind's memcheck:
# every GoogleTest program and every fuzz replay, with leak checking. Ends
# with the error and leak totals; fails on any error or definite or indirect
# leak.
#
# Two kinds of tests are skipped, found in the sources and listed before the
# run: those that make allocations fail on purpose (valgrind replaces malloc
# itself, so the test interposer, tests/support/failing_alloc, is not in
# effect under it), and those that run their own program again through
# /proc/self/exe (which names valgrind's tool under valgrind).
set -uo pipefail
cd "$(dirname "$0")/.."

bash scripts/deps.sh test || exit 1
if ! command -v valgrind >/dev/null; then
  [ "$(id -u)" -eq 0 ] && DEBIAN_FRONTEND=noninteractive apt-get install -y -qq valgrind >/dev/null
  command -v valgrind >/dev/null || { echo "valgrind.sh: valgrind is not installed" >&2; exit 1; }
fi
cmake --preset default >/dev/null && cmake --build --preset default -j "$(nproc)" >/dev/null || exit 1

# Suite.Name of every test whose body uses the interposer.
pattern='AllocationFailure|FailNthAllocation|FailAllocationsFrom|Sweep\(|/proc/self/exe'
skipped=$(grep -rlE "$pattern" tests --include='*.cpp' | xargs awk -v pattern="$pattern" '
  /^TEST(_F|_P)?\(/ {
    line = $0
    sub(/^TEST(_F|_P)?\( */, "", line)
    split(line, parts, /[ ,)]+/)
    name = parts[1] "." parts[2]
  }
  $0 ~ pattern && name != "" { print name }' | sort -u)
echo "Skipped under valgrind (they arm the allocation interposer, which valgrind's malloc replaces,"
echo "or run their program again through /proc/self/exe, which names valgrind's tool):"
printf '  %s\n' $skipped
filter="-$(printf '%s:' $skipped | sed 's/:$//')"

log=$(mktemp)
trap 'rm -f "$log"' EXIT
errors=0 lost=0 failed=0 programs=0
export KR_FUZZ_RUNS=40
for program in build/tests/kr_*_tests build/tests/*/kr_*_tests build/fuzz/kr_*_replay; do
  [ -x "$program" ] || continue
  programs=$((programs + 1))
  args=()
  case $program in
    *_replay) args=("fuzz/corpus/$(basename "$program" | sed 's/^kr_\(.*\)_replay$/\1/')") ;;
    *) args=(--gtest_filter="$filter") ;;
  esac
  echo "=== $program"
  valgrind --error-exitcode=99 --leak-check=full --show-leak-kinds=definite,indirect \
      --errors-for-leak-kinds=definite,indirect --child-silent-after-fork=yes \
      "$program" "${args[@]}" >"$log" 2>&1
  status=$?
  grep -E 'ERROR SUMMARY|definitely lost|indirectly lost|PASSED|FAILED|passed' "$log" | sed 's/^==[0-9]*== //'
  e=$(sed -n 's/.*ERROR SUMMARY: \([0-9]*\) errors.*/\1/p' "$log" | tail -n 1)
  l=$(sed -n 's/.*definitely lost: \([0-9,]*\) bytes.*/\1/p' "$log" | tail -n 1 | tr -d ,)
  errors=$((errors + ${e:-0}))
  lost=$((lost + ${l:-0}))
  if [ $status -ne 0 ]; then
    failed=$((failed + 1))
    grep -B2 -A20 -E 'Invalid|uninitialised|definitely lost in|FAILED' "$log" | head -n 80
  fi
done
echo
echo "=== valgrind: $programs programs, $errors errors, $lost bytes definitely lost, $failed failed"
[ $failed -eq 0 ] && [ $errors -eq 0 ] && [ $lost -eq 0 ]
