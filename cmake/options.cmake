# What every target is compiled with, and the helper that makes one object library of a folder.

set(PORTWISE_SANITIZE "" CACHE STRING "Sanitizers to build with: address,undefined or thread")
# What variables hold takes a quarter of the time to compile, and optimized code has lost most of it. Backtraces do without.
set(PORTWISE_DEBUG_INFO "-g1" CACHE STRING "Debug information of what is not the library")

add_library(portwise-options INTERFACE)
# A processor fault becomes an exception at the instruction where it happens.
if(MSVC)
  target_compile_options(portwise-options INTERFACE /W4 /utf-8 /permissive- /EHa)
else()
  target_compile_options(portwise-options INTERFACE -Wall -Wextra -Wpedantic -Werror -Wshadow -Wnon-virtual-dtor
                                                    -fnon-call-exceptions -fasynchronous-unwind-tables)
endif()
target_compile_definitions(portwise-options INTERFACE UNICODE _UNICODE)
if(NOT WIN32)
  # A frame larger than what lies below the stack would step over it. On Windows every compiler touches page by page.
  target_compile_options(portwise-options INTERFACE -fstack-clash-protection)
else()
  target_compile_definitions(portwise-options INTERFACE WIN32_LEAN_AND_MEAN NOMINMAX WINVER=0x0601 _WIN32_WINNT=0x0601)
endif()
if(PORTWISE_SANITIZE)
  # What the sanitizers add makes the compiler see uses of values that nobody has set.
  target_compile_options(portwise-options INTERFACE -fsanitize=${PORTWISE_SANITIZE} -fno-omit-frame-pointer
                         -Wno-maybe-uninitialized)
  target_compile_definitions(portwise-options INTERFACE _GLIBCXX_ASSERTIONS)
  target_link_options(portwise-options INTERFACE -fsanitize=${PORTWISE_SANITIZE})
endif()
if(PORTWISE_FUZZ)
  target_compile_options(portwise-options INTERFACE -fsanitize=fuzzer-no-link -fno-sanitize-recover=all)
endif()

# A library for Windows needs nothing of its compiler where it runs. Its exports are those of its .def file, undecorated.
set(CMAKE_MSVC_RUNTIME_LIBRARY "MultiThreaded$<$<CONFIG:Debug>:Debug>")
if(NOT MSVC)
  set(PORTWISE_WINDOWS_LIBRARY_OPTIONS -static -Wl,--enable-stdcall-fixup)
endif()

# portwise_folder(name [USES folders...] SOURCES files...): the object library of one folder under src/. It sees the
# folders that it names, and what those see.
function(portwise_folder name)
  cmake_parse_arguments(FOLDER "" "" "USES;SOURCES" ${ARGN})
  add_library(portwise-${name} OBJECT ${FOLDER_SOURCES})
  target_include_directories(portwise-${name} PUBLIC ${PROJECT_SOURCE_DIR}/src ${PROJECT_SOURCE_DIR}/include)
  target_link_libraries(portwise-${name} PUBLIC portwise-options ZLIB::ZLIB)
  if(NOT WIN32)
    target_link_libraries(portwise-${name} PUBLIC portwise-platform)
  endif()
  foreach(used ${FOLDER_USES})
    target_include_directories(portwise-${name} PUBLIC $<TARGET_PROPERTY:portwise-${used},INTERFACE_INCLUDE_DIRECTORIES>)
  endforeach()
endfunction()
