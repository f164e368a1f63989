#!/bin/bash
# Installs the Debian packages of tools/packages.txt that are missing. Asks apt for nothing when all
# are there, so that it costs nothing to run before every build and works offline from then on.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)

fail() {
  echo "setup: $1" >&2
  exit 1
}

missing=()
while read -r package; do
  [[ -z $package || $package == \#* ]] && continue
  state=$(dpkg-query -W -f='${db:Status-Abbrev}' "$package" 2>/dev/null || true)
  [[ $state == ?i* ]] || missing+=("$package")
done <"$here/packages.txt"
((${#missing[@]} == 0)) && exit 0

command -v apt-get >/dev/null || fail "this system has no apt-get; install by hand: ${missing[*]}"
as_root=()
if ((EUID != 0)); then
  command -v sudo >/dev/null || fail "run this as root, or install by hand: ${missing[*]}"
  as_root=(sudo)
fi

echo "Installing ${#missing[@]} packages: ${missing[*]}" >&2
log=$(mktemp)
trap 'rm -f "$log"' EXIT
apt() {
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get -qq -o DPkg::Lock::Timeout=300 "$@" >"$log" 2>&1
}
# An old list of packages may name files that are no longer there, so it is renewed first; a source
# of packages that cannot be reached and is not needed must not stop us.
apt update || true
apt install --yes --no-install-recommends "${missing[@]}" || {
  cat "$log" >&2
  fail "apt-get could not install the packages; its words stand above"
}
