# VIRCAM_DEVICE_RULES=ON compiles the library's own sources with the flags Soong gives device
# C++ (clang only: configure with CC=clang-14 CXX=clang++-14) and links the shared library the
# way the device does. Only the library gets them: the host kit, simulator, tests and tools
# stand in for the platform and the caller, and keep their usual flags (exceptions, RTTI).
option(VIRCAM_DEVICE_RULES "Compile the library with the device's flags (clang)" OFF)

if(VIRCAM_DEVICE_RULES)
  if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    message(FATAL_ERROR "VIRCAM_DEVICE_RULES needs clang: configure with CC=clang-14 CXX=clang++-14")
  endif()
  set(VIRCAM_DEVICE_COMPILE_FLAGS
    -fno-exceptions -fno-rtti
    -Wall -Wextra -Werror
    -Werror=non-virtual-dtor -Werror=return-type -Werror=format-security
    -Wthread-safety
    -fstack-protector-strong
    -fvisibility-inlines-hidden)
  if(VIRCAM_FUZZ)
    # UBSan's vptr check reads the RTTI of the object's class, and the library's classes
    # have none: it is off for the whole process, not just the library.
    add_compile_options(-fno-sanitize=vptr)
  else()
    # glibc's FORTIFY needs an optimised build; the fuzz build is unoptimised and ASan
    # checks every access that FORTIFY would.
    list(APPEND VIRCAM_DEVICE_COMPILE_FLAGS -D_FORTIFY_SOURCE=2)
  endif()

  # The device links with lld, which holds the version script to --no-undefined-version.
  include(CheckLinkerFlag)
  set(VIRCAM_DEVICE_LINK_FLAGS)
  check_linker_flag(CXX -fuse-ld=lld VIRCAM_HAVE_LLD)
  if(VIRCAM_HAVE_LLD)
    list(APPEND VIRCAM_DEVICE_LINK_FLAGS -fuse-ld=lld)
  endif()
  foreach(flag -Wl,-z,now -Wl,--no-undefined-version)
    string(MAKE_C_IDENTIFIER "VIRCAM_LINKER_HAS${flag}" result)
    check_linker_flag(CXX "${VIRCAM_DEVICE_LINK_FLAGS};${flag}" ${result})
    if(${result})
      list(APPEND VIRCAM_DEVICE_LINK_FLAGS ${flag})
    endif()
  endforeach()
endif()

# vircam_device_rules(<objects target> <shared library target>) applies the rules above.
function(vircam_device_rules objects library)
  if(NOT VIRCAM_DEVICE_RULES)
    return()
  endif()
  target_compile_options(${objects} PRIVATE ${VIRCAM_DEVICE_COMPILE_FLAGS})
  target_link_options(${library} PRIVATE ${VIRCAM_DEVICE_LINK_FLAGS})
endfunction()
