#!/usr/bin/env bash
# Usage: scripts/demo.sh [vircam-demo options], e.g. --source FILE.y4m to feed a video file
# Installs what is missing, builds in release mode and runs the demo: a video service on
# libvircamerawrapper feeding the simulated HAL (a few seconds of 1080p by default).
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/bootstrap.sh
build=build/release
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build "$build" -j "$(nproc)" --target vircam-demo
"$build/tools/vircam-demo/vircam-demo" "$@"
echo "Open out/demo/frames.y4m in a video player (e.g. ffplay or mpv), or look at out/demo/first.png and last.png."
