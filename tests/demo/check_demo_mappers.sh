#!/usr/bin/env bash
# A device with only mapper 5 streams every frame over both transports and the summary names
# it; a device without any mapper ends with the one line that says what is missing, and fails.
set -euo pipefail
demo=$1 out=$2
here=$(dirname "$0")
read -r -a run <<< "${DEMO_EMULATOR:-}"
for transport in hidl aidl; do
  "$here/check_demo.sh" "$demo" "$out-$transport" --transport "$transport" --mappers 5
  grep -q "| mapper *| *V5 |" "$out-$transport.log" || { echo "mapper 5 not named over $transport"; cat "$out-$transport.log"; exit 1; }
done
rm -rf "$out-none"
status=0
"${run[@]}" "$demo" --frames 3 --size 64x48 --fps 120 --mappers none --out "$out-none" > "$out-none.log" 2>&1 || status=$?
[ "$status" -ne 0 ] || { echo "no mapper, yet the demo succeeded"; cat "$out-none.log"; exit 1; }
grep -q "No usable graphics mapper: no android.hardware.graphics.mapper@4.0, @3.0 or @2.0 IMapper/default, and no mapper 5: android.hardware.graphics.allocator.IAllocator/default is not declared" "$out-none.log" || {
  echo "no diagnosis"; cat "$out-none.log"; exit 1; }
status=0
"${run[@]}" "$demo" --mappers 6 >/dev/null 2>&1 || status=$?
[ "$status" -eq 2 ] || { echo "--mappers 6 exited with $status, not 2"; exit 1; }
