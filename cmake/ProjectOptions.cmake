# SPDX-License-Identifier: Apache-2.0
# Compiler options for this project's own targets; nothing is set globally for consumers.
option(NAXFEWXMLDB_WERROR "Treat warnings as errors" OFF)
set(NAXFEWXMLDB_SANITIZERS "" CACHE STRING "Sanitizers to build with, such as address,undefined")

add_library(naxfewxmldb_options INTERFACE)
target_compile_features(naxfewxmldb_options INTERFACE cxx_std_20)
target_compile_options(naxfewxmldb_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion
  $<$<BOOL:${NAXFEWXMLDB_WERROR}>:-Werror>)
# What distributions build with: checked copies, guarded stacks, tables that are read-only once the
# program has been loaded. Cheap, and the input comes from elsewhere.
target_compile_options(naxfewxmldb_options INTERFACE
  $<$<CONFIG:Release>:-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2 -fstack-protector-strong>)
target_link_options(naxfewxmldb_options INTERFACE $<$<CONFIG:Release>:LINKER:-z,relro,-z,now>)
if(NAXFEWXMLDB_SANITIZERS)
  target_compile_options(naxfewxmldb_options INTERFACE
    -fsanitize=${NAXFEWXMLDB_SANITIZERS} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  target_link_options(naxfewxmldb_options INTERFACE -fsanitize=${NAXFEWXMLDB_SANITIZERS})
endif()
