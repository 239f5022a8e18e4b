#!/usr/bin/env bash
# Compiles every vendor .aidl file with the NDK backend; the host compiler does not know
# @VintfStability, so a copy without it is compiled.
set -euo pipefail
src=$1 out=$2
rm -rf "$out" && mkdir -p "$out/in"
cp -r "$src/interfaces/aidl/." "$src/host/aidl/." "$out/in/"
find "$out/in" -name '*.aidl' -exec sed -i '/@VintfStability/d' {} +
cd "$out/in"
status=0
for f in $(find vendor -name '*.aidl' | sort); do
  aidl --lang=ndk --structured -I . -o "$out/src" -h "$out/include" "$f" || { echo "aidl failed: $f"; status=1; }
done
exit $status
