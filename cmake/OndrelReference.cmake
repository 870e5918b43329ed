# The API reference, where Doxygen is installed: cmake --build ... --target reference makes
# reference/html in the build folder, and fails when Doxygen has a warning.
find_program(ONDREL_DOXYGEN doxygen)
if(NOT ONDREL_DOXYGEN)
  return()
endif()
get_property(public_headers GLOBAL PROPERTY ONDREL_PUBLIC_HEADERS)
set(reference_input "\"${PROJECT_SOURCE_DIR}/docs/reference/mainpage.md\"")
foreach(header IN LISTS public_headers)
  string(APPEND reference_input " \\\n  \"${PROJECT_SOURCE_DIR}/${header}\"")
endforeach()
configure_file(docs/reference/Doxyfile.in reference/Doxyfile @ONLY)
add_custom_target(reference
  COMMAND "${ONDREL_DOXYGEN}" "${CMAKE_CURRENT_BINARY_DIR}/reference/Doxyfile" VERBATIM)
if(ONDREL_TESTS)
  add_test(NAME system.TheReferenceIsMadeWithoutWarnings
    COMMAND "${ONDREL_DOXYGEN}" "${CMAKE_CURRENT_BINARY_DIR}/reference/Doxyfile")
endif()
