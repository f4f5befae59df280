# SPDX-License-Identifier: Apache-2.0

# What is installed: libraries, headers, and how outside programs find them (CMake packages and pkg-config files). Plug-ins
# install themselves beside the library (zelmo_plugin), the tool with its manual where it is made. All of it may be moved
# to another prefix afterwards.
include(CMakePackageConfigHelpers)

set(prefix_from_pkgconfig .) # pkg-config files know only their own folder
cmake_path(RELATIVE_PATH prefix_from_pkgconfig BASE_DIRECTORY ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# zelmo_install_library(<name> <version>)
function(zelmo_install_library name version)
    target_compile_features(${name} INTERFACE cxx_std_17)
    install(TARGETS ${name} EXPORT ${name}-targets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})

    set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/${name})
    install(EXPORT ${name}-targets NAMESPACE ${name}:: DESTINATION ${package_dir})
    configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/${name}-config.cmake.in
        ${PROJECT_BINARY_DIR}/package/${name}-config.cmake
        INSTALL_DESTINATION ${package_dir} NO_SET_AND_CHECK_MACRO)
    write_basic_package_version_file(${PROJECT_BINARY_DIR}/package/${name}-config-version.cmake
        VERSION ${version} COMPATIBILITY SameMajorVersion)
    install(FILES ${PROJECT_BINARY_DIR}/package/${name}-config.cmake
        ${PROJECT_BINARY_DIR}/package/${name}-config-version.cmake DESTINATION ${package_dir})

    configure_file(${PROJECT_SOURCE_DIR}/cmake/${name}.pc.in ${PROJECT_BINARY_DIR}/package/${name}.pc @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/package/${name}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endfunction()

zelmo_install_library(genicam ${GENICAM_VERSION})
zelmo_install_library(zelmo ${ZELMO_VERSION})

# For plug-ins that are built outside of this tree.
install(FILES ${PROJECT_SOURCE_DIR}/cmake/plugin-exports.map DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/zelmo)

install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/zelmo DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${PROJECT_BINARY_DIR}/parameters/generated/include/zelmo
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/genicam/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/genicam)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/resources/ConfigFileRegistry DESTINATION ${CMAKE_INSTALL_DATADIR}/zelmo)

# The pages keep their places, so that the links between them hold.
install(FILES ${PROJECT_SOURCE_DIR}/README.md ${PROJECT_SOURCE_DIR}/CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs ${PROJECT_SOURCE_DIR}/examples DESTINATION ${CMAKE_INSTALL_DOCDIR}
    PATTERN CMakeLists.txt EXCLUDE) # those are parts of our build
