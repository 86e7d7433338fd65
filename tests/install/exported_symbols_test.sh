#!/usr/bin/env bash
# Usage: exported_symbols_test.sh LIBRARY
# Fails when the library exports internals: helpers in kr_detail or anonymous
# namespaces, or instantiations of the standard library's templates.
set -euo pipefail
symbols=$(nm -D --defined-only "$1" | awk '{print $3}' | c++filt)
[ -n "$symbols" ] || { echo "no exported symbols"; exit 1; }
bad=$(printf '%s\n' "$symbols" |
      grep -E 'kr_detail::|anonymous namespace|(^|for )(std|__gnu_cxx)::' || true)
if [ -n "$bad" ]; then
  echo "internal symbols are exported:"
  printf '%s\n' "$bad"
  exit 1
fi
for name in KrError KrLoginError DefaultCompareElement 'KrVIterator::GetEntryParts' \
            LongStore 'KrTimer::MakeTimer' zvmgettimezone; do
  grep -q "^$name" <<<"$symbols" || { echo "missing export: $name"; exit 1; }
done
echo "$(printf '%s\n' "$symbols" | wc -l) exported symbols, none internal"
