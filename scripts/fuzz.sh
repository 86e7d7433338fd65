#!/usr/bin/env bash
# Builds the libFuzzer targets of fuzz/ (clang, AddressSanitizer and
# UndefinedBehaviorSanitizer, the `fuzz` preset) and runs each for SECONDS
# (default 60), one after another, starting from its seeds in fuzz/corpus/
# and from what earlier runs found (kept in build-fuzz/corpus/). Prints the
# executions, coverage and corpus size of each; a failing input is kept in
# build-fuzz/artifacts/ and ends the script with status 1.
#
#   scripts/fuzz.sh [SECONDS] [TARGET...]     TARGET: codec ini lists memfile rbtree texts
set -uo pipefail
cd "$(dirname "$0")/.."

seconds=${1:-60}
shift || true
targets=("$@")
[ ${#targets[@]} -gt 0 ] ||
  read -r -a targets <<<"$(sed -n 's/^set(kr_fuzz_targets \(.*\))$/\1/p' fuzz/CMakeLists.txt)"

cmake --preset fuzz >/dev/null || exit 1
cmake --build --preset fuzz -j "$(nproc)" || exit 1
mkdir -p build-fuzz/artifacts
export ASAN_OPTIONS=detect_leaks=1:strict_string_checks=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1

status=0
summary=""
for name in "${targets[@]}"; do
  corpus=build-fuzz/corpus/$name
  log=build-fuzz/artifacts/$name.log
  mkdir -p "$corpus"
  echo "=== $name: $seconds s"
  "build-fuzz/fuzz/kr_${name}_fuzz" -max_total_time="$seconds" -print_final_stats=1 \
      -artifact_prefix="build-fuzz/artifacts/$name-" "$corpus" "fuzz/corpus/$name" >"$log" 2>&1
  result=$?
  runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
  done_line=$(grep -E '^#[0-9]+.*(DONE|pulse|NEW|REDUCE)' "$log" | tail -n 1)
  cov=$(sed -n 's/.* cov: \([0-9]*\).*/\1/p' <<<"$done_line")
  features=$(sed -n 's/.* ft: \([0-9]*\).*/\1/p' <<<"$done_line")
  inputs=$(find "$corpus" -type f | wc -l)
  line="$name: ${runs:-?} executions, coverage ${cov:-?} edges, ${features:-?} features, corpus $inputs"
  if [ $result -ne 0 ]; then
    status=1
    line+=" -- FAILED (see $log and build-fuzz/artifacts/$name-*)"
    tail -n 30 "$log"
  fi
  summary+="$line"$'\n'
done
echo
echo "=== Fuzzing summary"
printf '%s' "$summary"
exit $status
