# SPDX-License-Identifier: Apache-2.0

# What the presets of sanitizers and coverage add to each folder that is added behind this.
if(ZELMO_SANITIZER)
    add_compile_options(-fsanitize=${ZELMO_SANITIZER} -fno-sanitize-recover=all -fno-omit-frame-pointer -g1)
    if(ZELMO_SANITIZER STREQUAL thread AND CMAKE_CXX_COMPILER_ID MATCHES "Clang")
        # The compiler would add an operator new that collides with those of the tests; the runtime does without it.
        execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=libclang_rt.tsan-${CMAKE_SYSTEM_PROCESSOR}.a
            OUTPUT_VARIABLE runtime OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
        string(APPEND CMAKE_EXE_LINKER_FLAGS " -Wl,--whole-archive ${runtime} -Wl,--no-whole-archive"
            " -Wl,--dynamic-list=${runtime}.syms -pthread -ldl -lrt -lm")
    else()
        add_link_options(-fsanitize=${ZELMO_SANITIZER})
    endif()
    if(NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
        add_compile_options(-Wno-maybe-uninitialized) # with sanitizers g++ 12 sees some in <regex> that are none
    endif()
    add_compile_definitions(ZELMO_SANITIZED)
endif()
if(ZELMO_COVERAGE)
    add_compile_options(--coverage -O0)
    add_link_options(--coverage)
endif()
