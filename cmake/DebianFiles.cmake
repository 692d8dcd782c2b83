# SPDX-License-Identifier: Apache-2.0
# Run by CPack on the files about to be packed: adds what Debian wants in every package and what
# makes no sense elsewhere, and compresses pages and changelogs without a time stamp.
set(debian "${CPACK_NAXFEWXMLDB_DEBIAN_DIR}")

function(compress)
  if(ARGN)
    execute_process(COMMAND gzip -9nf ${ARGN} COMMAND_ERROR_IS_FATAL ANY)
  endif()
endfunction()

function(complete component package)
  set(root "${CPACK_TEMPORARY_INSTALL_DIRECTORY}/${component}")
  set(doc "${root}/usr/share/doc/${package}")
  # Debian keeps the licence elsewhere; what the pages link must be there all the same.
  file(REMOVE "${doc}/LICENSE")
  file(GLOB pages "${doc}/*.md")
  foreach(page IN LISTS pages)
    file(READ "${page}" text)
    string(REPLACE "](LICENSE)" "](copyright)" text "${text}")
    file(WRITE "${page}" "${text}")
  endforeach()
  file(COPY "${debian}/copyright" DESTINATION "${doc}")
  configure_file("${debian}/changelog" "${doc}/changelog.Debian" COPYONLY)
  configure_file("${debian}/../../CHANGELOG.md" "${doc}/changelog" COPYONLY)
  file(GLOB pages "${root}/usr/share/man/man*/*.[0-9]")
  compress("${doc}/changelog.Debian" "${doc}/changelog" ${pages})
  if(EXISTS "${debian}/${package}.lintian-overrides")
    configure_file("${debian}/${package}.lintian-overrides"
                   "${root}/usr/share/lintian/overrides/${package}" COPYONLY)
  endif()
  file(GLOB_RECURSE files LIST_DIRECTORIES true "${root}/usr/share/*")
  foreach(file IN LISTS files)
    if(IS_DIRECTORY "${file}")
      file(CHMOD "${file}" PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ
           GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
    endif()
  endforeach()
endfunction()

# What the packed program and library are made of and linked with; read from the files themselves.
function(write_bill_of_materials)
  set(root "${CPACK_TEMPORARY_INSTALL_DIRECTORY}/runtime")
  find_program(python python3 REQUIRED)
  execute_process(
    COMMAND "${python}" -B "${debian}/../make_sbom.py" "${CPACK_NAXFEWXMLDB_BUILD_DIR}"
            "${debian}/../.." "${CPACK_PACKAGE_VERSION}" "${root}"
    OUTPUT_FILE "${root}/usr/share/doc/landscape-validator/landscape-validator.cdx.json"
    COMMAND_ERROR_IS_FATAL ANY)
endfunction()

complete(runtime landscape-validator)
write_bill_of_materials()
complete(development libnaxfewxmldb-dev)
