# What `cmake --install` lays down: both shared libraries, the public headers in their folders, the
# CMake package (targets Ondrel::Core and Ondrel::OndrelOld) and a pkg-config file each.
include(CMakePackageConfigHelpers)

install(TARGETS Ondrel OndrelOld
  EXPORT OndrelTargets
  LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT Runtime NAMELINK_COMPONENT Development)

get_property(public_headers GLOBAL PROPERTY ONDREL_PUBLIC_HEADERS)
foreach(header IN LISTS public_headers)
  get_filename_component(folder "${header}" DIRECTORY)
  install(FILES "${header}" DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/${folder}"
          COMPONENT Development)
endforeach()

set(package_folder "${CMAKE_INSTALL_LIBDIR}/cmake/Ondrel")
configure_package_config_file(cmake/OndrelConfig.cmake.in OndrelConfig.cmake
  INSTALL_DESTINATION "${package_folder}" NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(OndrelConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/OndrelConfig.cmake"
              "${CMAKE_CURRENT_BINARY_DIR}/OndrelConfigVersion.cmake"
        DESTINATION "${package_folder}" COMPONENT Development)
install(EXPORT OndrelTargets NAMESPACE Ondrel:: DESTINATION "${package_folder}"
        COMPONENT Development)

# The .pc files find their prefix from where they lie, so that an installed tree can be moved; only
# an absolute library folder ties them down.
file(RELATIVE_PATH pc_prefix "/prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/prefix")
string(REGEX REPLACE "/$" "" pc_prefix "${pc_prefix}")
set(PC_PREFIX "\${pcfiledir}/${pc_prefix}")
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}" OR IS_ABSOLUTE "${CMAKE_INSTALL_INCLUDEDIR}")
  set(PC_PREFIX "${CMAKE_INSTALL_PREFIX}")
endif()
cmake_path(APPEND PC_LIBDIR "\${prefix}" "${CMAKE_INSTALL_LIBDIR}")
cmake_path(APPEND PC_INCLUDEDIR "\${prefix}" "${CMAKE_INSTALL_INCLUDEDIR}")
foreach(pc ondrel ondrelold)
  configure_file("cmake/${pc}.pc.in" "${pc}.pc" @ONLY)
  install(FILES "${CMAKE_CURRENT_BINARY_DIR}/${pc}.pc"
          DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT Development)
endforeach()
