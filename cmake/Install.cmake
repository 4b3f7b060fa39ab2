# What `cmake --install` puts under the prefix (DESTDIR is honoured by CMake):
# the shared library, the public header as <bramblekit/Bramblekit.h>, a CMake
# package exporting Bramblekit::bramblekit, and a pkg-config file. Components
# match the Debian packages: Runtime, Development (the tools add Tools).
#
# Expects the target bramblekit and BK_PUBLIC_INCLUDE.

include(CMakePackageConfigHelpers)

set(BK_CMAKE_PACKAGE_DIR "${CMAKE_INSTALL_LIBDIR}/cmake/Bramblekit")

install(TARGETS bramblekit EXPORT BramblekitTargets
  LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT Runtime
          NAMELINK_COMPONENT Development)
install(FILES "${CMAKE_CURRENT_SOURCE_DIR}/interface/Bramblekit.h"
              "${BK_PUBLIC_INCLUDE}/bramblekit/BramblekitVersion.h"
        DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/bramblekit" COMPONENT Development)

install(EXPORT BramblekitTargets NAMESPACE Bramblekit::
        DESTINATION "${BK_CMAKE_PACKAGE_DIR}" COMPONENT Development)
configure_package_config_file("${CMAKE_CURRENT_LIST_DIR}/BramblekitConfig.cmake.in"
  "${PROJECT_BINARY_DIR}/package/BramblekitConfig.cmake"
  INSTALL_DESTINATION "${BK_CMAKE_PACKAGE_DIR}")
# The major version is the soname's: a station built against 1.x loads any 1.y.
write_basic_package_version_file("${PROJECT_BINARY_DIR}/package/BramblekitConfigVersion.cmake"
  VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/package/BramblekitConfig.cmake"
              "${PROJECT_BINARY_DIR}/package/BramblekitConfigVersion.cmake"
        DESTINATION "${BK_CMAKE_PACKAGE_DIR}" COMPONENT Development)

# The .pc file finds its prefix from its own place, so one file serves any
# --prefix, DESTDIR or unpacked package.
set(bk_pc_dir "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
file(RELATIVE_PATH BK_PC_PREFIX_FROM_PC_DIR "/prefix/${bk_pc_dir}" "/prefix")
string(REGEX REPLACE "/$" "" BK_PC_PREFIX_FROM_PC_DIR "${BK_PC_PREFIX_FROM_PC_DIR}")
configure_file("${CMAKE_CURRENT_LIST_DIR}/bramblekit.pc.in"
               "${PROJECT_BINARY_DIR}/package/bramblekit.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/package/bramblekit.pc"
        DESTINATION "${bk_pc_dir}" COMPONENT Development)
