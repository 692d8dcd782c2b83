# SPDX-License-Identifier: Apache-2.0
# Compiler options for this project's own targets; nothing is set globally for consumers.
option(NAXFEWXMLDB_WERROR "Treat warnings as errors" OFF)
option(NAXFEWXMLDB_UNITY "Compile several files of program and tests at once; saves time" OFF)
set(NAXFEWXMLDB_SANITIZERS "" CACHE STRING "Sanitizers to build with, such as address,undefined")

add_library(naxfewxmldb_options INTERFACE)
target_compile_features(naxfewxmldb_options INTERFACE cxx_std_20)
target_compile_options(naxfewxmldb_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion
  $<$<BOOL:${NAXFEWXMLDB_WERROR}>:-Werror>)
# Also where sanitizers look: they see no empty optional or container that is read.
target_compile_definitions(naxfewxmldb_options INTERFACE _GLIBCXX_ASSERTIONS)

# Saves most of the time of builds that nobody edits in. The library's files use the same names for
# different things, each for itself, and need little time.
function(naxfewxmldb_compile_together target)
  set_target_properties(${target} PROPERTIES UNITY_BUILD ${NAXFEWXMLDB_UNITY} UNITY_BUILD_BATCH_SIZE 16)
endfunction()

# What distributions build with, in every optimised build: checked formats and copies, guarded stacks,
# marked jump targets, programs that are loaded anywhere, tables that are read-only once the program has
# been loaded. Cheap, and the input comes from elsewhere. Sanitizers do the same work in their own way.
if(NOT NAXFEWXMLDB_SANITIZERS AND NOT CMAKE_BUILD_TYPE STREQUAL "Debug")
  include(CheckCXXCompilerFlag)
  include(CheckPIESupported)
  check_pie_supported(LANGUAGES CXX)
  set(CMAKE_POSITION_INDEPENDENT_CODE ON)
  set(optimised "$<CONFIG:Release,RelWithDebInfo,MinSizeRel>")
  set(hardening -Wformat -Wformat-security -Werror=format-security
      -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2 -fstack-protector-strong)
  foreach(flag stack-clash-protection cf-protection)
    check_cxx_compiler_flag("-f${flag}" "NAXFEWXMLDB_HAS_${flag}")
    if(NAXFEWXMLDB_HAS_${flag})
      list(APPEND hardening "-f${flag}")
    endif()
  endforeach()
  target_compile_options(naxfewxmldb_options INTERFACE "$<${optimised}:${hardening}>")
  target_link_options(naxfewxmldb_options INTERFACE
    "$<${optimised}:LINKER:-z,relro,-z,now,-z,noexecstack>")
endif()
if(NAXFEWXMLDB_SANITIZERS)
  target_compile_options(naxfewxmldb_options INTERFACE
    -fsanitize=${NAXFEWXMLDB_SANITIZERS} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  target_link_options(naxfewxmldb_options INTERFACE -fsanitize=${NAXFEWXMLDB_SANITIZERS})
endif()
