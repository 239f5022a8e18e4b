#!/usr/bin/env bash
# Installs the Debian packages the build, tests, demo and benchmarks need.
# Quiet and quick when everything is present; runs apt-get update only when
# something is missing; works as root or through sudo.
# Usage: scripts/bootstrap.sh [aarch64]
#   aarch64: also the AArch64 cross compiler, the arm64 -dev packages the build
#   links and qemu-user to run the tests (enables the arm64 dpkg architecture).
set -euo pipefail

target=${1:-}
case "$target" in
  ""|aarch64) ;;
  *) echo "usage: scripts/bootstrap.sh [aarch64]" >&2; exit 2 ;;
esac

packages=(
  cmake ninja-build g++ pkg-config python3
  libjsoncpp-dev android-liblog-dev android-libutils-dev android-libcutils-dev android-libbase-dev
  aidl hidl-gen blueprint-tools
  libgtest-dev libgmock-dev libbenchmark-dev libpng-dev
  clang-14 libclang-rt-14-dev gcovr
  libc++-14-dev libc++abi-14-dev lld-14
)
add_arm64=false
if [ "$target" = aarch64 ]; then
  packages+=(
    g++-aarch64-linux-gnu qemu-user
    libjsoncpp-dev:arm64 android-liblog-dev:arm64 android-libutils-dev:arm64
    android-libcutils-dev:arm64 libgtest-dev:arm64 libgmock-dev:arm64 libpng-dev:arm64
    libbenchmark-dev:arm64
  )
  dpkg --print-foreign-architectures | grep -qx arm64 || add_arm64=true
fi
# The arm64 libutils needs libbacktrace, which needs an arm64 /usr/lib/p7zip/7z.so; Debian
# lets the host's p7zip-full stand in for it, so the arm64 one is unpacked aside (the
# toolchain file links against it and points qemu at it).
arm64_7z=/usr/local/lib/aarch64-linux-gnu/p7zip/7z.so
need_7z=false
[ "$target" = aarch64 ] && [ ! -f "$arm64_7z" ] && need_7z=true

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$p")
  fi
done
[ ${#missing[@]} -eq 0 ] && ! $add_arm64 && ! $need_7z && exit 0

if [ "$(id -u)" -eq 0 ]; then
  as_root=()
elif command -v sudo >/dev/null 2>&1; then
  as_root=(sudo)
else
  echo "bootstrap: missing packages (${missing[*]}) and neither root nor sudo is available" >&2
  exit 1
fi

export DEBIAN_FRONTEND=noninteractive
if [ ${#missing[@]} -gt 0 ] || $add_arm64; then
  echo "bootstrap: installing ${missing[*]}" >&2
  if $add_arm64 && ! "${as_root[@]}" dpkg --add-architecture arm64; then
    echo "bootstrap: could not enable the arm64 architecture (dpkg --add-architecture arm64)" >&2
    exit 1
  fi
  if ! "${as_root[@]}" apt-get update -qq >/dev/null \
     || ! "${as_root[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null; then
    echo "bootstrap: could not install: ${missing[*]} (is a Debian 12 package mirror reachable?)" >&2
    exit 1
  fi
fi

if $need_7z; then
  echo "bootstrap: unpacking the arm64 7z.so into ${arm64_7z%/*}" >&2
  unpack=$(mktemp -d)
  trap 'rm -rf "$unpack"' EXIT
  chmod 755 "$unpack"
  if ! (cd "$unpack" && apt-get download -qq p7zip-full:arm64 >/dev/null 2>&1 \
        && dpkg-deb -x p7zip-full_*_arm64.deb root) \
     || ! "${as_root[@]}" install -D -m 644 "$unpack/root/usr/lib/p7zip/7z.so" "$arm64_7z"; then
    echo "bootstrap: could not unpack 7z.so from p7zip-full:arm64 (is a Debian 12 package mirror reachable?)" >&2
    exit 1
  fi
fi
