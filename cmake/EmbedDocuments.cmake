# SPDX-License-Identifier: Apache-2.0

# Embeds text files into a library.
#
# zelmo_embed_documents(<header> [NAMESPACE <name>] FILES …)
# Writes <header>, with a constexpr table kBuiltinDocuments of { name, text } in the order of the files; a name is the
# file's without folder and extension. Tables that meet in one library have namespaces of their own; else it is Zelmo.
# Written again when one of the files changes. Run as a script (cmake -P), this file is the generator.

function(zelmo_embed_documents header)
    cmake_parse_arguments(ARG "" "NAMESPACE" "FILES" ${ARGN})
    if(NOT ARG_NAMESPACE)
        set(ARG_NAMESPACE Zelmo)
    endif()
    list(TRANSFORM ARG_FILES PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/)
    add_custom_command(
        OUTPUT ${header}
        COMMAND ${CMAKE_COMMAND} "-DOUTPUT=${header}" "-DNAMESPACE=${ARG_NAMESPACE}" "-DFILES=${ARG_FILES}"
            -P ${CMAKE_CURRENT_FUNCTION_LIST_FILE}
        DEPENDS ${ARG_FILES} ${CMAKE_CURRENT_FUNCTION_LIST_FILE}
        COMMENT "Embedding built-in documents"
        VERBATIM)
endfunction()

# Text literals have a portable length limit that descriptions exceed; byte arrays have none.
function(write_table output namespace files)
    set(arrays "")
    set(rows "")
    foreach(file IN LISTS files)
        get_filename_component(name ${file} NAME_WE)
        file(READ ${file} bytes HEX)
        string(LENGTH "${bytes}" digits)
        math(EXPR size "${digits} / 2")
        string(REGEX REPLACE "(..)" "'\\\\x\\1'," bytes "${bytes}")
        string(APPEND arrays "inline constexpr char kDocument${name}[] = {${bytes}'\\0'};\n")
        string(APPEND rows "    {\"${name}\", {kDocument${name}, ${size}}},\n")
    endforeach()
    file(WRITE ${output} "#pragma once\n\n#include <string_view>\n\nnamespace ${namespace} {\n\n"
        "struct BuiltinDocument {\n    std::string_view name;\n    std::string_view text;\n};\n\n"
        "${arrays}\n"
        "inline constexpr BuiltinDocument kBuiltinDocuments[] = {\n${rows}};\n\n} // namespace ${namespace}\n")
endfunction()

if(CMAKE_SCRIPT_MODE_FILE)
    write_table(${OUTPUT} ${NAMESPACE} "${FILES}")
endif()
