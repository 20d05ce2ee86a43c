# What `cmake --install` puts in place: the headers of PI and of the platform
# layer, both shared libraries (versioned, with SONAME), pitool with the sample
# files of its demo, a CMake package (find_package(PI) gives PI::PI) and a
# pkg-config file (pi.pc). Each rule belongs to a component, which
# cmake/Packaging.cmake turns into a Debian package: runtime (the libraries),
# dev (headers, CMake package, pi.pc, .so links) and tool (pitool).
include(CMakePackageConfigHelpers)

set(PI_INSTALL_CMAKEDIR ${CMAKE_INSTALL_LIBDIR}/cmake/PI)

# The installed libraries find each other in their own directory.
set_target_properties(RVX PI PROPERTIES INSTALL_RPATH "$ORIGIN")

install(TARGETS RVX PI
  EXPORT PITargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT dev
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/PI ${PROJECT_SOURCE_DIR}/platform/include/RVX
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT dev
  FILES_MATCHING PATTERN "*.h")

install(EXPORT PITargets NAMESPACE PI:: DESTINATION ${PI_INSTALL_CMAKEDIR} COMPONENT dev)
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/PIConfig.cmake.in
  ${PROJECT_BINARY_DIR}/PIConfig.cmake
  INSTALL_DESTINATION ${PI_INSTALL_CMAKEDIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/PIConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/PIConfig.cmake ${PROJECT_BINARY_DIR}/PIConfigVersion.cmake
  DESTINATION ${PI_INSTALL_CMAKEDIR} COMPONENT dev)

# pi.pc names its prefix relative to its own place, so the tree works under
# whatever prefix `cmake --install --prefix` chose.
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
  set(PI_PC_PREFIX "${CMAKE_INSTALL_PREFIX}")
else()
  file(RELATIVE_PATH PI_PC_UP "/prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/prefix")
  string(REGEX REPLACE "/$" "" PI_PC_UP "${PI_PC_UP}")
  set(PI_PC_PREFIX "\${pcfiledir}/${PI_PC_UP}")
endif()
configure_file(${CMAKE_CURRENT_LIST_DIR}/pi.pc.in ${PROJECT_BINARY_DIR}/pi.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/pi.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
  COMPONENT dev)

if(TARGET pitool)
  install(TARGETS pitool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tool)
  # The demo of an installed pitool looks for them in share/pi/examples.
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples/ DESTINATION ${CMAKE_INSTALL_DATADIR}/pi/examples
    COMPONENT tool)
endif()

include(${CMAKE_CURRENT_LIST_DIR}/Packaging.cmake)
