#!/usr/bin/env bash
# A Y4M file fed through the demo comes back byte for byte in the Y4M the simulated HAL
# wrote: 5 frames of 64x48 with the writer's own header, asked for 12 frames, so the file
# loops (0-4, 0-4, 0-1).
set -euo pipefail
demo=$1 out=$2
shift 2  # further arguments go to the demo (e.g. --transport aidl)
read -r -a run <<< "${DEMO_EMULATOR:-}"
rm -rf "$out" && mkdir -p "$out"
python3 - "$out/input.y4m" "$out/expected.y4m" <<'PY'
import random, sys
random.seed(7)
header = b"YUV4MPEG2 W64 H48 F120:1 Ip A1:1 C420jpeg\n"
frames = [bytes(random.randrange(256) for _ in range(64 * 48 * 3 // 2)) for _ in range(5)]
open(sys.argv[1], "wb").write(header + b"".join(b"FRAME\n" + f for f in frames))
open(sys.argv[2], "wb").write(header + b"".join(b"FRAME\n" + frames[i % 5] for i in range(12)))
PY
"${run[@]}" "$demo" --frames 12 --size 64x48 --fps 120 --source "$out/input.y4m" --out "$out/demo" "$@" \
  > "$out/demo.log" 2>&1 || { cat "$out/demo.log"; exit 1; }
cmp "$out/expected.y4m" "$out/demo/frames.y4m" || { echo "frames.y4m is not the input's frames"; exit 1; }
