# SPDX-License-Identifier: Apache-2.0
# Compiler options for this project's own targets; nothing is set globally for consumers.
option(NAXFEWXMLDB_WERROR "Treat warnings as errors" OFF)
set(NAXFEWXMLDB_SANITIZERS "" CACHE STRING "Sanitizers to build with, such as address,undefined")

add_library(naxfewxmldb_options INTERFACE)
target_compile_features(naxfewxmldb_options INTERFACE cxx_std_20)
target_compile_options(naxfewxmldb_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion
  $<$<BOOL:${NAXFEWXMLDB_WERROR}>:-Werror>)
if(NAXFEWXMLDB_SANITIZERS)
  target_compile_options(naxfewxmldb_options INTERFACE
    -fsanitize=${NAXFEWXMLDB_SANITIZERS} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  target_link_options(naxfewxmldb_options INTERFACE -fsanitize=${NAXFEWXMLDB_SANITIZERS})
endif()
