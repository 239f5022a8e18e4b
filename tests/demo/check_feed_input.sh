#!/usr/bin/env bash
# vircam-feed exits 2, naming the problem, for a bad option or a Y4M it cannot feed.
set -euo pipefail
feed=$1 out=$2
read -r -a run <<< "${DEMO_EMULATOR:-}"
rm -rf "$out" && mkdir -p "$out"
printf 'YUV4MPEG2 W4 H2 C444\nFRAME\n0123456789abcdefghijklmn' > "$out/c444.y4m"
expect() {
  local message=$1; shift
  local status=0
  "${run[@]}" "$feed" "$@" > "$out/log" 2>&1 || status=$?
  [ "$status" -eq 2 ] || { echo "vircam-feed $* exited with $status, not 2"; cat "$out/log"; exit 1; }
  grep -qF -e "$message" "$out/log" || { echo "vircam-feed $* did not say: $message"; cat "$out/log"; exit 1; }
}
expect "unknown option: --size" --size 64x48
expect "--frames takes a number from 1 to 1000000" --frames 0
expect "c444.y4m: chroma C444 is not planar 4:2:0" --source "$out/c444.y4m"
expect "missing.y4m: No such file or directory" --source "$out/missing.y4m"
