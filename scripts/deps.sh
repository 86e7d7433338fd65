#!/usr/bin/env bash
# Installs the Debian packages a fresh machine lacks for kr95Nbs.
#
#   scripts/deps.sh build   building the library, krinfo and the benchmarks
#                           (x86_64 only): compiler, CMake, GoogleTest, Google
#                           Benchmark, zlib and LZ4 (benchmark anchors), pkg-config,
#                           time zone data
#   scripts/deps.sh test    all of the above and what the test suite needs: the
#                           i386 multilib toolchain with i386 zlib, the system
#                           logger, clang with its sanitizer and fuzzer
#                           runtimes, and qemu-user when this kernel cannot run
#                           32-bit programs (scripts/i386-runner.sh decides)
#   scripts/deps.sh --simulate test
#                           computes the version pins and simulates the install
#                           (apt-get -s) of the i386 packages as if none were
#                           installed; installs nothing and needs no root.
#                           APT_CONFIG may point apt at other package lists.
#
# Does nothing when everything is present; needs root to install anything.
#
# A package mirror that is mid-sync can serve one architecture's index older
# than the other's (or not at all). Multi-Arch: same packages must then have
# one version on amd64 and i386, which apt refuses to work out by itself
# ("held broken packages"). Before installing, every such package the install
# may pull in is pinned to the highest version both architectures offer.
set -euo pipefail

simulate=0
if [ "${1:-}" = --simulate ]; then simulate=1; shift; fi
group=${1:-test}

build_packages=(build-essential cmake g++ libgtest-dev libbenchmark-dev zlib1g-dev liblz4-dev
                pkg-config tzdata)
test_packages=(g++-multilib zlib1g-dev:i386 rsyslog clang libclang-rt-14-dev)
case $group in
  build) packages=("${build_packages[@]}") ;;
  test) packages=("${build_packages[@]}" "${test_packages[@]}") ;;
  *) echo "usage: deps.sh [--simulate] build|test" >&2; exit 2 ;;
esac
[ $simulate -eq 0 ] || packages=("${test_packages[@]}")

say() { echo "deps.sh: $*" >&2; }
have() { dpkg-query -W -f='${Status}' "$1" 2>/dev/null | grep -q 'install ok installed'; }

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefs=$work/preferences
cat /etc/apt/preferences > "$prefs" 2>/dev/null || : > "$prefs"
apt_opts=(-o "Dir::Etc::Preferences=$prefs")

# For each package name given, one line per architecture and fact:
# "NAME ARCH candidate VERSION" and "NAME ARCH version VERSION" for every
# version apt knows (offered or installed). One apt-cache run for all names.
versions() {
  local name args=()
  for name in "$@"; do args+=("$name:amd64" "$name:i386"); done
  apt-cache policy "${args[@]}" 2>/dev/null |
    awk '/^[^ ].*:$/ { pkg = substr($0, 1, length($0) - 1); arch = "amd64"
                       if (sub(/:i386$/, "", pkg)) arch = "i386"; sub(/:amd64$/, "", pkg); next }
         $1 == "Candidate:" { if ($2 != "(none)") print pkg, arch, "candidate", $2; next }
         $1 == "***" && NF == 3 { print pkg, arch, "version", $2; next }
         NF == 2 && $2 ~ /^-?[0-9]+$/ && $1 !~ /:$/ { print pkg, arch, "version", $1 }'
}
offered() { apt-cache madison "$1" 2>/dev/null | awk -F'|' '{gsub(/ /, "", $2); print $2}'; }

# Highest version of the versions on standard input (Debian ordering).
highest() {
  local best="" v
  while read -r v; do
    [ -n "$v" ] || continue
    if [ -z "$best" ] || dpkg --compare-versions "$v" gt "$best"; then best=$v; fi
  done
  printf '%s' "$best"
}

# Appends a preference that holds package $1 on both architectures at version $2.
pin() {
  printf 'Package: %s %s:i386\nPin: version %s\nPin-Priority: 1001\n\n' "$1" "$1" "$2" >> "$prefs"
}

declare -A pinned_source=()  # source package -> version its binaries were pinned to

# Pins every Multi-Arch: same package in the dependency closure of the install
# whose amd64 and i386 candidates differ, to the highest version both offer.
pin_multiarch() {
  local closure name src amd i386 common
  closure=$(apt-cache depends --recurse --no-recommends --no-suggests --no-conflicts \
              --no-breaks --no-replaces --no-enhances "$@" 2>/dev/null |
            sed -n 's/^\([^ <][^ ]*\):i386$/\1/p' | sort -u)
  [ -n "$closure" ] || return 0
  # name and source of each Multi-Arch: same package of the closure
  apt-cache show --no-all-versions $(printf '%s:i386 ' $closure) 2>/dev/null |
    awk '/^Package:/ {p=$2; s=$2; m=""} /^Source:/ {s=$2} /^Multi-Arch:/ {m=$2}
         /^$/ {if (m == "same") print p, s; m=""}' > "$work/same"
  versions $(cut -d' ' -f1 "$work/same") > "$work/versions"
  while read -r name src; do
    amd=$(awk -v p="$name" '$1 == p && $2 == "amd64" && $3 == "candidate" {print $4}' "$work/versions")
    i386=$(awk -v p="$name" '$1 == p && $2 == "i386" && $3 == "candidate" {print $4}' "$work/versions")
    [ -n "$amd" ] && [ -n "$i386" ] && [ "$amd" != "$i386" ] || continue
    common=$(awk -v p="$name" '$1 == p && $3 == "version" && !seen[$2 " " $4]++ {n[$4]++}
                               END {for (v in n) if (n[v] == 2) print v}' "$work/versions" | highest)
    if [ -z "$common" ]; then
      say "no version of $name exists for both amd64 ($amd) and i386 ($i386); not pinned"
      continue
    fi
    say "pinning $name (amd64 and i386) to $common: the candidates differ," \
        "amd64 $amd, i386 $i386 (one architecture's index is older)"
    pin "$name" "$common"
    pinned_source[$src]=$common
  done < "$work/same"
}

# Simulates the install; on success leaves apt's plan in $work/plan.
simulate_install() {
  apt-get install -s --no-install-recommends --allow-downgrades "${apt_opts[@]}" "$@" \
    > "$work/plan" 2>&1
}

# A pin can strand installed packages built from the same source at another
# version (libssl-dev beside a pinned libssl3), which apt would then remove.
# Pins those to their source's pinned version too, where it is offered.
keep_siblings() {
  local round removed name src
  for round in 1 2 3; do
    removed=$(sed -n 's/^Remv \([^ ]*\) .*/\1/p' "$work/plan")
    [ -n "$removed" ] || return 0
    local added=0
    for name in $removed; do
      src=$(dpkg-query -W -f='${source:Package}' "$name" 2>/dev/null || true)
      [ -n "$src" ] && [ -n "${pinned_source[$src]:-}" ] || continue
      offered "${name%:*}" | grep -qxF "${pinned_source[$src]}" || continue
      say "pinning ${name%:*} to ${pinned_source[$src]} as well, so that it is not removed"
      pin "${name%:*}" "${pinned_source[$src]}"
      added=1
    done
    [ $added -eq 1 ] || break
    simulate_install "$@" || return 1
  done
  say "the install removes: $(sed -n 's/^Remv \([^ ]*\) .*/\1/p' "$work/plan" | tr '\n' ' ')"
}

needs_i386() { printf '%s\n' "$@" | grep -qE ':i386$|multilib'; }

# Plans the install of "$@": pins, simulation, sibling pins. Prints apt's
# complaint and fails when no plan works.
plan_install() {
  if needs_i386 "$@"; then pin_multiarch "$@"; fi
  if ! simulate_install "$@"; then
    cat "$work/plan" >&2
    say "no installable set of ${*} even with the pins above"
    return 1
  fi
  keep_siblings "$@"
}

# Refreshes the package lists; a mirror that is syncing fails an index now and
# then, and finishes within minutes, so a failed update is retried.
update_lists() {
  local attempt
  for attempt in 1 2 3; do
    if apt-get update -qq 2>"$work/update.log"; then return 0; fi
    say "apt-get update failed (attempt $attempt of 3): $(grep -m1 -E '^(E|W):' "$work/update.log")"
    [ $attempt -eq 3 ] || sleep 15
  done
  say "going on with the package lists as they are"
}

install() {
  plan_install "$@" || return 1
  if ! apt-get install -y -qq --no-install-recommends --allow-downgrades "${apt_opts[@]}" "$@" \
       > "$work/install.log" 2>&1; then
    cat "$work/install.log" >&2
    say "installing $* failed"
    return 1
  fi
}

if [ $simulate -eq 1 ]; then
  plan_install "${packages[@]}" || exit 1
  say "simulated: $(grep -cE '^Inst ' "$work/plan") packages to install"
  grep -E '^(Inst|Remv) ' "$work/plan" || true
  exit 0
fi

need=()
for p in "${packages[@]}"; do have "$p" || need+=("$p"); done
if [ ${#need[@]} -gt 0 ]; then
  if [ "$(id -u)" -ne 0 ]; then
    say "missing Debian packages: ${need[*]}"
    say "run as root (or install them) and try again"
    exit 1
  fi
  export DEBIAN_FRONTEND=noninteractive
  if needs_i386 "${need[@]}"; then
    dpkg --print-foreign-architectures | grep -qx i386 || dpkg --add-architecture i386
  fi
  update_lists
  install "${need[@]}" || exit 1
fi

# i386 programs run natively or under qemu-user; install it only when needed.
if [ "$group" = test ]; then
  scripts_dir=$(dirname "$0")
  set +e
  way=$(bash "$scripts_dir/i386-runner.sh" 2>"$work/runner.log")
  status=$?
  set -e
  if [ $status -eq 3 ]; then
    if [ "$(id -u)" -ne 0 ]; then cat "$work/runner.log" >&2; say "run as root to install qemu-user"; exit 1; fi
    say "installing qemu-user: $(head -n 1 "$work/runner.log")"
    export DEBIAN_FRONTEND=noninteractive
    have qemu-user || install qemu-user || exit 1
    way=$(bash "$scripts_dir/i386-runner.sh") || exit 1
  elif [ $status -ne 0 ]; then
    cat "$work/runner.log" >&2
    exit 1
  fi
  say "i386 programs run: $way"
fi
