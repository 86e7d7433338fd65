#!/usr/bin/env bash
# Measures what the test suite catches: applies each planted fault (a small
# change to the library or krinfo) to a scratch copy of the tree, rebuilds it
# incrementally, runs the tests of the subsystem concerned (with the
# allocation sweep, the fuzz replays and the krinfo tests), and prints
# caught / survived per fault and in total.
#
#   scripts/plant-faults.sh [FAULTS]      default tests/faults.txt
#   scripts/plant-faults.sh --generate    prints operator and constant flips
#                                         spread over src/ and tools/
#   KR_FAULTS_SCRATCH=dir                 scratch copy and build (default
#                                         build-faults; report.txt in it)
#
# A fault is one line "path:line:from:to": on that line of that file the
# first "from" becomes "to". A fault whose line does not hold "from" any more
# is reported stale; one that does not compile, invalid; neither counts.
set -uo pipefail
cd "$(dirname "$0")/.."

flips=(' <= ~ < ' ' >= ~ > ' ' < ~ <= ' ' > ~ >= ' ' == ~ != ' ' != ~ == ' ' && ~ || '
       ' || ~ && ' ' + 1~ + 2' ' - 1~ - 2' 'return 0;~return 1;' 'true~false' 'false~true')

if [ "${1:-}" = --generate ]; then
  # Code lines (not comments or preprocessor lines), every 3rd, the first
  # flip that applies; then every 2nd of those.
  find src tools -name '*.cpp' | sort | while read -r file; do
    grep -n '' "$file" | grep -vE '^[0-9]+: *(//|#|\*)' | awk 'NR % 3 == 1' |
    while IFS= read -r numbered; do
      line=${numbered%%:*}
      text=${numbered#*:}
      for flip in "${flips[@]}"; do
        from=${flip%%~*} to=${flip#*~}
        if [[ "$text" == *"$from"* ]]; then
          printf '%s:%s:%s:%s\n' "$file" "$line" "$from" "$to"
          break
        fi
      done
    done
  done | awk 'NR % 2 == 1'
  exit 0
fi

faults=${1:-tests/faults.txt}
[ -f "$faults" ] || { echo "plant-faults.sh: no $faults" >&2; exit 2; }
scratch=${KR_FAULTS_SCRATCH:-build-faults}  # where the copy is built
rm -rf "$scratch/tree"
mkdir -p "$scratch/tree"
tar -c --exclude='./build*' --exclude=./.git . | tar -x -C "$scratch/tree"
cmake -S "$scratch/tree" -B "$scratch/build" -DCMAKE_BUILD_TYPE=RelWithDebInfo \
      -DKR_BUILD_BENCH=OFF -DKR_REPLAY_TIMEOUT=120 >/dev/null || exit 1
cmake --build "$scratch/build" -j "$(nproc)" >/dev/null || exit 1

# The test labels that watch a file.
labels_for() {
  local subsystem
  case $1 in
    src/diag/*) subsystem='kr_diag_tests|kr_syslog_tests' ;;
    src/resize/*) subsystem=kr_resize_tests ;;
    src/memory/*) subsystem=kr_memory_tests ;;
    src/arrays/*) subsystem=kr_arrays_tests ;;
    src/containers/*) subsystem=kr_containers_tests ;;
    src/platform/*) subsystem=kr_platform_tests ;;
    *) subsystem=kr_krinfo_tests ;;
  esac
  echo "^($subsystem|kr_support_tests|fuzz_replay|kr_krinfo_tests)\$"
}

caught=0 survived=0 stale=0 invalid=0
report=$scratch/report.txt
: >"$report"
while IFS= read -r fault; do
  [ -n "$fault" ] && [ "${fault:0:1}" != '#' ] || continue
  IFS=: read -r path line from to <<<"$fault"
  target=$scratch/tree/$path
  original=$(sed -n "${line}p" "$target")
  if [[ "$original" != *"$from"* ]]; then
    echo "STALE     $fault" | tee -a "$report"
    stale=$((stale + 1))
    continue
  fi
  cp "$target" "$scratch/saved"
  mutated=${original/"$from"/"$to"}
  awk -v n="$line" -v text="$mutated" 'NR == n { print text; next } { print }' \
    "$scratch/saved" >"$target"
  if ! cmake --build "$scratch/build" -j "$(nproc)" >/dev/null 2>&1; then
    verdict=INVALID
    invalid=$((invalid + 1))
  elif ctest --test-dir "$scratch/build" -L "$(labels_for "$path")" -j "$(nproc)" \
         --timeout 120 --stop-on-failure >/dev/null 2>&1; then
    verdict=SURVIVED
    survived=$((survived + 1))
  else
    verdict=CAUGHT
    caught=$((caught + 1))
  fi
  echo "$verdict $(printf '%-8s' '') $fault" | sed 's/  */ /' | tee -a "$report"
  cp "$scratch/saved" "$target"
  touch "$target"
done <"$faults"
cmake --build "$scratch/build" -j "$(nproc)" >/dev/null 2>&1
echo
echo "=== planted faults: $caught caught, $survived survived, $invalid invalid, $stale stale" \
  | tee -a "$report"
