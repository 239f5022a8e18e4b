# Cross build for AArch64 Linux with Debian's cross compiler and the arm64 multiarch
# packages (scripts/bootstrap.sh aarch64 installs both). Target binaries, including
# gtest discovery and every ctest, run under qemu-user; the code generators (hidl-gen,
# aidl, python3) stay host programs.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)

set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)

# The cross sysroot is / itself (multiarch): the arm64 libraries live in
# /usr/lib/aarch64-linux-gnu, the C library in /usr/aarch64-linux-gnu. Headers are
# shared with the host, so the include path is searched everywhere.
set(CMAKE_FIND_ROOT_PATH /usr/aarch64-linux-gnu)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY BOTH)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE BOTH)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE BOTH)

# Only the arm64 .pc files; the host's would hand out x86-64 libraries.
set(ENV{PKG_CONFIG_LIBDIR} /usr/lib/aarch64-linux-gnu/pkgconfig:/usr/share/pkgconfig)
set(ENV{PKG_CONFIG_PATH} "")

# libutils -> libbacktrace needs an arm64 /usr/lib/p7zip/7z.so, but that path holds the
# host's; scripts/bootstrap.sh unpacks the arm64 one here.
set(VIRCAM_AARCH64_7Z_DIR /usr/local/lib/aarch64-linux-gnu/p7zip)

# -L makes the program loader the cross package's; its C library must come from the same
# glibc build (the multiarch libc6:arm64 is another one and crashes in pthread_create).
find_program(VIRCAM_QEMU_AARCH64 qemu-aarch64 REQUIRED)
set(CMAKE_CROSSCOMPILING_EMULATOR ${VIRCAM_QEMU_AARCH64} -L /usr/aarch64-linux-gnu
    -E LD_LIBRARY_PATH=/usr/aarch64-linux-gnu/lib:${VIRCAM_AARCH64_7Z_DIR})

# A cross linker ignores the RUNPATH of the libraries it links, so it is told where the
# Android libraries' own dependencies live.
set(VIRCAM_RPATH_LINK "-Wl,-rpath-link,/usr/lib/aarch64-linux-gnu/android:${VIRCAM_AARCH64_7Z_DIR}")
set(CMAKE_EXE_LINKER_FLAGS_INIT ${VIRCAM_RPATH_LINK})
set(CMAKE_SHARED_LINKER_FLAGS_INIT ${VIRCAM_RPATH_LINK})
