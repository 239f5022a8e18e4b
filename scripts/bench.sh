#!/usr/bin/env bash
# Usage: scripts/bench.sh [extra Google Benchmark flags]
# Release build of bench/, then each figure against the bare memcpy baseline measured in the
# same run (medians of repetitions: the machines are noisy, absolute times mean little).
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/bootstrap.sh
build=build/release
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build "$build" -j "$(nproc)" --target vircam_bench
json="$build/bench.json"
"$build/bench/vircam_bench" --benchmark_repetitions=7 --benchmark_enable_random_interleaving=true \
  --benchmark_report_aggregates_only=true \
  --benchmark_out="$json" --benchmark_out_format=json "$@" >/dev/null
python3 - "$json" <<'PY'
import json, sys
runs = json.load(open(sys.argv[1]))["benchmarks"]
median = {r["run_name"]: r for r in runs if r.get("aggregate_name") == "median"}
def time_us(name):
    run = median.get(name)
    if run is None:
        return None
    scale = {"ns": 1e-3, "us": 1.0, "ms": 1e3, "s": 1e6}[run["time_unit"]]
    return run["real_time"] * scale
base = time_us("BM_Memcpy1080p")
print("memcpy_1080p_us: %.1f (baseline)" % base)
for label, name in (("frame_path_vs_memcpy_1080p", "BM_HidlFramePath1080p"),
                    ("aidl_frame_path_vs_memcpy_1080p", "BM_AidlFramePath1080p")):
    t = time_us(name)
    if t is not None:
        print("ratio %s: %.3f" % (label, t / base))
for label, name in (("hidl", "BM_HidlFrameOverhead"), ("aidl", "BM_AidlFrameOverhead")):
    run = median.get(name)
    if run is not None:
        print("overhead_per_frame_us %s: %.2f (ratio to memcpy %.4f)" % (label, time_us(name), time_us(name) / base))
        if "allocs_per_frame" in run:
            print("allocs_per_frame %s: %.3f" % (label, run["allocs_per_frame"]))
for label, name in (("buffer_cache_lookup_8x64_us", "BM_BufferCacheLookup8x64"),
                    ("sendrequest_json_round_trip_us", "BM_SendRequestJsonRoundTrip")):
    t = time_us(name)
    if t is not None:
        print("%s: %.2f (ratio to memcpy %.4f)" % (label, t, t / base))
# Trace sections compiled into the frame path, tracing off: their cost per frame.
off = time_us("BM_FrameTraceSectionsOff")
if off is not None:
    line = "trace_sections_off_per_frame_us: %.4f (ratio to memcpy %.6f" % (off, off / base)
    hidl = time_us("BM_HidlFrameOverhead")
    if hidl:
        line += ", share of hidl frame overhead %.4f" % (off / hidl)
    print(line + ")")
PY
