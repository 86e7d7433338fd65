#!/usr/bin/env bash
# Tells how this machine runs i386 (-m32) programs. Prints one word:
#   native      the kernel executes them
#   qemu-i386   it does not, and user-mode emulation (Debian's qemu-user) works
# KR_I386_EMULATOR=qemu-i386 (or another emulator command taking "-L /")
# forces the emulator even where native execution works.
# Exit status: 0 a way was found; 2 no -m32 program could be built (g++-multilib
# missing); 3 the kernel cannot run them and no working emulator is installed.
# Every failure names its reason on standard error.
set -uo pipefail

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cat > "$work/probe.c" <<'EOF'
#include <stdio.h>
int main(void) { printf("%u\n", (unsigned)(sizeof(void*) * 8)); return 0; }
EOF
if ! "${CC:-cc}" -m32 -o "$work/probe" "$work/probe.c" 2>"$work/cc.log"; then
  echo "i386-runner: cannot build a -m32 program (is g++-multilib installed?):" >&2
  cat "$work/cc.log" >&2
  exit 2
fi

# Runs the probe under the given command prefix; true when it reports 32 bits.
runs() { [ "$("$@" "$work/probe" 2>"$work/run.log")" = 32 ]; }

emulator=${KR_I386_EMULATOR:-}
if [ -z "$emulator" ]; then
  if runs; then echo native; exit 0; fi
  echo "i386-runner: this kernel cannot run 32-bit programs: $(head -c 200 "$work/run.log")" >&2
  emulator=qemu-i386
fi
if ! command -v "$emulator" >/dev/null; then
  echo "i386-runner: $emulator is not installed (Debian package qemu-user)" >&2
  exit 3
fi
if ! runs "$emulator" -L /; then
  echo "i386-runner: $emulator -L / does not run the probe: $(head -c 200 "$work/run.log")" >&2
  exit 3
fi
echo "$emulator"
