# BK_SANITIZE holds the value of -fsanitize= for the whole build, e.g.
# "address,undefined" or "thread". Each sanitizer needs its own build tree:
# thread and address cannot be mixed in one binary.
set(BK_SANITIZE "" CACHE STRING "Sanitizers for the whole build: \"\", \"address,undefined\" or \"thread\"")
set_property(CACHE BK_SANITIZE PROPERTY STRINGS "" "address,undefined" "thread")

if(BK_SANITIZE)
  message(STATUS "Sanitizers: ${BK_SANITIZE}")
  add_compile_options(-fsanitize=${BK_SANITIZE} -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${BK_SANITIZE} -fno-omit-frame-pointer)
  if(BK_SANITIZE MATCHES "undefined")
    # Make undefined behaviour fail the test instead of only printing.
    add_compile_options(-fno-sanitize-recover=undefined)
  endif()
endif()
