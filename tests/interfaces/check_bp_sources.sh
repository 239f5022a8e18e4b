#!/usr/bin/env bash
# The device build (Android.bp) and the host build (CMakeLists.txt) compile the same library sources.
set -euo pipefail
cd "$1"
bp=$(awk '/name: "libvircamerawrapper",/{lib=1} lib&&/srcs: \[/{s=1;next} s&&/\]/{exit} s{gsub(/[",[:space:]]/,"");print}' Android.bp | sort)
cmake=$(awk '/set\(VIRCAMERAWRAPPER_SOURCES/{s=1;next} s{line=$0; sub(/\).*/,"",line); gsub(/[[:space:]]/,"",line); if(line!="")print line; if($0~/\)/)exit}' CMakeLists.txt | sort)
if [ "$bp" != "$cmake" ]; then
  echo "Android.bp and CMakeLists.txt list different library sources:"
  diff <(echo "$bp") <(echo "$cmake") || true
  exit 1
fi
[ -n "$bp" ] || { echo "no sources found"; exit 1; }
