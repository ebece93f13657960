# Compiler settings shared by every target. Targets link `tazmet_options` privately.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

# Programs find the library beside them, after whatever the loader's search path names: that is how
# another build of the same library is measured. The build tree has the search paths of the installed
# one: where CMake is to exchange them it leaves room, and with it an empty entry, which the loader
# takes for the current folder.
set(CMAKE_BUILD_WITH_INSTALL_RPATH ON)
set(CMAKE_INSTALL_RPATH "\$ORIGIN/../lib" "\$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
list(REMOVE_DUPLICATES CMAKE_INSTALL_RPATH)
# Libraries of others that are not where the loader looks by itself.
set(CMAKE_INSTALL_RPATH_USE_LINK_PATH ON)

add_library(tazmet_options INTERFACE)
target_compile_options(tazmet_options INTERFACE
  -Wall -Wextra -Wshadow $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor -Woverloaded-virtual>)
if(TAZMET_WERROR)
  target_compile_options(tazmet_options INTERFACE -Werror)
endif()
# Contracted multiply-adds would make float results depend on the compiler's mood; kernels that
# want them ask for them.
target_compile_options(tazmet_options INTERFACE -ffp-contract=off)

if(TAZMET_SANITIZE)
  # Samples may lie at any address by contract (the harness misaligns them on purpose), and x86 reads
  # them there; so alignment is checked in the plain versions alone. Null pointers and the ends of objects are what
  # the address sanitizer tells anyway; checking them twice takes a sixth of the compile time of kernels.
  add_compile_options(-fsanitize=address,undefined -fno-sanitize=alignment,null,object-size
    -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
  # Instrumented code makes g++ see uninitialised values in the standard library's regex.
  target_compile_options(tazmet_options INTERFACE
    $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
endif()
# tazmet_cheap_checks(target): kernels pass vectors by value and inline without end, and g++ takes half of the time of
# their sanitized compilation to mark where each vector's life on the stack begins and ends, and a quarter to write out
# every check instead of calling it. clang, which builds the fuzz targets, does mark them.
function(tazmet_cheap_checks target)
  if(TAZMET_SANITIZE AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_compile_options(${target} PRIVATE
      -fno-sanitize-address-use-after-scope --param=asan-instrumentation-with-call-threshold=0)
  endif()
endfunction()
if(TAZMET_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()
# tazmet_precompile(targets...): libraries whose sources share what they include of the standard library, compiled
# once for all of them. A compiler cache would not see the sources behind it, and clang-tidy reads none of GCC's.
function(tazmet_precompile)
  if(CMAKE_CXX_COMPILER_LAUNCHER OR TAZMET_TIDY)
    return()
  endif()
  if(NOT TARGET tazmet_precompiled)
    file(CONFIGURE OUTPUT "${PROJECT_BINARY_DIR}/precompiled.cpp" CONTENT "")
    add_library(tazmet_precompiled OBJECT "${PROJECT_BINARY_DIR}/precompiled.cpp")
    target_link_libraries(tazmet_precompiled PRIVATE tazmet_options)
    target_precompile_headers(tazmet_precompiled PRIVATE
      <algorithm> <array> <fstream> <functional> <map> <memory> <optional> <sstream> <string> <vector>)
  endif()
  foreach(target IN LISTS ARGN)
    target_precompile_headers(${target} REUSE_FROM tazmet_precompiled)
  endforeach()
endfunction()

if(TAZMET_TIDY)
  find_program(CLANG_TIDY clang-tidy REQUIRED)
  # It reads the options of the compiler, of which it does not know all.
  set(CMAKE_CXX_CLANG_TIDY "${CLANG_TIDY};--quiet;--extra-arg=-Wno-unknown-warning-option")
endif()
