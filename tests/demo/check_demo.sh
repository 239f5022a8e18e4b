#!/usr/bin/env bash
# Runs the demo small, with a HAL death in the middle, and checks what it wrote.
set -euo pipefail
demo=$1 out=$2
shift 2  # further arguments go to the demo (e.g. --transport aidl)
# DEMO_EMULATOR: the command line that runs a cross-built demo (empty natively).
read -r -a run <<< "${DEMO_EMULATOR:-}"
rm -rf "$out"
"${run[@]}" "$demo" --frames 12 --size 64x48 --fps 120 --kill-hal-after 5 --register --out "$out" "$@" > "$out.log" 2>&1 || {
  cat "$out.log"; exit 1; }
grep -q "frames delivered *| *12 |" "$out.log" || { echo "not every frame was delivered"; cat "$out.log"; exit 1; }
# The video service heard of the death and registered again (a lost notice leaves it unregistered).
grep -q "vircam-feed: the HAL died; registering again" "$out.log" || { echo "no death notice"; cat "$out.log"; exit 1; }
[ "$(grep -c "RegisterCallback (register instance) *-> 0" "$out.log")" -eq 2 ] || {
  echo "the feed did not register again after the HAL came back"; cat "$out.log"; exit 1; }
if grep -E -e '-> -[0-9]' "$out.log"; then echo "a step failed"; cat "$out.log"; exit 1; fi
# A Y4M frame of 64x48 is "FRAME\n" plus 4608 bytes; the header line comes first.
size=$(stat -c %s "$out/frames.y4m")
header=$(head -1 "$out/frames.y4m" | wc -c)
[ $(( (size - header) )) -eq $(( 12 * (6 + 64 * 48 * 3 / 2) )) ] || { echo "frames.y4m has the wrong size: $size"; exit 1; }
for png in first last; do
  [ "$(head -c 8 "$out/$png.png" | od -An -tx1 | tr -d ' \n')" = "89504e470d0a1a0a" ] || { echo "$png.png is not a PNG"; exit 1; }
done
status=0
"${run[@]}" "$demo" --size 13x5 >/dev/null 2>&1 || status=$?
[ "$status" -eq 2 ] || { echo "a bad option exited with $status, not 2"; exit 1; }
