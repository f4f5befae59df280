# SPDX-License-Identifier: Apache-2.0

# The few shapes that targets come in here.

# zelmo_layer(<name> SOURCES … [LINK …])
# One folder's sources as an object library. The shared library is made of all layers of its side; tests of inner
# classes link the layers they need. LINK takes the layers below and outside libraries; all of it is passed on.
function(zelmo_layer name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LINK" ${ARGN})
    add_library(${name} OBJECT ${ARG_SOURCES})
    target_include_directories(${name} PUBLIC
        ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR}/genicam/include ${PROJECT_SOURCE_DIR})
    target_link_libraries(${name} PUBLIC ${ARG_LINK} Threads::Threads)
endfunction()

# zelmo_visible_symbols(<target> <version script>)
function(zelmo_visible_symbols target script)
    target_link_options(${target} PRIVATE -Wl,--version-script=${script})
    set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${script})
endfunction()

# zelmo_plugin(<name> SOURCES … [LINK …] [TEST])
# A transport layer plug-in libzelmo_TL_<name>.so: only its three exports are visible, symbols bind inside. With TEST it
# goes to test-plugins/<name>/, is found only through ZELMO_TL_PATH and is never installed.
function(zelmo_plugin name)
    cmake_parse_arguments(ARG "TEST" "" "SOURCES;LINK" ${ARGN})
    set(target zelmo_TL_${name})
    add_library(${target} MODULE ${ARG_SOURCES})
    target_link_libraries(${target} PRIVATE zelmo genicam ${ARG_LINK})
    target_link_options(${target} PRIVATE -Wl,-Bsymbolic)
    zelmo_visible_symbols(${target} ${PROJECT_SOURCE_DIR}/cmake/plugin-exports.map)
    set_target_properties(${target} PROPERTIES INSTALL_RPATH "$ORIGIN")
    if(ARG_TEST)
        set_target_properties(${target} PROPERTIES
            LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/test-plugins/${name})
    else()
        install(TARGETS ${target} LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
    endif()
endfunction()

# zelmo_test(<name> SOURCES … [LINK …] [DEPENDS …] [ENVIRONMENT …])
# A GoogleTest program; CTest runs each of its cases in a process of its own. It looks for no cameras on the networks
# unless it says where.
function(zelmo_test name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LINK;DEPENDS;ENVIRONMENT" ${ARGN})
    find_package(GTest REQUIRED)
    include(GoogleTest)
    add_executable(${name} ${ARG_SOURCES} ${PROJECT_SOURCE_DIR}/tests/fakes/OffTheNetwork.cpp)
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
    target_link_libraries(${name} PRIVATE ${ARG_LINK} GTest::gmock GTest::gtest GTest::gtest_main Threads::Threads)
    if(ARG_DEPENDS)
        add_dependencies(${name} ${ARG_DEPENDS})
    endif()
    # Parameters by number: their values may hold addresses, or a megabyte of text.
    gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60 NO_PRETTY_VALUES
        PROPERTIES TIMEOUT 300 ENVIRONMENT "${ARG_ENVIRONMENT}")
endfunction()

# zelmo_library_copy_test(<name> SOURCES … [LINK …] [DEPENDS …] [ENVIRONMENT …])
# The same for what the library looks for beside itself: the tests run with a copy of libzelmo.so in <folder>/lib, where
# the environment variable ZELMO_TEST_FOLDER names a folder of the process's own.
function(zelmo_library_copy_test name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LINK" ${ARGN})
    zelmo_test(${name} SOURCES ${ARG_SOURCES} ${PROJECT_SOURCE_DIR}/tests/fakes/LibraryCopyMain.cpp
        LINK zelmo genicam ${ARG_LINK} ${ARG_UNPARSED_ARGUMENTS})
    foreach(library zelmo genicam)
        string(TOUPPER ${library} upper)
        target_compile_definitions(${name} PRIVATE
            LIB${upper}_FILE="$<TARGET_FILE:${library}>" LIB${upper}_SONAME="$<TARGET_SONAME_FILE_NAME:${library}>")
    endforeach()
endfunction()
