# SPDX-License-Identifier: Apache-2.0
# The installable host SDK: the client library, the host platform pieces it links, their headers, the emulator, the
# demo, a CMake package (find_package(TarnbyClient)), pkg-config files and Debian packages (cpack -G DEB).
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(TARNBY_INCLUDE_ROOT ${CMAKE_INSTALL_INCLUDEDIR}/tarnby_client)
set(TARNBY_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/TarnbyClient)

# The targets name their header folders in the source tree. For the installed copy each folder's headers go to
# <destination>, and the source paths stay for the build tree only.
function(tarnby_install_headers target destination)
    get_target_property(dirs ${target} INTERFACE_INCLUDE_DIRECTORIES)
    set(interface_dirs)
    foreach(dir IN LISTS dirs)
        if(dir MATCHES "^\\$<")
            list(APPEND interface_dirs "${dir}")
        else()
            list(APPEND interface_dirs "$<BUILD_INTERFACE:${dir}>")
            install(DIRECTORY ${dir}/ DESTINATION ${destination} COMPONENT development FILES_MATCHING PATTERN "*.h")
        endif()
    endforeach()
    list(APPEND interface_dirs "$<INSTALL_INTERFACE:${destination}>")
    set_target_properties(${target} PROPERTIES INTERFACE_INCLUDE_DIRECTORIES "${interface_dirs}")
endfunction()

set(TARNBY_PLATFORM_TARGETS c_utils hilog ipc samgr)
foreach(piece IN LISTS TARNBY_PLATFORM_TARGETS)
    tarnby_install_headers(${piece} ${TARNBY_INCLUDE_ROOT}/platform/${piece})
endforeach()
tarnby_install_headers(tarnby_client_headers ${TARNBY_INCLUDE_ROOT})
tarnby_install_headers(host_testing ${TARNBY_INCLUDE_ROOT}/testing)
tarnby_install_headers(tarnby_emulator ${TARNBY_INCLUDE_ROOT}/emulator)

set_target_properties(tarnby_client ${TARNBY_PLATFORM_TARGETS} PROPERTIES
    VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR} INSTALL_RPATH "$ORIGIN")
set_target_properties(tarnby_demo PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")

install(TARGETS tarnby_client ${TARNBY_PLATFORM_TARGETS} tarnby_client_headers host_testing tarnby_emulator
    EXPORT TarnbyClientTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
set_target_properties(tarnby_emulator_server PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
install(TARGETS tarnby_demo tarnby_emulator_server RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
# The examples' sources and the guide, with the development package.
install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples/ DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples COMPONENT development)
install(FILES ${PROJECT_SOURCE_DIR}/docs/guide.md DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development OPTIONAL)
install(EXPORT TarnbyClientTargets NAMESPACE TarnbyClient:: DESTINATION ${TARNBY_CMAKE_DIR} COMPONENT development)

configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/TarnbyClientConfig.cmake.in
    ${PROJECT_BINARY_DIR}/TarnbyClientConfig.cmake INSTALL_DESTINATION ${TARNBY_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/TarnbyClientConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/TarnbyClientConfig.cmake ${PROJECT_BINARY_DIR}/TarnbyClientConfigVersion.cmake
    DESTINATION ${TARNBY_CMAKE_DIR} COMPONENT development)

foreach(pc tarnby_client tarnby_emulator)
    configure_file(${CMAKE_CURRENT_LIST_DIR}/${pc}.pc.in ${PROJECT_BINARY_DIR}/${pc}.pc @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/${pc}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
endforeach()

# Two Debian packages: the shared libraries and the demo, and everything needed to build against them.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME tarnby-client)
set(CPACK_PACKAGE_VENDOR "Tarnby client developers")
set(CPACK_PACKAGE_CONTACT "Tarnby client developers <tarnby-client@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Client library of the Tarnby system service, with host platform pieces")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_COMPONENTS_ALL runtime development)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libtarnby-client${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libtarnby-client-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
    "libtarnby-client${PROJECT_VERSION_MAJOR} (= ${PROJECT_VERSION}), pkg-config")
include(CPack)
