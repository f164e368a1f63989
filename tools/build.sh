#!/bin/bash
# build.sh PRESET [TARGET...]: configures and builds, quietly unless something goes wrong. On a
# terminal one line shows how far the build is.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
preset=$1
shift

log=build/$preset.log
mkdir -p build
fail() {
  [[ -s $log ]] && cat "$log" >&2
  echo "build: $1" >&2
  exit 1
}

cmake --preset "$preset" >"$log" 2>&1 || fail "CMake cannot configure the preset $preset"

echo "Building ($preset) ..." >&2
options=()
for target in "$@"; do options+=(--target "$target"); done
if [[ -t 2 ]]; then
  : >"$log"
  cmake --build --preset "$preset" "${options[@]}" >&2 || fail "the preset $preset does not build"
else
  cmake --build --preset "$preset" "${options[@]}" -- --quiet >"$log" 2>&1 ||
    fail "the preset $preset does not build"
fi
