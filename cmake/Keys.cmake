# The keys the library carries inside itself, so that a station needs no key
# file at run time:
#
#   BK_STATION_INFO_PUBLIC_KEY  PEM public key (RSA 1024) that verifies the
#                               signed station info file.
#   BK_RESULTS_PRIVATE_KEY      traditional PEM RSA private key (1024 bits),
#                               encrypted with DES-EDE3-CBC, that signs the
#                               results; its pass phrase is "%x" of
#                               Util_getNumber().
#   BK_PASSPHRASE_TABLE_SIZE    size of Util_getNumber()'s table, which fixes
#                               that pass phrase.
#
# Left empty, the two key paths default to a development set that is made
# here, once, in the build tree with the openssl tool; private keys never enter
# the source tree. The station private key and the results public key of that
# set are the two counterparts that only tests, tools and the demo need.
#
# Expects the target bramblekit_objects to exist.

set(BK_STATION_INFO_PUBLIC_KEY "" CACHE FILEPATH
    "PEM public key that verifies station info files (empty: development key)")
set(BK_RESULTS_PRIVATE_KEY "" CACHE FILEPATH
    "Encrypted traditional PEM RSA key that signs results (empty: development key)")
set(BK_PASSPHRASE_TABLE_SIZE "4096" CACHE STRING
    "Size of the table behind the results key's pass phrase")

find_program(BK_OPENSSL_TOOL openssl REQUIRED)

if(NOT BK_PASSPHRASE_TABLE_SIZE MATCHES "^[1-9][0-9]*$" OR BK_PASSPHRASE_TABLE_SIZE GREATER 65536)
  message(FATAL_ERROR "BK_PASSPHRASE_TABLE_SIZE must be an integer from 1 to 65536, "
                      "so that the table's sum fits the pass phrase routine's int")
endif()
# Util_getNumber() sums a permutation of 0 .. size-1, so the pass phrase is the
# lower-case hex of size*(size-1)/2. A signing test opens the embedded key
# with the library's own routine, which catches any drift between the two.
math(EXPR bk_passphrase_number "${BK_PASSPHRASE_TABLE_SIZE} * (${BK_PASSPHRASE_TABLE_SIZE} - 1) / 2"
     OUTPUT_FORMAT HEXADECIMAL)
string(REGEX REPLACE "^0x" "" BK_RESULTS_PASSPHRASE "${bk_passphrase_number}")
string(TOLOWER "${BK_RESULTS_PASSPHRASE}" BK_RESULTS_PASSPHRASE)

set(bk_key_dir "${PROJECT_BINARY_DIR}/keys")
file(MAKE_DIRECTORY "${bk_key_dir}")

function(bk_openssl)
  execute_process(COMMAND "${BK_OPENSSL_TOOL}" ${ARGN}
                  RESULT_VARIABLE rc OUTPUT_QUIET ERROR_VARIABLE err)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "openssl ${ARGV0} failed: ${err}")
  endif()
endfunction()

# Station side: the private key is the station-management agent's; the
# development one signs the station files of tests and the demo.
set(BK_DEV_STATION_PRIVATE_KEY "")
if(BK_STATION_INFO_PUBLIC_KEY)
  set(bk_station_public "${BK_STATION_INFO_PUBLIC_KEY}")
else()
  set(BK_DEV_STATION_PRIVATE_KEY "${bk_key_dir}/station_private.pem")
  set(bk_station_public "${bk_key_dir}/station_public.pem")
  if(NOT EXISTS "${bk_station_public}" OR NOT EXISTS "${BK_DEV_STATION_PRIVATE_KEY}")
    message(STATUS "Generating a development station-management key pair in ${bk_key_dir}")
    bk_openssl(genrsa -out "${BK_DEV_STATION_PRIVATE_KEY}" 1024)
    bk_openssl(rsa -in "${BK_DEV_STATION_PRIVATE_KEY}" -pubout -out "${bk_station_public}")
  endif()
endif()

# Results side: the development key is named after its pass phrase, so a new
# table size gets a key that opens with the new phrase.
if(BK_RESULTS_PRIVATE_KEY)
  set(bk_results_private "${BK_RESULTS_PRIVATE_KEY}")
  set(BK_DEV_RESULTS_PUBLIC_KEY "${bk_key_dir}/results_public_deployment.pem")
else()
  set(bk_results_private "${bk_key_dir}/results_private_${BK_RESULTS_PASSPHRASE}.pem")
  set(BK_DEV_RESULTS_PUBLIC_KEY "${bk_key_dir}/results_public_${BK_RESULTS_PASSPHRASE}.pem")
  if(NOT EXISTS "${bk_results_private}")
    message(STATUS "Generating a development results key in ${bk_key_dir}")
    set(bk_plain "${bk_key_dir}/results_plain.tmp")
    bk_openssl(genrsa -out "${bk_plain}" 1024)
    bk_openssl(rsa -in "${bk_plain}" -traditional -des3
               -passout "pass:${BK_RESULTS_PASSPHRASE}" -out "${bk_results_private}")
    file(REMOVE "${bk_plain}")
  endif()
endif()
# Deriving the public half also proves, at configure time, that the private key
# opens with the pass phrase the library will build.
bk_openssl(rsa -in "${bk_results_private}" -passin "pass:${BK_RESULTS_PASSPHRASE}"
           -pubout -out "${BK_DEV_RESULTS_PUBLIC_KEY}")

foreach(key_file IN ITEMS "${bk_station_public}" "${bk_results_private}")
  if(NOT EXISTS "${key_file}")
    message(FATAL_ERROR "Key file not found: ${key_file}")
  endif()
endforeach()
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS
             "${bk_station_public}" "${bk_results_private}")

file(READ "${bk_station_public}" BK_EMBED_STATION_PUBLIC_KEY)
file(READ "${bk_results_private}" BK_EMBED_RESULTS_PRIVATE_KEY)
set(BK_EMBEDDED_STATION_PUBLIC_KEY_PATH "${bk_station_public}")
set(BK_EMBEDDED_RESULTS_PRIVATE_KEY_PATH "${bk_results_private}")
configure_file("${CMAKE_CURRENT_LIST_DIR}/EmbeddedKeys.cpp.in"
               "${PROJECT_BINARY_DIR}/generated/signature/EmbeddedKeys.cpp" @ONLY)
configure_file("${CMAKE_CURRENT_LIST_DIR}/DevelopmentKeys.h.in"
               "${PROJECT_BINARY_DIR}/generated/DevelopmentKeys.h" @ONLY)

target_sources(bramblekit_objects PRIVATE
               "${PROJECT_BINARY_DIR}/generated/signature/EmbeddedKeys.cpp")
target_compile_definitions(bramblekit_objects PRIVATE
                           BK_PASSPHRASE_TABLE_SIZE=${BK_PASSPHRASE_TABLE_SIZE})

# Paths of the counterparts for tests, tools and the demo.
add_library(bk_development_keys INTERFACE)
target_include_directories(bk_development_keys INTERFACE "${PROJECT_BINARY_DIR}/generated")
