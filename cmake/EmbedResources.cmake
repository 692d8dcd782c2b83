# SPDX-License-Identifier: Apache-2.0
# naxfewxmldb_embed_resources(<target> <id> <type> <file> [<id> <type> <file> ...])
#
# Adds each file to <target> as the resource <id> of type <type> (MY_TEXTINCLUDE or RT_RCDATA). One
# source is generated per file, at build time, so that a changed file rebuilds only its own source
# and a file may itself be the output of a custom command of the same folder. Relative names are
# taken from the source folder, or from the binary folder when an earlier command generates them
# there and the source folder has none. The generated sources register themselves when the module is
# loaded: <target> must be an executable, a shared or an object library, since a static library's
# linker would leave them out.
#
# The same file is the generator, when run as a script with INPUT, OUTPUT, ID and TYPE.

if(CMAKE_SCRIPT_MODE_FILE STREQUAL CMAKE_CURRENT_LIST_FILE)
  file(READ "${INPUT}" bytes HEX)
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${bytes}")
  # Lines of sixteen bytes keep editors and compilers at ease.
  string(REPEAT "0x..," 16 line)
  string(REGEX REPLACE "(${line})" "\\1\n" bytes "${bytes}")
  if(TYPE STREQUAL "RT_RCDATA")
    set(type_name "RT_RCDATA")
  else()
    set(type_name "\"${TYPE}\"")
  endif()
  file(WRITE "${OUTPUT}" "// Generated. Do not edit.
#include \"platform/resources.h\"

namespace {

constexpr unsigned char kBytes[] = {
${bytes}0x00};

EmbeddedResource resource = {MAKEINTRESOURCEA(${ID}), ${type_name}, kBytes, sizeof(kBytes) - 1};
[[maybe_unused]] const bool registered = RegisterResource(resource);

}  // namespace
")
  return()
endif()

set(NAXFEWXMLDB_EMBED_SCRIPT "${CMAKE_CURRENT_LIST_FILE}")

function(naxfewxmldb_embed_resources target)
  set(rest ${ARGN})
  while(rest)
    list(LENGTH rest left)
    if(left LESS 3)
      message(FATAL_ERROR "naxfewxmldb_embed_resources: id, type and file expected, got: ${rest}")
    endif()
    list(POP_FRONT rest id type input)
    if(EXISTS "${CMAKE_CURRENT_SOURCE_DIR}/${input}")
      set(input "${CMAKE_CURRENT_SOURCE_DIR}/${input}")
    else()
      cmake_path(ABSOLUTE_PATH input BASE_DIRECTORY "${CMAKE_CURRENT_BINARY_DIR}")
    endif()
    set(output "${CMAKE_CURRENT_BINARY_DIR}/resources/${target}_${type}_${id}.cpp")
    add_custom_command(
      OUTPUT "${output}"
      COMMAND "${CMAKE_COMMAND}" "-DINPUT=${input}" "-DOUTPUT=${output}" "-DID=${id}"
              "-DTYPE=${type}" -P "${NAXFEWXMLDB_EMBED_SCRIPT}"
      DEPENDS "${input}" "${NAXFEWXMLDB_EMBED_SCRIPT}"
      COMMENT "Embedding ${input}"
      VERBATIM)
    set_source_files_properties("${output}" PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
    target_sources(${target} PRIVATE "${output}")
  endwhile()
endfunction()
