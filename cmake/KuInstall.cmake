# Installation: headers, libraries, the CMake package and the pkg-config file; then the packages that CPack makes.
#
# There are two components, which become the two Debian packages: ku_runtime (libku.so.3) and ku_development (the rest).
# Debian's own place for libraries is taken when the prefix is /usr, as the preset "package" says.

include(CMakePackageConfigHelpers)
set(KU_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/ku)
set(KU_TARGETS ku)
if(TARGET ku_static)
  list(APPEND KU_TARGETS ku_static)
endif()

install(TARGETS ${KU_TARGETS} EXPORT ku-targets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT ku_runtime NAMELINK_COMPONENT ku_development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT ku_development
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES sources/include/ku.h sources/include/ku_run.h sources/include/rcs.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT ku_development)

install(EXPORT ku-targets NAMESPACE ku:: DESTINATION ${KU_CMAKE_DIR} COMPONENT ku_development)
configure_package_config_file(cmake/ku-config.cmake.in ${PROJECT_BINARY_DIR}/cmake/ku-config.cmake
  INSTALL_DESTINATION ${KU_CMAKE_DIR}
  NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/cmake/ku-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/cmake/ku-config.cmake ${PROJECT_BINARY_DIR}/cmake/ku-config-version.cmake
  DESTINATION ${KU_CMAKE_DIR} COMPONENT ku_development)

# The .pc file finds the prefix from its own place, so that an installed tree may be moved.
set(KU_PC_DIR ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
if(IS_ABSOLUTE ${CMAKE_INSTALL_LIBDIR})
  set(KU_PC_PREFIX ${CMAKE_INSTALL_PREFIX})
  set(KU_PC_LIBDIR ${CMAKE_INSTALL_LIBDIR})
else()
  file(RELATIVE_PATH up /prefix/${KU_PC_DIR} /prefix)
  string(REGEX REPLACE "/$" "" up ${up})
  set(KU_PC_PREFIX \${pcfiledir}/${up})
  set(KU_PC_LIBDIR \${prefix}/${CMAKE_INSTALL_LIBDIR})
  unset(up)
endif()
if(IS_ABSOLUTE ${CMAKE_INSTALL_INCLUDEDIR})
  set(KU_PC_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR})
else()
  set(KU_PC_INCLUDEDIR \${prefix}/${CMAKE_INSTALL_INCLUDEDIR})
endif()
configure_file(cmake/ku.pc.in ${PROJECT_BINARY_DIR}/cmake/ku.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/cmake/ku.pc DESTINATION ${KU_PC_DIR} COMPONENT ku_development)

if(NOT PROJECT_IS_TOP_LEVEL)
  return()
endif()

# ----------------------------------------------------------------------------------------------------------------------
# Packages
# ----------------------------------------------------------------------------------------------------------------------

set(CPACK_GENERATOR TGZ)
find_program(KU_DPKG_DEB dpkg-deb)
find_program(KU_DPKG_SHLIBDEPS dpkg-shlibdeps)
find_program(KU_FILE file) # by which CPack finds the libraries among the files
mark_as_advanced(KU_DPKG_DEB KU_DPKG_SHLIBDEPS KU_FILE)
if(KU_DPKG_DEB AND KU_DPKG_SHLIBDEPS AND KU_FILE)
  list(APPEND CPACK_GENERATOR DEB)
endif()

set(CPACK_PACKAGE_NAME libku)
set(CPACK_PACKAGE_VENDOR "libku maintainers")
set(CPACK_PACKAGE_CONTACT "libku maintainers <libku@localhost>" CACHE STRING "Maintainer field of the packages")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY ${PROJECT_DESCRIPTION})
set(CPACK_PACKAGE_FILE_NAME libku-${PROJECT_VERSION}-${CMAKE_SYSTEM_NAME}-${CMAKE_SYSTEM_PROCESSOR})
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL ku_runtime ku_development)
set(CPACK_SOURCE_GENERATOR TGZ)
set(CPACK_SOURCE_PACKAGE_FILE_NAME libku-${PROJECT_VERSION})
set(CPACK_SOURCE_IGNORE_FILES "/[.]git/;/[.]git$;/build/;/build-[^/]*/;/[.]cache/")

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_DEBIAN_KU_RUNTIME_PACKAGE_NAME libku${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_KU_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_KU_RUNTIME_DESCRIPTION "Programs create integer variables with finite domains, post constraints on them and search for solutions by \
depth-first backtracking. This package holds the shared library.")
set(CPACK_DEBIAN_KU_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")

set(CPACK_DEBIAN_KU_DEVELOPMENT_PACKAGE_NAME libku-dev)
set(CPACK_DEBIAN_KU_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_COMPONENT_KU_DEVELOPMENT_DESCRIPTION "Programs create integer variables with finite domains, post constraints on them and search for solutions by \
depth-first backtracking. This package holds the headers, the static library and the files for CMake and pkg-config.")
set(CPACK_DEBIAN_KU_DEVELOPMENT_PACKAGE_DEPENDS
  "${CPACK_DEBIAN_KU_RUNTIME_PACKAGE_NAME} (= ${PROJECT_VERSION}), libc6-dev")

include(CPack)
