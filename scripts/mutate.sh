#!/usr/bin/env bash
# Usage: scripts/mutate.sh [--list] [--only ID,ID] [--quick] [--timeout SECONDS] [PREFIX...]
# Plants each mutant of tests/mutants.txt in the library (one at a time), rebuilds build/mutate
# and runs the suite: a failing suite kills the mutant. Prints the kill rate and the survivors.
#   PREFIX        only mutants whose file starts with it (callback/, common/JsonUtil.cpp, ...)
#   --only ID,ID  only these mutants
#   --list        list the selected mutants and whether each still applies, run nothing
#   --quick       run only each mutant's own tests (its "tests:" regex), not the rest
#   --timeout S   limit for one mutant's test run (default 900); running out counts as killed
# A mutant with which the library does not compile is reported apart and not counted; one
# that a test program's compile-time check refuses is killed. The library folders must
# be clean: each mutated file is restored with git checkout, also on errors and Ctrl-C.
set -euo pipefail
cd "$(dirname "$0")/.."

list_file=tests/mutants.txt
build=build/mutate
library=(include common callback wrapper client)
only=()
prefixes=()
list=false
quick=false
run_timeout=900
while [ $# -gt 0 ]; do
  case "$1" in
    --list) list=true ;;
    --quick) quick=true ;;
    --only) only=(--only "$2"); shift ;;
    --timeout) run_timeout=$2; shift ;;
    -h|--help) sed -n '2,12s/^# \{0,1\}//p' "$0"; exit 0 ;;
    -*) echo "unknown option $1" >&2; exit 2 ;;
    *) prefixes+=("$1") ;;
  esac
  shift
done

selection=$(python3 scripts/mutants.py "$list_file" check "${only[@]}" "${prefixes[@]}")
if $list; then
  printf '%s\n' "$selection" | awk -F'\t' '{ printf "%-28s %-46s %s\n", $1, $2, $3 }'
  exit 0
fi
if [ -z "$selection" ]; then
  echo "no mutant selected" >&2
  exit 2
fi

if [ -n "$(git status --porcelain -- "${library[@]}")" ]; then
  echo "refusing to run: uncommitted changes in ${library[*]} (a mutant must never be committed)" >&2
  git status --short -- "${library[@]}" >&2
  exit 2
fi

export CCACHE_DIR=${CCACHE_DIR:-/work/.ccache} CCACHE_BASEDIR=${CCACHE_BASEDIR:-/work}
export CMAKE_C_COMPILER_LAUNCHER=ccache CMAKE_CXX_COMPILER_LAUNCHER=ccache
if [ ! -f "$build/build.ninja" ]; then
  scripts/bootstrap.sh
  cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DVIRCAM_SANITIZER= >/dev/null
fi
echo "building the unmutated tree in $build"
cmake --build "$build" -j2 >/dev/null || { echo "the unmutated tree does not build" >&2; exit 1; }

mutated=""
restore() {
  if [ -n "$mutated" ]; then
    git checkout -q -- "$mutated"
    mutated=""
  fi
}
trap restore EXIT
trap 'restore; echo "interrupted" >&2; exit 130' INT TERM

logs="$build/mutants"
mkdir -p "$logs"
# The programs a set of tests runs (as ninja targets): a mutant killed by its own tests then
# costs only their relinks, not the whole tree's.
programs_of() {  # programs_of CTEST-ARGS...
  (cd "$build" && ctest -N -V "$@") | sed -n 's/^.*Test command: //p' | tr ' ' '\n' |
    while read -r word; do
      case "$word" in "$PWD/$build"/*) [ -f "$word" ] && [ -x "$word" ] && echo "${word#"$PWD/$build/"}" ;; esac
    done | sort -u
}
run_tests() {  # run_tests LOG CTEST-ARGS...: 0 when every selected test passes
  local log=$1; shift
  (cd "$build" && timeout "$run_timeout" ctest --stop-on-failure -j2 --timeout 300 "$@") >>"$log" 2>&1
}

killed=0; survived=0; broken=0; skipped=0
survivors=(); not_compiled=(); not_applied=(); equivalent=()
start=$SECONDS
while IFS=$'\t' read -r -u 3 id file status tests reason; do
  if [ "$status" = equivalent ]; then
    equivalent+=("$id  $file  -- $reason")
    continue
  fi
  if [ "$status" != ok ]; then
    printf '%-28s %s\n' "$id" "$status"
    not_applied+=("$id  $file  ($status)"); skipped=$((skipped + 1))
    continue
  fi
  log="$logs/$id.log"
  : >"$log"
  mutated=$file
  python3 scripts/mutants.py "$list_file" apply "$id"
  git diff -- "$file" >>"$log"
  began=$SECONDS
  if [ -n "$tests" ]; then
    mapfile -t targets < <(programs_of -R "$tests")
  else
    targets=(all)
  fi
  # The library first (some programs load it at run time): failing there, the mutant itself
  # does not compile; failing in a test program, a compile-time check caught it.
  if ! cmake --build "$build" -j2 --target vircamerawrapper >>"$log" 2>&1; then
    verdict="not compiled"; broken=$((broken + 1)); not_compiled+=("$id  $file")
  else
    verdict=survived
    if ! cmake --build "$build" -j2 --target "${targets[@]}" >>"$log" 2>&1; then
      verdict=killed
    elif [ -n "$tests" ] && ! run_tests "$log" -R "$tests"; then
      verdict=killed
    elif ! $quick; then
      if [ -n "$tests" ]; then rest=(-E "$tests"); else rest=(); fi
      if ! cmake --build "$build" -j2 >>"$log" 2>&1; then
        verdict=killed  # a compile-time check of another program caught it
      elif ! run_tests "$log" "${rest[@]}"; then
        verdict=killed
      fi
    fi
    if [ "$verdict" = killed ]; then
      killed=$((killed + 1))
    else
      survived=$((survived + 1)); survivors+=("$id  $file  -- $reason")
    fi
  fi
  restore
  printf '%-28s %-13s %4ss  %s\n' "$id" "$verdict" $((SECONDS - began)) "$file"
done 3<<<"$selection"

# Leaves the build matching the restored sources.
cmake --build "$build" -j2 >/dev/null || true

counted=$((killed + survived))
echo
echo "killed $killed of $counted compiled mutants ($(( counted ? 100 * killed / counted : 0 ))%)$($quick && echo ', own tests only')," \
     "$broken not compiled, $skipped not applied, ${#equivalent[@]} marked equivalent; $((SECONDS - start))s; logs in $logs"
print_list() { local title=$1; shift; [ $# -eq 0 ] || { echo "$title:"; printf '  %s\n' "$@"; }; }
print_list "survivors" "${survivors[@]}"
print_list "not compiled" "${not_compiled[@]}"
print_list "not applied" "${not_applied[@]}"
print_list "marked equivalent (not run)" "${equivalent[@]}"
[ "$survived" -eq 0 ]
