# VIRCAM_COVERAGE=ON instruments every target for gcov (gcc); scripts/coverage.sh runs the
# suite and reports the library's own sources.
option(VIRCAM_COVERAGE "Build everything with gcov instrumentation" OFF)
if(VIRCAM_COVERAGE)
  if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    message(FATAL_ERROR "VIRCAM_COVERAGE expects gcc")
  endif()
  add_compile_options(--coverage -O0 -g)
  add_link_options(--coverage)
endif()
