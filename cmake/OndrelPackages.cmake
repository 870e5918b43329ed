# Manual pages and completion of the tool, and Debian packages of a build: cpack makes libondrel (both
# shared libraries), libondrel-dev (headers, CMake package, pkg-config files) and ondrel (the tool,
# thumbnails, manual pages, completion).
if(NOT ONDREL_TOOLS)
  return()
endif()
find_program(ONDREL_GZIP gzip REQUIRED)

# Compressed so that a build of the same sources gives the same bytes.
set(debian "${CMAKE_CURRENT_BINARY_DIR}/debian")
file(MAKE_DIRECTORY "${debian}")
set(compressed "")
macro(ondrel_compress from to)
  add_custom_command(OUTPUT "${to}" DEPENDS "${from}"
    COMMAND sh -c "'${ONDREL_GZIP}' -9nc '${from}' >'${to}'" VERBATIM)
  list(APPEND compressed "${to}")
endmacro()

foreach(page ondrel ondrel-thumbnailer)
  ondrel_compress("${PROJECT_SOURCE_DIR}/packaging/man/${page}.1" "${debian}/${page}.1.gz")
  install(FILES "${debian}/${page}.1.gz" DESTINATION "${CMAKE_INSTALL_MANDIR}/man1" COMPONENT Tools)
endforeach()
install(FILES packaging/completion/ondrel.bash RENAME ondrel
        DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions" COMPONENT Tools)
install(FILES packaging/completion/_ondrel
        DESTINATION "${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions" COMPONENT Tools)

# What a Debian package has to have: the terms, and what has changed.
configure_file(packaging/debian/changelog.in debian/changelog @ONLY)
ondrel_compress("${debian}/changelog" "${debian}/changelog.gz")
add_custom_target(ondrel_compressed ALL DEPENDS ${compressed})

set(CPACK_GENERATOR DEB)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each package has one of its own
set(CPACK_PACKAGE_CONTACT "Ondrel developers <maintainers@ondrel.invalid>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${CMAKE_BINARY_DIR}/ondrel")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION TRUE)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_COMPONENTS_ALL Runtime Development Tools)

function(ondrel_package component name section summary description)
  string(TOUPPER "${component}" upper)
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME "${name}" PARENT_SCOPE)
  set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION "${section}" PARENT_SCOPE)
  set(CPACK_COMPONENT_${upper}_DESCRIPTION "${summary}\n${description}" PARENT_SCOPE)
  install(FILES packaging/debian/copyright DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/${name}"
          COMPONENT ${component})
  install(FILES "${debian}/changelog.gz" DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/${name}"
          COMPONENT ${component})
endfunction()

ondrel_package(Runtime libondrel libs "file layer of a family of document editors"
  "Big-endian document streams, file references that survive a move, strings and
links inside documents, searches for lost files, and previews in resource forks
that are kept as a Mac reads them.")
ondrel_package(Development libondrel-dev libdevel "file layer of document editors - development files"
  "Headers, the CMake package Ondrel and the pkg-config files ondrel and ondrelold
of the libraries in libondrel.")
ondrel_package(Tools ondrel utils "tool for documents with resource forks, previews and links"
  "Shows and changes what a document carries beside its data: type and creator,
resource fork, preview and icon. Reads documents by a small layout language,
finds their lost links again, and shows previews in file managers.")

# What depends on the libraries, and that the linker's cache is to be renewed.
configure_file(packaging/debian/shlibs.in debian/shlibs @ONLY)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA
    "${debian}/shlibs;${PROJECT_SOURCE_DIR}/packaging/debian/triggers")
install(FILES packaging/debian/libondrel.lintian-overrides RENAME libondrel
        DESTINATION "${CMAKE_INSTALL_DATADIR}/lintian/overrides" COMPONENT Runtime)

set(ondrel_exactly "libondrel (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${ondrel_exactly}")
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "${ondrel_exactly}")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SHLIBDEPS OFF)
include(CPack)
