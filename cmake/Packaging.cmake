# Debian packages made by CPack (scripts/package): libbramblekit1 (Runtime),
# libbramblekit-dev (Development) and bramblekit-tools (Tools). The
# description records which keys the library embeds, by fingerprint only:
# no key file is installed by any component.

if(NOT TARGET bramblekit)
  return()
endif()

# SHA-256 of a PEM file, for the description.
function(bk_key_fingerprint out path)
  file(SHA256 "${path}" digest)
  set(${out} "${digest}" PARENT_SCOPE)
endfunction()

bk_key_fingerprint(bk_station_fp "${BK_EMBEDDED_STATION_PUBLIC_KEY_PATH}")
bk_key_fingerprint(bk_results_fp "${BK_DEV_RESULTS_PUBLIC_KEY}")
if(BK_STATION_INFO_PUBLIC_KEY)
  set(bk_station_origin "the deployment key given at build time")
else()
  set(bk_station_origin "a development key made by this build, not for a factory")
endif()
if(BK_RESULTS_PRIVATE_KEY)
  set(bk_results_origin "the deployment key given at build time")
else()
  set(bk_results_origin "a development key made by this build, not for a factory")
endif()

set(CPACK_PACKAGE_NAME bramblekit)
set(CPACK_PACKAGE_VENDOR "Bramblekit developers")
set(CPACK_PACKAGE_CONTACT "Bramblekit developers <bramblekit@localhost>")
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL Runtime Development Tools)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_STRIP_FILES ON)

# CPack indents every line after the first by one space itself.
set(bk_keys_text
"Station info files verify with ${bk_station_origin}:
station public key PEM SHA-256 ${bk_station_fp}.
Results are signed with ${bk_results_origin}:
results public key PEM SHA-256 ${bk_results_fp};
pass phrase table size ${BK_PASSPHRASE_TABLE_SIZE}.")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME "libbramblekit${PROJECT_VERSION_MAJOR}")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION
"Bramblekit factory test station library
The shared library a test station loads: one session per unit under test,
results, blobs, station health checks and one signed results document
handed to the forwarding agent under /vault.
${bk_keys_text}")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libbramblekit-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
    "libbramblekit${PROJECT_VERSION_MAJOR} (= ${PROJECT_VERSION})")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
"Bramblekit factory test station library (development files)
The header <bramblekit/Bramblekit.h>, the CMake package (Bramblekit::bramblekit)
and the pkg-config file bramblekit.pc for building a station.
${bk_keys_text}")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME bramblekit-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS
    "libbramblekit${PROJECT_VERSION_MAJOR} (= ${PROJECT_VERSION})")
set(CPACK_COMPONENT_TOOLS_DESCRIPTION
"Bramblekit command-line tools
Signs station info files with a key given on the command line, verifies
committed results, and runs a small test station.
${bk_keys_text}")

# The simulator links the library of this build: dpkg-shlibdeps may find it in
# the build tree, and the exact dependency on its package is declared above.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS
    "${CMAKE_CURRENT_BINARY_DIR}")

include(CPack)
