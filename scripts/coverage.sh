#!/usr/bin/env bash
# Builds everything with gcov instrumentation in build/coverage, runs the whole test
# suite and reports line and branch coverage of the library's own sources (include/,
# common/, wrapper/, callback/, client/). Exits with the suite's status.
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
build=$root/build/coverage

"$root/scripts/bootstrap.sh"
cmake -S "$root" -B "$build" -G Ninja -DVIRCAM_COVERAGE=ON >/dev/null
cmake --build "$build" -j2
find "$build" -name '*.gcda' -delete

status=0
(cd "$build" && ctest -j2 --output-on-failure) || status=$?

filters=()
for dir in include common wrapper callback client; do
  filters+=(--filter "$root/$dir/")
done
# Exception edges are compiler bookkeeping, not paths the library can take.
gcovr --root "$root" --object-directory "$build" "${filters[@]}" --exclude-throw-branches \
      --json "$build/coverage.json"
echo "== line coverage"
gcovr --add-tracefile "$build/coverage.json" --txt
echo "== branch coverage"
gcovr --add-tracefile "$build/coverage.json" --txt --branches
echo "== totals"
gcovr --add-tracefile "$build/coverage.json" --print-summary --txt /dev/null | grep -E '^(lines|branches):'

exit "$status"
