# Debian packages made with CPack from the components of cmake/Install.cmake:
#
#   component  package     contents
#   runtime    libpi5      libPI.so.5 and libRVX.so.5 (5: the major version)
#   dev        libpi-dev   headers, the CMake package, pi.pc, the .so links
#   tool       pitool      pitool and the sample files of its demo
#
# Configure with -DCMAKE_INSTALL_PREFIX=/usr and run `cpack` in the build
# tree (scripts/make-debs.sh does both). Depends of the libraries and the
# tool come from dpkg-shlibdeps; each package gets the copyright file and a
# changelog under /usr/share/doc/<package>.
#
#   python     python3-pi  the pi module for Python 3 (when it is built)
#
# Another package is one more component: give its install() rules a
# COMPONENT of its own and declare it below with pi_debian_component.
# dpkg-shlibdeps adds what its binary links against; scripts/test-debs.sh
# checks, installs and purges every package that the build makes.

set(PI_PACKAGE_MAINTAINER "PI maintainers <pi-maintainers@example.org>"
  CACHE STRING "Maintainer field of the Debian packages")
set(PI_DEB_RELEASE 1 CACHE STRING "Debian revision of the packages")
set(PI_DEB_VERSION "${PROJECT_VERSION}-${PI_DEB_RELEASE}")
# The runtime package is named after the SONAME, which the major version gives.
set(PI_RUNTIME_PACKAGE libpi${PROJECT_VERSION_MAJOR})

# Packages install under /usr, where the libraries are found without an
# RPATH (Debian policy forbids one there).
if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
  set(CMAKE_SKIP_INSTALL_RPATH ON)
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME pi)
set(CPACK_PACKAGE_VENDOR "The PI authors")
set(CPACK_PACKAGE_CONTACT "${PI_PACKAGE_MAINTAINER}")
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
set(CPACK_PACKAGE_DIRECTORY "${PROJECT_BINARY_DIR}/packages")
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE ${PI_DEB_RELEASE})
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# pitool's own libraries are found in the build tree.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS
  "${PROJECT_BINARY_DIR}/Src;${PROJECT_BINARY_DIR}/platform")
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS OFF)

set(PI_DEB_COMPONENTS)
set(PI_DEB_DOC_DIR ${PROJECT_BINARY_DIR}/debian-doc)
configure_file(${CMAKE_CURRENT_LIST_DIR}/debian/changelog.in ${PI_DEB_DOC_DIR}/changelog @ONLY)
# Debian wants the changelog compressed, reproducibly (no name, no time).
execute_process(COMMAND gzip -9nc ${PI_DEB_DOC_DIR}/changelog
  OUTPUT_FILE ${PI_DEB_DOC_DIR}/changelog.Debian.gz RESULT_VARIABLE PI_GZIP_RESULT)
if(NOT PI_GZIP_RESULT EQUAL 0)
  message(FATAL_ERROR "gzip of the Debian changelog failed")
endif()

function(pi_debian_component component package section summary description)
  string(TOUPPER ${component} upper)
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${package} PARENT_SCOPE)
  set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section} PARENT_SCOPE)
  set(CPACK_DEBIAN_${upper}_FILE_NAME DEB-DEFAULT PARENT_SCOPE)
  # CPack takes the first line as the synopsis, the rest as the long text.
  set(CPACK_COMPONENT_${upper}_DESCRIPTION "${summary}\n${description}" PARENT_SCOPE)
  install(FILES ${PROJECT_SOURCE_DIR}/cmake/debian/copyright ${PI_DEB_DOC_DIR}/changelog.Debian.gz
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package} COMPONENT ${component})
  set(PI_DEB_COMPONENTS ${PI_DEB_COMPONENTS} ${component} PARENT_SCOPE)
endfunction()

pi_debian_component(runtime ${PI_RUNTIME_PACKAGE} libs
  "storage management data model and helpers (shared libraries)"
  "PI carries the data model of a storage management system for RAID
controllers: records with typed property values, logical drive
configurations, operations and events, with helpers for SCSI sense texts,
drive identity strings, help anchors and status icons, and a locked INI
configuration store. This package holds the shared libraries libPI and its
platform layer libRVX.")
# The shlibs file tells packages built against the libraries what to depend
# on; the trigger runs ldconfig once per dpkg run.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/debian/triggers)

pi_debian_component(dev libpi-dev libdevel
  "storage management data model and helpers (development files)"
  "PI carries the data model of a storage management system for RAID
controllers. This package holds the C++17 headers of PI and RVX, the CMake
package (find_package(PI) gives PI::PI) and the pkg-config file pi.pc.")
# The CMake package and pi.pc name these libraries.
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS
  "${PI_RUNTIME_PACKAGE} (= ${PI_DEB_VERSION}), libboost-filesystem-dev, libboost-system-dev, libpugixml-dev, libssl-dev")

if(TARGET pitool)
  pi_debian_component(tool pitool admin
    "command-line tool of the PI storage management library"
    "pitool shows what the PI library knows: identifiers and help anchors,
SCSI sense texts, drive identity strings, status icons, unit conversion and
hex dumps, logical drive documents and the configuration file. It comes with
the sample files of its demo.")
  set(CPACK_DEBIAN_TOOL_PACKAGE_DEPENDS "${PI_RUNTIME_PACKAGE} (= ${PI_DEB_VERSION})")
endif()

if(TARGET pi_python)
  pi_debian_component(python python3-pi python
    "Python 3 module of the PI storage management library"
    "The pi module gives Python scripts the whole PI library: the helpers
(sense texts and raw sense buffers, drive identity, help anchors, icons,
units), the identifier vocabulary as IntEnums, typed property values, every
record class with its JSON and MessagePack forms, diff and patch of records,
and the configuration file.")
  # The extension module is built for this interpreter's version only.
  math(EXPR PI_PY_NEXT_MINOR "${Python3_VERSION_MINOR} + 1")
  set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS
    "${PI_RUNTIME_PACKAGE} (= ${PI_DEB_VERSION}), python3 (>= ${Python3_VERSION_MAJOR}.${Python3_VERSION_MINOR}), python3 (<< ${Python3_VERSION_MAJOR}.${PI_PY_NEXT_MINOR})")
endif()

set(CPACK_COMPONENTS_ALL ${PI_DEB_COMPONENTS})
include(CPack)
