# hidl_host_library(NAME <target> PACKAGE <pkg@ver> [DEPENDS <targets>...])
#
# Generates the C++ headers of a HIDL package with hidl-gen at build time and
# the host glue (descriptors, service lookup, proxies) with gen_hidl_glue.py.
# Packages with interfaces give a SHARED library; types-only packages give an
# INTERFACE library carrying just the generated headers.
find_program(HIDL_GEN_EXECUTABLE hidl-gen REQUIRED)
set(HIDL_GLUE_GENERATOR ${CMAKE_CURRENT_LIST_DIR}/../host/hidlkit/gen_hidl_glue.py)
get_filename_component(HIDL_GLUE_GENERATOR ${HIDL_GLUE_GENERATOR} ABSOLUTE)

# Folder of <pkg@ver> under the -r package roots.
function(_hidl_package_dir package out_var)
  string(REGEX MATCH "^([^@]+)@([0-9]+\\.[0-9]+)$" matched "${package}")
  if(NOT matched)
    message(FATAL_ERROR "hidl_host_library: bad package '${package}'")
  endif()
  set(name ${CMAKE_MATCH_1})
  set(version ${CMAKE_MATCH_2})
  set(expect_root FALSE)
  foreach(item ${HIDL_PACKAGE_ROOTS})
    if(item STREQUAL "-r")
      set(expect_root TRUE)
      continue()
    endif()
    if(expect_root)
      string(FIND "${item}" ":" colon)
      string(SUBSTRING "${item}" 0 ${colon} prefix)
      math(EXPR path_start "${colon} + 1")
      string(SUBSTRING "${item}" ${path_start} -1 root)
      if(name STREQUAL prefix OR name MATCHES "^${prefix}\\.")
        string(LENGTH "${prefix}" prefix_length)
        string(SUBSTRING "${name}" ${prefix_length} -1 rest)
        string(REPLACE "." "/" rest "${rest}")
        set(${out_var} "${root}${rest}/${version}" PARENT_SCOPE)
        return()
      endif()
    endif()
    set(expect_root FALSE)
  endforeach()
  message(FATAL_ERROR "hidl_host_library: no package root for '${package}'")
endfunction()

function(hidl_host_library)
  cmake_parse_arguments(HIDL "" "NAME;PACKAGE" "DEPENDS" ${ARGN})
  if(NOT HIDL_NAME OR NOT HIDL_PACKAGE)
    message(FATAL_ERROR "hidl_host_library: NAME and PACKAGE are required")
  endif()
  _hidl_package_dir(${HIDL_PACKAGE} package_dir)
  string(REGEX REPLACE "@.*$" "" package_name "${HIDL_PACKAGE}")
  string(REGEX REPLACE "^.*@" "" package_version "${HIDL_PACKAGE}")
  string(REPLACE "." "/" package_path "${package_name}")
  set(include_dir ${GENERATED_DIR}/hidl/include)
  set(header_dir ${include_dir}/${package_path}/${package_version})

  file(GLOB hal_files ${package_dir}/*.hal)
  file(GLOB interface_hals ${package_dir}/I*.hal)
  set(headers)
  if(EXISTS ${package_dir}/types.hal)
    list(APPEND headers ${header_dir}/types.h)
  endif()
  foreach(hal ${interface_hals})
    get_filename_component(interface ${hal} NAME_WE)
    list(APPEND headers ${header_dir}/${interface}.h)
  endforeach()

  add_custom_command(
    OUTPUT ${headers}
    COMMAND ${HIDL_GEN_EXECUTABLE} -R ${HIDL_PACKAGE_ROOTS} -o ${include_dir} -Lc++-headers ${HIDL_PACKAGE}
    # This hidl-gen declares the enum value tables without `inline`; clang then emits a
    # strong definition in every object and the link fails.
    COMMAND sed -i "s/^template<> constexpr /template<> inline constexpr /" ${headers}
    DEPENDS ${hal_files}
    COMMENT "hidl-gen ${HIDL_PACKAGE}"
    VERBATIM)

  if(NOT interface_hals)
    add_custom_target(${HIDL_NAME}_headers DEPENDS ${headers})
    add_library(${HIDL_NAME} INTERFACE)
    add_dependencies(${HIDL_NAME} ${HIDL_NAME}_headers)
    target_include_directories(${HIDL_NAME} INTERFACE ${include_dir})
    target_link_libraries(${HIDL_NAME} INTERFACE hostkit_hidl ${HIDL_DEPENDS})
    return()
  endif()

  string(REPLACE "." "_" glue_name "${package_name}_${package_version}")
  set(glue_cpp ${GENERATED_DIR}/hidl/glue/${glue_name}.cpp)
  set(interface_headers ${headers})
  list(FILTER interface_headers INCLUDE REGEX "/I[^/]*\\.h$")
  add_custom_command(
    OUTPUT ${glue_cpp}
    COMMAND ${Python3_EXECUTABLE} ${HIDL_GLUE_GENERATOR} --package ${HIDL_PACKAGE} --output ${glue_cpp}
            ${interface_headers}
    DEPENDS ${interface_headers} ${HIDL_GLUE_GENERATOR}
    COMMENT "HIDL host glue ${HIDL_PACKAGE}"
    VERBATIM)

  add_library(${HIDL_NAME} SHARED ${glue_cpp} ${headers})
  target_include_directories(${HIDL_NAME} PUBLIC ${include_dir})
  target_link_libraries(${HIDL_NAME} PUBLIC hostkit_hidl ${HIDL_DEPENDS} PRIVATE hostkit_hidl_glue)
  target_compile_options(${HIDL_NAME} PRIVATE -Wall -Wextra -Wno-unused-parameter)
endfunction()
