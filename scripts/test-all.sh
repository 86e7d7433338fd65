#!/usr/bin/env bash
# Quick start, second command (and CI): builds and runs the whole test suite in
# four configurations, x86_64, i386, and x86_64 with AddressSanitizer and
# UndefinedBehaviorSanitizer built by gcc and by clang, with warnings as
# errors. Ends with CTest's summary of each; fails if any configuration fails.
#
# The i386 tests run natively where the kernel executes 32-bit programs and
# under qemu-i386 where it does not (scripts/i386-runner.sh decides;
# KR_I386_EMULATOR=qemu-i386 forces the emulator). When neither works the i386
# configuration fails with the reason; it is never skipped silently.
set -uo pipefail
cd "$(dirname "$0")/.."

bash scripts/deps.sh test || exit 1
jobs=$(nproc)
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
export ASAN_OPTIONS=detect_leaks=1:strict_string_checks=1:detect_stack_use_after_return=1

failed=0
summary=""
log=$(mktemp)
trap 'rm -f "$log"' EXIT
for preset in default i386 asan asan-clang; do
  name=$preset
  options=(-DKR_WERROR=ON)
  if [ "$preset" = i386 ]; then
    if ! way=$(bash scripts/i386-runner.sh 2>"$log"); then
      summary+="i386: NOT RUN, this machine cannot run i386 programs: $(cat "$log")"$'\n'
      failed=1
      continue
    fi
    name="i386 ($way)"
    [ "$way" = native ] && way=""
    options+=(-DKR_I386_EMULATOR="$way")
  fi
  echo "=== $name: configure and build"
  start=$(date +%s)
  if ! cmake --preset "$preset" "${options[@]}" >/dev/null ||
     ! cmake --build --preset "$preset" -j "$jobs"; then
    summary+="$name: BUILD FAILED"$'\n'
    failed=1
    continue
  fi
  built=$(date +%s)
  echo "=== $name: test"
  ctest --preset "$preset" -j "$jobs" 2>&1 | tee "$log"
  [ "${PIPESTATUS[0]}" -eq 0 ] || failed=1
  done_at=$(date +%s)
  summary+="$name (build $((built - start)) s, tests $((done_at - built)) s): "
  summary+="$(grep -E 'tests passed|No tests were found' "$log" | tail -n 1)"$'\n'
  failures=$(sed -n '/The following tests FAILED/,/^Errors while running/p' "$log")
  [ -z "$failures" ] || summary+="$failures"$'\n'
done

# Each fuzz target for a short while under libFuzzer (the replays above ran
# its seeds and a few hundred random inputs in every configuration).
echo "=== fuzz: 15 s per target"
if bash scripts/fuzz.sh 15 >"$log" 2>&1; then
  summary+="fuzz: $(grep -c ' executions, ' "$log") targets, no failure"$'\n'
else
  cat "$log"
  summary+="fuzz: FAILED"$'\n'
  failed=1
fi

echo
echo "=== CTest summary"
printf '%s' "$summary"
exit $failed
