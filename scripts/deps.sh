#!/usr/bin/env bash
# Installs the Debian packages a fresh machine lacks for building and testing
# kr95Nbs: the compiler and CMake, GoogleTest, Google Benchmark, the i386
# multilib toolchain with i386 zlib, zlib for the checksum cross-check, the
# system logger the logging tests talk to, pkg-config for the install test, and
# the time zone data the time-zone tests set TZ to.
# Does nothing when everything is present; needs root to install anything.
set -euo pipefail

packages=(build-essential cmake g++ g++-multilib libgtest-dev libbenchmark-dev
          zlib1g-dev zlib1g-dev:i386 rsyslog pkg-config tzdata)

have() { dpkg-query -W -f='${Status}' "$1" 2>/dev/null | grep -q 'install ok installed'; }

need=()
for p in "${packages[@]}"; do have "$p" || need+=("$p"); done
[ ${#need[@]} -eq 0 ] && exit 0

if [ "$(id -u)" -ne 0 ]; then
  echo "deps.sh: missing Debian packages: ${need[*]}" >&2
  echo "deps.sh: run as root (or install them) and try again" >&2
  exit 1
fi

export DEBIAN_FRONTEND=noninteractive
dpkg --print-foreign-architectures | grep -qx i386 || dpkg --add-architecture i386
# A mirror that is syncing can fail one index; install from what we have then.
apt-get update -qq || { sleep 5; apt-get update -qq; } ||
  echo "deps.sh: some package indexes failed to update; going on with the rest" >&2

# Highest version of package $1 that both amd64 and i386 offer.
common_version() {
  comm -12 <(apt-cache madison "$1" | awk -F'|' '{gsub(/ /,"",$2); print $2}' | sort -u) \
           <(apt-cache madison "$1:i386" | awk -F'|' '{gsub(/ /,"",$2); print $2}' | sort -u) |
    sort -V | tail -n 1
}

# Multi-arch packages must have one version on both architectures. When one
# architecture's index is missing or older (an update that reached amd64
# only), apt refuses; pin each such package to a version both offer and retry.
pins=()
for attempt in 1 2 3 4 5; do
  if log=$(apt-get install -y -qq --no-install-recommends --allow-downgrades \
             "${need[@]}" "${pins[@]}" 2>&1); then
    exit 0
  fi
  stuck=$(printf '%s\n' "$log" | sed -n 's/.*Depends: \([^ :]*\):i386.*not going to be installed.*/\1/p' | sort -u)
  [ -n "$stuck" ] || break
  for p in $stuck; do
    v=$(common_version "$p")
    [ -n "$v" ] || { echo "deps.sh: no version of $p exists for both amd64 and i386" >&2; break 2; }
    pins+=("$p=$v" "$p:i386=$v")
  done
done
printf '%s\n' "$log" >&2
echo "deps.sh: installing ${need[*]} failed" >&2
exit 1
