# VIRCAM_FUZZ=ON builds the libFuzzer targets of tests/fuzz (clang only: configure with
# CC=clang-14 CXX=clang++-14). Everything in the process - library, kit, simulator - gets
# the fuzzer's coverage instrumentation plus ASan and UBSan, so a fault anywhere on the
# path stops the run; only the fuzz targets link the fuzzer driver itself. scripts/fuzz.sh
# also turns on VIRCAM_DEVICE_RULES, so the library has no exceptions and no RTTI there.
option(VIRCAM_FUZZ "Build the libFuzzer targets (clang)" OFF)
if(VIRCAM_FUZZ)
  if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    message(FATAL_ERROR "VIRCAM_FUZZ needs clang: configure with CC=clang-14 CXX=clang++-14")
  endif()
  if(NOT VIRCAM_SANITIZER STREQUAL "")
    message(FATAL_ERROR "VIRCAM_FUZZ brings its own sanitizers; leave VIRCAM_SANITIZER empty")
  endif()
  add_compile_options(-fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=undefined
                      -fno-omit-frame-pointer -g)
  add_link_options(-fsanitize=address,undefined)
endif()
