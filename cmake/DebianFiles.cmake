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
  file(REMOVE "${doc}/LICENSE")
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

complete(runtime landscape-validator)
complete(development libnaxfewxmldb-dev)
