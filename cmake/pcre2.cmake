# PCRE2 with 8-bit code units, as the target portwise-pcre2. Debian's package brings no file for find_package.

find_path(PCRE2_INCLUDE_DIR pcre2.h REQUIRED)
find_library(PCRE2_LIBRARY pcre2-8 REQUIRED)
mark_as_advanced(PCRE2_INCLUDE_DIR PCRE2_LIBRARY)

add_library(portwise-pcre2 INTERFACE)
target_include_directories(portwise-pcre2 SYSTEM INTERFACE ${PCRE2_INCLUDE_DIR})
target_link_libraries(portwise-pcre2 INTERFACE ${PCRE2_LIBRARY})
target_compile_definitions(portwise-pcre2 INTERFACE PCRE2_CODE_UNIT_WIDTH=8)
if(WIN32)
  target_compile_definitions(portwise-pcre2 INTERFACE PCRE2_STATIC)
endif()
