# SPDX-License-Identifier: Apache-2.0
# Two Debian packages: landscape-validator, the program with its library, which is what people
# install, and libnaxfewxmldb-dev for those who build hosts.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME naxfewxmldb)
set(CPACK_PACKAGE_VENDOR "naxfewxmldb")
set(CPACK_PACKAGE_CONTACT "naxfewxmldb maintainers <maintainers@naxfewxmldb.invalid>")
set(CPACK_PACKAGING_INSTALL_PREFIX "/usr")
set(CPACK_STRIP_FILES ON)
# CPack's own default: any other text would be put before the components' descriptions.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_NAME} built using CMake")
set(CPACK_COMPONENTS_ALL runtime development)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_PRE_BUILD_SCRIPTS "${PROJECT_SOURCE_DIR}/cmake/DebianFiles.cmake")
set(CPACK_POST_BUILD_SCRIPTS "${PROJECT_SOURCE_DIR}/cmake/DebianRepack.cmake")
set(CPACK_NAXFEWXMLDB_DEBIAN_DIR "${PROJECT_SOURCE_DIR}/packaging/debian")
set(CPACK_NAXFEWXMLDB_BUILD_DIR "${PROJECT_BINARY_DIR}")

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME landscape-validator)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
# For --remote-includes from https: URLs, and for --open.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_RECOMMENDS ca-certificates)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SUGGESTS xdg-utils)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${PROJECT_BINARY_DIR}/lib")
# A trigger instead of the scripts that CPack adds, which call ldconfig; DebianRepack takes them out.
set(version "${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}")
file(WRITE "${PROJECT_BINARY_DIR}/debian/triggers" "activate-noawait ldconfig\n")
file(WRITE "${PROJECT_BINARY_DIR}/debian/shlibs"
     "libnaxfewxmldb ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR} landscape-validator (= ${version})\n")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA
    "${PROJECT_BINARY_DIR}/debian/triggers;${PROJECT_BINARY_DIR}/debian/shlibs")
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION
"find every fault in landscape XML files and explain it
Validates the XML files in which a desktop logon launcher keeps its back-end
connections: services, workspaces, message servers, routers, directories, web
dispatchers and included files.

One run finds every violation of the file format and every fault that its
rules know (dead references, repeated ids, entries without a parent), and
says for each what it is, where it stands and how to mend it. The results are
a report page, an XML summary and an SQLite database, with exit codes for
pipelines.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libnaxfewxmldb-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "landscape-validator (= ${version})")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
"landscape validation library, development files
Headers, CMake package and pkg-config file of naxfewxmldb, the C++20 library
of landscape-validator. It fills an SQLite database from landscape XML files,
validates them against their schema, runs rules over the database and writes
a report.")

file(STRINGS "${PROJECT_SOURCE_DIR}/packaging/debian/changelog" entry LIMIT_COUNT 1)
if(NOT entry MATCHES "^naxfewxmldb \\(${version}\\)")
  message(FATAL_ERROR "packaging/debian/changelog begins with \"${entry}\", not with ${version}")
endif()
include(CPack)
