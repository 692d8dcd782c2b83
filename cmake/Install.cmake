# SPDX-License-Identifier: Apache-2.0
include(CMakePackageConfigHelpers)

# Components: "runtime" is the program with the library, "development" what hosts are built with.
set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/naxfewxmldb")

install(TARGETS naxfewxmldb EXPORT naxfewxmldb_targets
        LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
                COMPONENT runtime NAMELINK_COMPONENT development
        INCLUDES DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}")
install(DIRECTORY include/naxfewxmldb "src/platform/${NAXFEWXMLDB_PLATFORM}/include/naxfewxmldb"
        DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}" COMPONENT development FILES_MATCHING PATTERN "*.h")
install(EXPORT naxfewxmldb_targets NAMESPACE naxfewxmldb:: DESTINATION "${package_dir}"
        COMPONENT development)

write_basic_package_version_file("${PROJECT_BINARY_DIR}/naxfewxmldb-config-version.cmake"
                                 COMPATIBILITY SameMinorVersion)
install(FILES cmake/naxfewxmldb-config.cmake
              "${PROJECT_BINARY_DIR}/naxfewxmldb-config-version.cmake"
        DESTINATION "${package_dir}" COMPONENT development)

# Relative, so that the package works under the prefix it is installed to, whatever that is.
file(RELATIVE_PATH prefix_from_pkgconfig "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
string(REGEX REPLACE "/$" "" prefix_from_pkgconfig "${prefix_from_pkgconfig}")
configure_file(cmake/naxfewxmldb.pc.in "${PROJECT_BINARY_DIR}/naxfewxmldb.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/naxfewxmldb.pc"
        DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT development)

if(NAXFEWXMLDB_BUILD_TOOLS)
  install(TARGETS landscape-validator RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}"
          COMPONENT runtime)
endif()
install(FILES CHANGELOG.md CONTRIBUTING.md LICENSE README.md SECURITY.md
        DESTINATION "${CMAKE_INSTALL_DOCDIR}" COMPONENT runtime)
install(DIRECTORY docs examples DESTINATION "${CMAKE_INSTALL_DOCDIR}" COMPONENT runtime)
