#!/usr/bin/env bash
# The frozen AIDL version stays what the device build expects: aidl_api/<package>/1/.hash
# matches the files next to it, and both 1/ and current/ hold the API the sources declare
# (the sources dumped by aidl, compared without the dump header and @VintfStability, which
# this aidl does not know).
set -euo pipefail
src=$1 out=$2
package=vendor.zuvek.hardware.camera.vircamera
api=$src/interfaces/aidl/aidl_api/$package
status=0

hash=$(cd "$api/1" && find ./ -name "*.aidl" -print0 | LC_ALL=C sort -z | xargs -0 sha1sum && echo latest-version)
hash=$(echo "$hash" | sha1sum | cut -d " " -f 1)
if [ "$hash" != "$(cat "$api/1/.hash")" ]; then
  echo "$api/1/.hash is stale: the files hash to $hash"
  status=1
fi

rm -rf "$out" && mkdir -p "$out/in"
cp -r "$src/interfaces/aidl/vendor" "$src/host/aidl/android" "$out/in/"
find "$out/in" -name '*.aidl' -exec sed -i '/@VintfStability/d' {} +
(cd "$out/in" && aidl --dumpapi --structured -I . --out="$out/dump" $(find vendor -name '*.aidl' | sort))

# A dumped file: the header the AIDL tooling writes, then the API from the package line on.
header=$(cat <<'HEADER'
///////////////////////////////////////////////////////////////////////////////
// THIS FILE IS IMMUTABLE. DO NOT EDIT IN ANY CASE.                          //
///////////////////////////////////////////////////////////////////////////////

// This file is a snapshot of an AIDL file. Do not edit it manually. There are
// two cases:
// 1). this is a frozen version file - do not edit this in any case.
// 2). this is a 'current' file. If you make a backwards compatible change to
//     the interface (from the latest frozen version), the build system will
//     prompt you to update this file with `m <name>-update-api`.
//
// You must not make a backward incompatible change to any AIDL file built
// with the aidl_interface module type with versions property set. The module
// type is used to build AIDL files in a way that they can be used across
// independently updatable components of the system. If a device is shipped
// with such a backward incompatible change, it has a high risk of breaking
// later when a module using the interface is updated, e.g., Mainline modules.

HEADER
)
for version in 1 current; do
  expected=$(cd "$out/dump" && find . -name '*.aidl' | sort)
  actual=$(cd "$api/$version" && find . -name '*.aidl' | sort)
  if [ "$expected" != "$actual" ]; then
    echo "$version/ and the sources hold different files:"; diff <(echo "$expected") <(echo "$actual") || true
    status=1
    continue
  fi
  for f in $expected; do
    if [ "$(sed '/^package /,$d' "$api/$version/$f")" != "$header" ]; then
      echo "$version/$f lacks the dump header"
      status=1
    fi
    if ! diff -u "$out/dump/$f" <(sed -n '/^package /,$p' "$api/$version/$f" | sed '/^@VintfStability$/d'); then
      echo "$version/$f differs from the sources"
      status=1
    fi
  done
done
exit $status
