# SPDX-License-Identifier: Apache-2.0

# Compiler settings that hold for every target, and the switches that the presets set. Whoever builds us as a part of a
# project of their own (add_subdirectory) gets the two libraries and chooses the rest.
include(CMakeDependentOption)

option(ZELMO_BUILD_TOOL "Build the command-line tool" ${PROJECT_IS_TOP_LEVEL})
option(ZELMO_BUILD_PLUGINS "Build the plug-ins: the camera emulator" ${PROJECT_IS_TOP_LEVEL})
option(ZELMO_BUILD_EXAMPLES "Build the examples" ${PROJECT_IS_TOP_LEVEL})
cmake_dependent_option(ZELMO_BUILD_TESTS "Build the tests, which run all of the above" ${PROJECT_IS_TOP_LEVEL}
    "ZELMO_BUILD_TOOL;ZELMO_BUILD_PLUGINS;ZELMO_BUILD_EXAMPLES" OFF)
cmake_dependent_option(ZELMO_BUILD_BENCH "Build the benchmarks, which use the fakes of the tests" ${PROJECT_IS_TOP_LEVEL}
    ZELMO_BUILD_TESTS OFF)
option(ZELMO_BUILD_FUZZ "Build the fuzz targets; needs clang" OFF)
option(ZELMO_WERROR "Treat warnings as errors" ${PROJECT_IS_TOP_LEVEL})
set(ZELMO_SANITIZER "" CACHE STRING "Sanitizers of the whole build: empty, address,undefined or thread")
option(ZELMO_COVERAGE "Instrument for gcov" OFF)

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

# Libraries and the product's plug-ins share one folder: plug-ins are looked for beside the library.
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
# Programs that the tool runs are found from where it is itself, here and where both are installed.
file(RELATIVE_PATH ZELMO_LIBEXEC_FROM_BIN ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBEXECDIR}/zelmo)
set(ZELMO_LIBEXEC_OUTPUT_DIRECTORY ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${ZELMO_LIBEXEC_FROM_BIN})

if(PROJECT_IS_TOP_LEVEL)
    if(NOT CMAKE_BUILD_TYPE)
        set(CMAKE_BUILD_TYPE Release CACHE STRING "" FORCE)
    endif()
    find_program(CCACHE_PROGRAM ccache)
    if(CCACHE_PROGRAM)
        # Paths relative to the source tree, so that build folders and checkouts share their objects.
        set(CMAKE_CXX_COMPILER_LAUNCHER
            ${CMAKE_COMMAND} -E env CCACHE_BASEDIR=${PROJECT_SOURCE_DIR} CCACHE_NOHASHDIR=1 ${CCACHE_PROGRAM})
    endif()
endif()

add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor)
if(ZELMO_WERROR)
    add_compile_options(-Werror)
endif()
if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    add_compile_options(-Wthread-safety)
elseif(CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    add_compile_options(-Wno-restrict) # g++ 12 sees overlaps in std::string that are none
endif()

# Exceptions name their source file relative to the root; the compiler cache hands on paths relative to the build folder.
cmake_path(RELATIVE_PATH PROJECT_SOURCE_DIR BASE_DIRECTORY ${CMAKE_BINARY_DIR} OUTPUT_VARIABLE source_from_build)
add_compile_options(-fmacro-prefix-map=${PROJECT_SOURCE_DIR}/= -fmacro-prefix-map=${source_from_build}/=)
if(NOT (ZELMO_SANITIZER AND CMAKE_CXX_COMPILER_ID MATCHES "Clang"))
    add_link_options(-Wl,--no-undefined) # clang's sanitizers are linked into programs only: libraries find them there
endif()

set(THREADS_PREFER_PTHREAD_FLAG ON)
find_package(Threads REQUIRED)
