# Language level, warnings, sanitizers and ccache for every target of the project.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

find_program(ONDREL_CCACHE ccache)
if(ONDREL_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_CXX_COMPILER_LAUNCHER "${ONDREL_CCACHE}")
endif()

add_compile_options(-Wall -Wextra -Wpedantic -Wconversion -Wshadow)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  add_compile_options(-Wno-restrict)  # g++ 12 warns of overlaps in std::string that cannot be
endif()
if(ONDREL_WERROR)
  add_compile_options(-Werror)
endif()
if(ONDREL_SANITIZE)
  add_compile_options(-fsanitize=${ONDREL_SANITIZE} -fno-omit-frame-pointer
                      -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${ONDREL_SANITIZE})
endif()

find_package(PkgConfig REQUIRED)
pkg_check_modules(FONTCONFIG REQUIRED IMPORTED_TARGET fontconfig)
pkg_check_modules(FREETYPE REQUIRED IMPORTED_TARGET freetype2)
pkg_check_modules(ICU REQUIRED IMPORTED_TARGET icu-uc icu-i18n)
pkg_check_modules(JPEG REQUIRED IMPORTED_TARGET libjpeg)
pkg_check_modules(PIXMAN REQUIRED IMPORTED_TARGET pixman-1)
pkg_check_modules(PNG REQUIRED IMPORTED_TARGET libpng)
pkg_check_modules(DEFLATE REQUIRED IMPORTED_TARGET libdeflate)
pkg_check_modules(URING REQUIRED IMPORTED_TARGET liburing)

# ondrel_layer(NAME HEADERS file ... SOURCES file ... [LIBRARIES target ...])
# One folder of ondrel/ as an object library: the shared libraries are made of them, and tests link
# them directly, so that they reach what the libraries keep hidden. HEADERS are the folder's public
# headers, the ones that are installed; every other header is internal and says so in its first
# comment.
function(ondrel_layer name)
  cmake_parse_arguments(ARG "" "" "HEADERS;SOURCES;LIBRARIES" ${ARGN})
  add_library(ondrel_${name} OBJECT ${ARG_SOURCES})
  target_include_directories(ondrel_${name} PUBLIC "${PROJECT_SOURCE_DIR}")
  target_link_libraries(ondrel_${name} PUBLIC ${ARG_LIBRARIES})
  list(TRANSFORM ARG_HEADERS PREPEND "ondrel/${name}/")
  set_property(GLOBAL APPEND PROPERTY ONDREL_PUBLIC_HEADERS ${ARG_HEADERS})
endfunction()
