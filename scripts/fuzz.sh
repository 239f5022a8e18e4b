#!/usr/bin/env bash
# Builds the libFuzzer targets (clang-14, ASan + UBSan) in build/fuzz and runs each one
# for the given number of seconds (default 60) on a scratch copy of its seed corpus, so
# the repository is never written. Fails if any target finds a crash, leak or hang;
# the reproducers are kept in build/fuzz/crashes/<target>/. The library is compiled under
# the device's rules (no exceptions, no RTTI): nothing in it can catch, so a jsoncpp
# exception that leaves jsoncpp ends the run, as the device's jsoncpp aborts the process.
set -euo pipefail

seconds=${1:-60}
root=$(cd "$(dirname "$0")/.." && pwd)
build=$root/build/fuzz

"$root/scripts/bootstrap.sh"
CC=clang-14 CXX=clang++-14 cmake -S "$root" -B "$build" -G Ninja -DVIRCAM_FUZZ=ON \
      -DVIRCAM_DEVICE_RULES=ON >/dev/null
cmake --build "$build" -j2 --target fuzz_all

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
failed=()
for corpus in "$root"/tests/fuzz/*/corpus; do
  name=$(basename "$(dirname "$corpus")")
  work=$scratch/$name
  mkdir -p "$work/corpus" "$work/artifacts"
  cp "$corpus"/* "$work/corpus/"
  echo "fuzz: $name for ${seconds}s"
  if ! "$build/tests/fuzz/fuzz_$name" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=4096 \
       -artifact_prefix="$work/artifacts/" -print_final_stats=1 "$work/corpus" >"$work/log" 2>&1; then
    failed+=("$name")
    tail -n 60 "$work/log"
    mkdir -p "$build/crashes/$name"
    cp "$work/artifacts"/* "$build/crashes/$name/" 2>/dev/null || true
  else
    grep -E '^stat::number_of_executed_units|^Done' "$work/log" | tail -n 2 || true
  fi
done

if [ ${#failed[@]} -ne 0 ]; then
  echo "fuzz: FAILED: ${failed[*]} (reproducers in $build/crashes)" >&2
  exit 1
fi
echo "fuzz: all targets clean"
