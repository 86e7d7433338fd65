#!/usr/bin/env bash
# Usage: deps_test.sh SCRIPTS_DIR
# Shows that scripts/deps.sh installs the i386 packages when the mirror served
# a stale i386 index: the machine's package lists are copied, the i386 security
# index is dropped from the copy (as a mirror mid-sync leaves it), and the
# i386 packages are removed from a copy of the dpkg status, so that the whole
# i386 set must be installed again. deps.sh --simulate must then find an
# install plan (apt-get -s, no network, no changes), and in that plan every
# i386 package must have the same version as its amd64 twin.
# Exits 77 (skipped) where apt or i386 package lists are missing.
set -euo pipefail
scripts=$1

skip() { echo "SKIPPED: $*"; exit 77; }
command -v apt-get >/dev/null && command -v apt-cache >/dev/null || skip "no apt on this machine"
lists=/var/lib/apt/lists
compgen -G "$lists/*binary-i386_Packages*" >/dev/null ||
  skip "no i386 package lists (scripts/deps.sh test adds them)"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/lists/partial" "$work/cache/archives/partial"
cp "$lists"/*_InRelease "$lists"/*_Packages* "$work/lists/" 2>/dev/null || true
dropped=$(find "$work/lists" -name '*security*binary-i386_Packages*' -print -delete | wc -l)
echo "i386 security indexes dropped from the copy: $dropped"
# dpkg status without the i386 packages: everything i386 is to be installed.
awk -v RS= -v ORS='\n\n' '!/\nArchitecture: i386(\n|$)/' /var/lib/dpkg/status > "$work/status"
cat > "$work/apt.conf" <<EOF
Dir::State::Lists "$work/lists/";
Dir::State::status "$work/status";
Dir::Cache "$work/cache/";
Dir::Cache::pkgcache "";
Dir::Cache::srcpkgcache "";
APT::Architectures { "amd64"; "i386"; };
EOF
export APT_CONFIG=$work/apt.conf

if apt-get install -s --no-install-recommends g++-multilib zlib1g-dev:i386 >/dev/null 2>&1; then
  echo "without pins, apt finds a plan too (the amd64 and i386 lists agree today)"
else
  echo "without pins, apt finds no plan (the lists disagree: the case deps.sh handles)"
fi

plan=$work/plan
if ! bash "$scripts/deps.sh" --simulate test > "$plan" 2> "$work/log"; then
  cat "$work/log"
  echo "FAILED: deps.sh found no install plan on the stale lists"
  exit 1
fi
cat "$work/log"
grep -q '^Inst zlib1g-dev:i386 ' "$plan" || { echo "FAILED: the plan lacks zlib1g-dev:i386"; exit 1; }

# Final version of each package on each architecture: the plan's, else the status's.
final() {  # NAME ARCH
  local v
  v=$(sed -n "s/^Inst $1$( [ "$2" = i386 ] && echo ':i386') \(\[[^]]*\] \)\?(\([^ ]*\) .*/\2/p" "$plan")
  [ -n "$v" ] || v=$(awk -v RS= -v p="$1" -v a="$2" '
      { n = split($0, line, "\n"); pkg = arch = status = version = ""
        for (i = 1; i <= n; i++) {
          if (line[i] ~ /^Package: /) pkg = substr(line[i], 10)
          else if (line[i] ~ /^Architecture: /) arch = substr(line[i], 15)
          else if (line[i] ~ /^Status: /) status = substr(line[i], 9)
          else if (line[i] ~ /^Version: /) version = substr(line[i], 10)
        }
        if (pkg == p && arch == a && status == "install ok installed") print version }' \
      "$work/status")
  printf '%s' "$v"
}
checked=0
for name in $(sed -n 's/^Inst \([^ ]*\):i386 .*/\1/p' "$plan"); do
  amd=$(final "$name" amd64)
  [ -n "$amd" ] || continue
  i386=$(final "$name" i386)
  if [ "$amd" != "$i386" ]; then
    echo "FAILED: $name would be $amd on amd64 but $i386 on i386"
    exit 1
  fi
  checked=$((checked + 1))
done
echo "plan of $(grep -c '^Inst ' "$plan") packages; $checked i386 packages match their amd64 version"
[ $checked -gt 0 ] || { echo "FAILED: no i386 package with an amd64 twin in the plan"; exit 1; }
