# Third-party libraries the library links against. All come from the
# distribution's -dev packages (scripts/install-deps installs them).
set(THREADS_PREFER_PTHREAD_FLAG ON)
find_package(Threads REQUIRED)
find_package(OpenSSL REQUIRED COMPONENTS Crypto)
find_package(ZLIB REQUIRED)
find_package(PkgConfig REQUIRED)

# Debian's jsoncpp puts its headers under /usr/include/jsoncpp; the pkg-config
# module adds that directory so the code can write <json/json.h>.
pkg_check_modules(JSONCPP REQUIRED IMPORTED_TARGET jsoncpp)

# libuuid (util-linux): the code includes <uuid/uuid.h>.
find_path(UUID_INCLUDE_DIR uuid/uuid.h REQUIRED)
find_library(UUID_LIBRARY uuid REQUIRED)
if(NOT TARGET bk_uuid)
  add_library(bk_uuid INTERFACE IMPORTED)
  set_target_properties(bk_uuid PROPERTIES
    INTERFACE_INCLUDE_DIRECTORIES "${UUID_INCLUDE_DIR}"
    INTERFACE_LINK_LIBRARIES "${UUID_LIBRARY}")
endif()
