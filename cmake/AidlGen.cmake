# aidl_ndk_library(NAME <target> ROOT <dir> FILES <.aidl paths relative to ROOT>
#                  [IMPORTS <dirs>])
#
# Generates NDK C++ for each file with the packaged aidl into ${GENERATED_DIR}/aidl and builds
# it as a shared library. The packaged aidl predates the device's, so the build compiles a
# copy of ROOT with @VintfStability removed and makes its proxies use SharedRefBase::make.
# Every .aidl under ROOT and the IMPORTS roots stays importable (platform types such as
# NativeHandle, whose C++ the kit writes by hand, come from an IMPORTS root).
find_program(AIDL_EXECUTABLE aidl REQUIRED)

function(aidl_ndk_library)
  cmake_parse_arguments(ARG "" "NAME;ROOT" "FILES;IMPORTS" ${ARGN})
  set(copy_root ${GENERATED_DIR}/aidl/${ARG_NAME}/input)
  set(src_dir ${GENERATED_DIR}/aidl/${ARG_NAME}/src)
  set(hdr_dir ${GENERATED_DIR}/aidl/${ARG_NAME}/include)

  set(copies)
  foreach(root ${ARG_ROOT} ${ARG_IMPORTS})
    file(GLOB_RECURSE all_aidl RELATIVE ${root} ${root}/*.aidl)
    foreach(rel ${all_aidl})
      add_custom_command(
        OUTPUT ${copy_root}/${rel}
        COMMAND ${CMAKE_COMMAND} -E make_directory ${copy_root}
        COMMAND sh -c "mkdir -p \"$(dirname '${copy_root}/${rel}')\" && sed '/@VintfStability/d' '${root}/${rel}' > '${copy_root}/${rel}'"
        DEPENDS ${root}/${rel}
        COMMENT "Preparing ${rel} for the host aidl"
        VERBATIM)
      list(APPEND copies ${copy_root}/${rel})
    endforeach()
  endforeach()

  set(sources)
  foreach(rel ${ARG_FILES})
    get_filename_component(dir ${rel} DIRECTORY)
    get_filename_component(name ${rel} NAME_WE)
    set(cpp ${src_dir}/${dir}/${name}.cpp)
    add_custom_command(
      OUTPUT ${cpp}
      COMMAND ${AIDL_EXECUTABLE} --lang=ndk --structured -I ${copy_root} -o ${src_dir} -h ${hdr_dir}
              ${copy_root}/${rel}
      # Android 11+ generators create proxies through make<>(); the A14 headers require it.
      COMMAND sed -i "s/(new \\(Bp[A-Za-z0-9_]*\\)(binder))->ref<[A-Za-z0-9_]*>()/::ndk::SharedRefBase::make<\\1>(binder)/" ${cpp}
      DEPENDS ${copies}
      COMMENT "aidl --lang=ndk ${rel}"
      VERBATIM)
    list(APPEND sources ${cpp})
  endforeach()

  file(MAKE_DIRECTORY ${hdr_dir})
  add_library(${ARG_NAME} SHARED ${sources})
  target_include_directories(${ARG_NAME} PUBLIC ${hdr_dir})
  target_link_libraries(${ARG_NAME} PUBLIC hostkit_binder)
endfunction()
