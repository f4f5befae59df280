// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <Base/GCException.h>
#include <Base/GCString.h>
#include <Base/GCStringVector.h>

#include <cstdint>
#include <limits>
#include <type_traits>

namespace GenICam {

/// Environment variables. One that is set to the empty text exists. Reading is not safe against a thread that changes
/// the environment meanwhile. The form with one argument raises RuntimeException if the variable is not set; the form
/// with two then returns false and leaves @p value alone.
GENICAM_API gcstring GetValueOfEnvironmentVariable(const gcstring& name);
GENICAM_API bool GetValueOfEnvironmentVariable(const gcstring& name, gcstring& value);
GENICAM_API bool DoesEnvironmentVariableExist(const gcstring& name);

/// Replaces every `$(NAME)` in @p buffer by that variable's value, once: values are not searched again. "$(" without
/// a closing bracket stays. With @p replaceBlankBy20 every blank becomes "%20" afterwards.
/// @throws RuntimeException if a variable is not set; @p buffer is then unchanged.
GENICAM_API void ReplaceEnvironmentVariables(gcstring& buffer, bool replaceBlankBy20 = false);

/// Percent coding of URLs (RFC 3986). Encoding keeps letters, digits, "-._~" and the separators "/" and ":"; decoding
/// leaves a "%" without two hexadecimal digits as it is.
GENICAM_API gcstring UrlEncode(const gcstring& text);
GENICAM_API gcstring UrlDecode(const gcstring& text);

/// Folders and files that the process may set; a set, non-empty value wins over the environment variable
/// (GENICAM_CACHE_V3_1, GENICAM_LOG_CONFIG_V3_1, GENICAM_CLPROTOCOL). Setting the empty text takes the value back.
/// Any thread may call. @throws RuntimeException from the getters if there is neither value nor variable.
GENICAM_API gcstring GetGenICamCacheFolder();
GENICAM_API void SetGenICamCacheFolder(const gcstring& path);
GENICAM_API gcstring GetGenICamLogConfig();
GENICAM_API void SetGenICamLogConfig(const gcstring& path);
GENICAM_API gcstring GetGenICamCLProtocolFolder();
GENICAM_API void SetGenICamCLProtocolFolder(const gcstring& path);

/// Replaces @p tokens by the parts of @p text between bytes of @p delimiters; empty parts are left out.
GENICAM_API void Tokenize(const gcstring& text, gcstring_vector& tokens, const gcstring& delimiters = ",");

/// Replaces @p files by what matches the shell pattern @p pattern and is no folder, with @p sort by name. A pattern
/// without match, or in a folder that cannot be read, gives none.
GENICAM_API void GetFiles(const gcstring& pattern, gcstring_vector& files, bool sort = false);
GENICAM_API bool DoesFileExist(const gcstring& path); ///< False for folders.

/// Path of the program or shared library that holds @p function. @throws RuntimeException if none does.
GENICAM_API gcstring GetModulePathFromFunction(const void* function);

/// Narrows an integer. @throws RuntimeException if @p value does not fit the destination.
template <class Destination, class Source>
Destination INTEGRAL_CAST2(Source value) {
    static_assert(std::is_integral_v<Destination> && std::is_integral_v<Source>, "for integers only");
    const auto result = static_cast<Destination>(value);
    if (static_cast<Source>(result) != value || (result < Destination()) != (value < Source())) {
        throw RUNTIME_EXCEPTION("INTEGRAL_CAST failed");
    }
    return result;
}
template <class Destination>
Destination INTEGRAL_CAST(std::int64_t value) {
    return INTEGRAL_CAST2<Destination>(value);
}

} // namespace GenICam
