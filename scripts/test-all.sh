#!/usr/bin/env bash
# Quick start, second command (and CI): builds and runs the whole test suite in
# the three configurations, x86_64, i386 and x86_64 with AddressSanitizer and
# UndefinedBehaviorSanitizer, with warnings as errors. Ends with CTest's
# summary of each; fails if any configuration fails.
set -uo pipefail
cd "$(dirname "$0")/.."

bash scripts/deps.sh || exit 1
jobs=$(nproc)
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
export ASAN_OPTIONS=detect_leaks=1:strict_string_checks=1:detect_stack_use_after_return=1

failed=0
summary=""
for preset in default i386 asan; do
  echo "=== $preset: configure and build"
  start=$(date +%s)
  if ! cmake --preset "$preset" -DKR_WERROR=ON >/dev/null ||
     ! cmake --build --preset "$preset" -j "$jobs"; then
    summary+="$preset: BUILD FAILED"$'\n'
    failed=1
    continue
  fi
  built=$(date +%s)
  echo "=== $preset: test"
  log=$(mktemp)
  ctest --preset "$preset" -j "$jobs" 2>&1 | tee "$log"
  [ "${PIPESTATUS[0]}" -eq 0 ] || failed=1
  done_at=$(date +%s)
  summary+="$preset (build $((built - start)) s, tests $((done_at - built)) s): "
  summary+="$(grep -E 'tests passed|No tests were found' "$log" | tail -n 1)"$'\n'
  summary+="$(sed -n '/The following tests FAILED/,$p' "$log")"
  rm -f "$log"
done

echo
echo "=== CTest summary"
printf '%s' "$summary"
exit $failed
