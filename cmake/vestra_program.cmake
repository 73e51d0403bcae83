# vestra_program(NAME SOURCES... LIBRARIES... [STATIC]): a program of the
# toolkit: a main() over its library, built into the top of the build
# directory (where the tests find every program) and installed. STATIC
# links it statically when VESTRA_STATIC is on (sanitizer and fuzzer builds
# need the dynamic runtime and stay dynamic).
function(vestra_program name)
  cmake_parse_arguments(P "STATIC" "" "SOURCES;LIBRARIES" ${ARGN})
  add_executable(${name} ${P_SOURCES})
  target_link_libraries(${name} PRIVATE ${P_LIBRARIES})
  set_target_properties(${name} PROPERTIES
                        RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR})
  if(P_STATIC AND VESTRA_STATIC AND NOT VESTRA_SANITIZE AND NOT VESTRA_FUZZ)
    target_link_options(${name} PRIVATE -static)
  endif()
  install(TARGETS ${name} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endfunction()
