# Runs the compiler on SOURCE twice: it must compile as it is, and must fail with FORBIDDEN
# defined, with an error that matches EXPECT. The first run proves that the second fails for
# the forbidden line and not for a broken snippet or command line.
# Usage: cmake -DCXX=<compiler> -DINCLUDE=<dir> -DSOURCE=<file> -DEXPECT=<regex> -P CompileCheck.cmake
set(command ${CXX} -std=c++17 -fsyntax-only -Wall -Werror -I${INCLUDE} ${SOURCE})

execute_process(COMMAND ${command} RESULT_VARIABLE result OUTPUT_VARIABLE out ERROR_VARIABLE out)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "${SOURCE} does not compile even without the forbidden line:\n${out}")
endif()

execute_process(COMMAND ${command} -DFORBIDDEN RESULT_VARIABLE result OUTPUT_VARIABLE out ERROR_VARIABLE out)
if(result EQUAL 0)
  message(FATAL_ERROR "${SOURCE} compiles with the forbidden line; it must not")
endif()
if(NOT out MATCHES "${EXPECT}")
  message(FATAL_ERROR "${SOURCE} fails with FORBIDDEN, but not with an error matching '${EXPECT}':\n${out}")
endif()
message(STATUS "${SOURCE}: compiles, and the forbidden line is refused")
