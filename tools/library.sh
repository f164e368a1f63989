#!/bin/bash
# library.sh PACK [OPTIONS...]: runs a pack, and builds machine_vx.so with native blocks for the code
# that it has discovered. OPTIONS go to vxrun and say what to play; without any the pack runs for a
# minute of its own. Runs of several packs, and several runs of one, add up in out/code/.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
if (($# == 0)) || [[ $1 == -* ]]; then
  echo "usage: tools/library.sh PACK [OPTIONS of vxrun, for example --frames 3600 or --input MOVIE]" >&2
  exit 2
fi
pack=$1
shift
(($#)) || set -- --frames 3600

"$root/tools/build.sh" release vxrun machine_vx_replay
bin=$root/build/release/bin
code=$root/out/code
mkdir -p "$code"
"$bin/vxrun" "$pack" --headless --no-native --cache-dir "$code" --set VX_PreserveCache=1 "$@"

caches=("$code"/vxcache*.qilmcache)
if [[ ! -e ${caches[0]} ]]; then
  echo "library: $pack has left no code in $code" >&2
  exit 1
fi
list=$(IFS=';' && echo "${caches[*]}")
cmake --preset release -S "$root" -DVX_LIBRARY_CACHES="$list" >/dev/null
"$root/tools/build.sh" release machine_vx
echo "$bin/machine_vx.so has native blocks for $pack; what has none, and why:" \
  "$root/build/release/blocks/cabinet/cabinet_blocks/report.txt"
