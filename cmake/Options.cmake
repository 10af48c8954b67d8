# mediainfo_options: how our own sources are compiled. Every target of ours links it PRIVATE; outside code never does.

if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "Debug or Release" FORCE)
endif()
set(CMAKE_C_FLAGS_RELEASE "-O2 -g0 -DNDEBUG")
set(CMAKE_CXX_FLAGS_RELEASE "-O2 -g0 -DNDEBUG")
set(CMAKE_C_FLAGS_DEBUG "-Og -g1")
set(CMAKE_CXX_FLAGS_DEBUG "-Og -g1")

find_program(MEDIAINFO_CCACHE ccache)
if(MEDIAINFO_CCACHE)
  foreach(language C CXX)
    if(NOT CMAKE_${language}_COMPILER_LAUNCHER)
      set(CMAKE_${language}_COMPILER_LAUNCHER "${MEDIAINFO_CCACHE}")
    endif()
  endforeach()
endif()

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(THREADS_PREFER_PTHREAD_FLAG ON)
find_package(Threads REQUIRED)

add_library(mediainfo_options INTERFACE)
target_compile_features(mediainfo_options INTERFACE cxx_std_20)
target_compile_options(mediainfo_options INTERFACE
  -Wall
  -Wextra
  -Wpedantic
  -Wconversion
  -Wshadow
  # Clang counts changes of sign to -Wconversion, GCC does not.
  $<$<CXX_COMPILER_ID:Clang>:-Wno-sign-conversion>
  # A designated initialiser names the members that matter; the others have their defaults.
  -Wno-missing-field-initializers
  $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor>
  $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast>
  -Werror)
# An undefined symbol is an error of the link, not of the first dlopen. Sanitizer builds leave theirs to the executable.
if(NOT MEDIAINFO_SANITIZE)
  target_link_options(mediainfo_options INTERFACE
    $<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,SHARED_LIBRARY>:LINKER:--no-undefined>
    $<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,MODULE_LIBRARY>:LINKER:--no-undefined>)
endif()
# What a hostile file makes our code overrun ends the process: buffers on the stack, and elements that a container does
# not have. Symbols are bound when a library is loaded, and its tables of addresses are read-only from then on; a process
# forked for each file need not bind them again. Together it is one instruction in a hundred.
target_compile_options(mediainfo_options INTERFACE -fstack-protector-strong)
target_compile_definitions(mediainfo_options INTERFACE _GLIBCXX_ASSERTIONS)
target_link_options(mediainfo_options INTERFACE LINKER:-z,relro LINKER:-z,now)
target_link_libraries(mediainfo_options INTERFACE Threads::Threads)

# What makes a cold start quick. A process that opens one file spent half of its instructions on binding the symbols of
# libstdc++.so, and most of its time on mapping files and touching pages:
# - our libraries and programs carry the parts of libstdc++ that they use, hidden. Exceptions cross borders as before, since
#   types are compared by name and the unwinder stays shared: libgcc's own copies would abort there. Only the counts of
#   those under way are each copy's own (framework/runtime/host_exception.h). A target that hands
#   streams to a C++ library of the system has to share that library's runtime (MEDIAINFO_SHARED_RUNTIME); test programs do,
#   since they link whatever they test. What such a copy needs beside it: framework/runtime.
# - relocations are packed, where linker and C library know how (binutils 2.38, glibc 2.36).
if(NOT MEDIAINFO_SANITIZE)
  set(own_runtime $<NOT:$<BOOL:$<TARGET_PROPERTY:MEDIAINFO_SHARED_RUNTIME>>>)
  target_link_options(mediainfo_options INTERFACE
    "$<${own_runtime}:-static-libstdc++;LINKER:--exclude-libs,ALL;LINKER:--gc-sections>")
  set(is_library "$<IN_LIST:$<TARGET_PROPERTY:TYPE>,SHARED_LIBRARY;MODULE_LIBRARY>")
  target_sources(mediainfo_options INTERFACE
    "$<$<AND:${own_runtime},${is_library}>:$<TARGET_OBJECTS:runtime_memory>>")
  include(CheckLinkerFlag)
  check_linker_flag(CXX "LINKER:-z,pack-relative-relocs" MEDIAINFO_PACKS_RELOCATIONS)
  if(MEDIAINFO_PACKS_RELOCATIONS)
    target_link_options(mediainfo_options INTERFACE "LINKER:-z,pack-relative-relocs")
  endif()
endif()

# For the whole tree rather than through the target: a container annotation or a vtable check is only sound when every
# translation unit of the process was compiled with it.
if(MEDIAINFO_SANITIZE)
  list(JOIN MEDIAINFO_SANITIZE "," sanitizers)
  add_compile_options(-fsanitize=${sanitizers} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${sanitizers})
endif()

# libFuzzer steers by the branches of the code under test, so every folder is instrumented, not only fuzz/. -O1 compiles
# in half the time of -O2, and line numbers are what a finding is read by.
if(MEDIAINFO_FUZZ)
  if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    message(FATAL_ERROR "MEDIAINFO_FUZZ wants Clang, the compiler is ${CMAKE_CXX_COMPILER_ID}")
  endif()
  add_compile_options(-fsanitize=fuzzer-no-link -O1 -gline-tables-only)
endif()
