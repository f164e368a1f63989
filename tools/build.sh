#!/bin/bash
# build.sh PRESET [TARGET...]: configures and builds, quietly unless something goes wrong. On a
# terminal one line shows how far the build is.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
preset=$1
shift

log=build/$preset-configure.log
mkdir -p build
if ! cmake --preset "$preset" >"$log" 2>&1; then
  cat "$log" >&2
  echo "build: CMake could not configure the preset $preset; its words stand above" >&2
  exit 1
fi

echo "Building ($preset) ..." >&2
options=()
for target in "$@"; do options+=(--target "$target"); done
quiet=(-- --quiet)
[[ -t 1 ]] && quiet=()
if ! cmake --build --preset "$preset" "${options[@]}" "${quiet[@]}"; then
  echo "build: the preset $preset does not build; the compiler's words stand above" >&2
  exit 1
fi
