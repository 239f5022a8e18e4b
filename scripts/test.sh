#!/usr/bin/env bash
# Usage: scripts/test.sh [default|asan|tsan|ubsan|device|aarch64]
# Installs what is missing, builds build/<mode> and runs every test with ctest.
# device builds with clang-14 and compiles the library under the device's rules (no
# exceptions, no RTTI, -Werror, thread-safety analysis), checks each library source against
# libc++ too, then runs the suite. aarch64 cross-builds for the device architecture and runs
# the suite under qemu-user.
set -euo pipefail
cd "$(dirname "$0")/.."

mode=${1:-default}
case "$mode" in
  default) sanitizer="" ;;
  asan) sanitizer=address ;;
  tsan) sanitizer=thread ;;
  ubsan) sanitizer=undefined ;;
  aarch64)
    scripts/bootstrap.sh aarch64
    build=build/aarch64
    cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
          -DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/toolchain-aarch64-linux-gnu.cmake" >/dev/null
    cmake --build "$build" -j "$(nproc)"
    cd "$build"
    # No test sets its own limit; under emulation a hang still ends after ten minutes.
    ctest --output-on-failure -j "$(nproc)" --timeout 600
    exit ;;
  device)
    scripts/bootstrap.sh
    build=build/device
    CC=clang-14 CXX=clang++-14 cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
          -DVIRCAM_DEVICE_RULES=ON >/dev/null
    cmake --build "$build" -j "$(nproc)"
    python3 scripts/libcxx_syntax.py "$build"
    cd "$build"
    ctest --output-on-failure -j "$(nproc)" --timeout 600
    exit ;;
  *) echo "usage: scripts/test.sh [default|asan|tsan|ubsan|device|aarch64]" >&2; exit 2 ;;
esac

scripts/bootstrap.sh
build="build/$mode"
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DVIRCAM_SANITIZER="$sanitizer" >/dev/null
cmake --build "$build" -j "$(nproc)"
if [ "$mode" = tsan ]; then
  # Debian's Android libraries are not instrumented; tests/tsan.supp says what that hides.
  export TSAN_OPTIONS="suppressions=$PWD/tests/tsan.supp ${TSAN_OPTIONS:-}"
fi
cd "$build"
# No test sets its own limit; a test that hangs past the watchdog still ends here.
ctest --output-on-failure -j "$(nproc)" --timeout 600
