# Writes OUTPUT with the revision identifier of SOURCE_DIR in the form of
# `git describe --tags --long` (v<tag>-<commits>-g<hash>), falling back to
# v<VERSION>-0-g<hash> without a tag and v<VERSION>-0-gunknown without git,
# VERSION being the project's version (as the manual page gives it).
execute_process(COMMAND git describe --tags --long --match "v[0-9]*"
                WORKING_DIRECTORY ${SOURCE_DIR}
                OUTPUT_VARIABLE rev RESULT_VARIABLE res
                OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
if(NOT res EQUAL 0 OR rev STREQUAL "")
  execute_process(COMMAND git rev-parse --short HEAD
                  WORKING_DIRECTORY ${SOURCE_DIR}
                  OUTPUT_VARIABLE hash RESULT_VARIABLE res
                  OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
  if(res EQUAL 0 AND NOT hash STREQUAL "")
    set(rev "v${VERSION}-0-g${hash}")
  else()
    set(rev "v${VERSION}-0-gunknown")
  endif()
endif()
set(text "#define VESTRA_REVISION \"${rev}\"\n")
if(EXISTS ${OUTPUT})
  file(READ ${OUTPUT} old)
endif()
if(NOT "${old}" STREQUAL "${text}")
  file(WRITE ${OUTPUT} "${text}")
endif()
