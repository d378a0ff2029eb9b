# cmake -DBUILD_DIR=<build tree> -DWARN_LOG=<doxygen warning log> -P CheckDoxygenWarnings.cmake
#
# Builds the docs target, then reads Doxygen's warning log. Fails on any
# warning except "Member ... is not documented", and prints how many of
# those there are. An undocumented class, struct, namespace or file, a bad
# command or a broken reference in a comment or a guide all fail.
foreach(var BUILD_DIR WARN_LOG)
  if(NOT DEFINED ${var})
    message(FATAL_ERROR "${var} is not set")
  endif()
endforeach()

file(REMOVE ${WARN_LOG})
execute_process(COMMAND ${CMAKE_COMMAND} --build ${BUILD_DIR} --target docs
  RESULT_VARIABLE result)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "building the docs target failed (${result})")
endif()
if(NOT EXISTS ${WARN_LOG})
  message(FATAL_ERROR "Doxygen wrote no warning log at ${WARN_LOG}")
endif()

file(STRINGS ${WARN_LOG} lines)
set(members 0)
set(others 0)
foreach(line IN LISTS lines)
  if(line MATCHES "warning: Member .* is not documented")
    math(EXPR members "${members} + 1")
  elseif(line MATCHES "(warning|error):")
    math(EXPR others "${others} + 1")
    message("${line}")
  endif()
endforeach()

message("Doxygen: ${members} undocumented member(s), ${others} other warning(s)")
if(others GREATER 0)
  message(FATAL_ERROR "Doxygen reported ${others} warning(s) other than undocumented members")
endif()
