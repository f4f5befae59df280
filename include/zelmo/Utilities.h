// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/Export.h>
#include <zelmo/Types.h>

#include <cstddef>

/// @file
/// Small tools for text, paths and the environment. Threads: any.
namespace Zelmo {

/// The folders that getZelmoFolderPath knows; the numbers are fixed.
enum eFolderType : int {
    FolderType_Base = 0,               ///< Where the library's own file is.
    FolderType_CameraDescriptions = 1, ///< `ZELMO_DEFAULT_CDF_DIR`, else the base folder.
    FolderType_BaseAlias = 2,          ///< The base folder.
    FolderType_ConfigFileRegistry = 3, ///< `ZELMO_CONFIG_FILE_REGISTRY_PATH`, else share/zelmo/ConfigFileRegistry
                                       ///< beside or above the base folder.
    FolderType_TransportLayers = 4,    ///< `ZELMO_TL_PATH`, else the base folder.
    FolderType_SecondBaseAlias = 5     ///< The base folder.
};

/// One of the library's folders, valid and unchanged until the process ends: later changes of the environment are not
/// seen, but for a variable that was set and empty, which is read again.
/// @throws GenICam::RuntimeException if the library's own file cannot be found.
/// @throws GenICam::GenericException for an unknown type or a path of 4096 bytes or more.
ZELMO_API const char* getZelmoFolderPath(eFolderType type);
ZELMO_API const char* getZelmoPathSeperator();     ///< Between the parts of a path.
ZELMO_API const char* getZelmoPathListDelimiter(); ///< Between the paths of a list.

/// Writes @p size bytes as lower-case hexadecimal digits, with @p separator (may be null) between bytes.
/// @return the number of characters written, without the terminating zero; or, when @p buffer is null or too small,
/// nothing is written and the space needed is returned, terminating zero included. 0 without data.
ZELMO_API size_t HexEncodeString(const void* data, size_t size, char* buffer, size_t bufferSize, const char* separator);
/// @throws GenICam::BadAllocException if the text does not fit into memory.
ZELMO_API String_t HexEncodeString(const void* data, size_t size, const char* separator);

/// Reads hexadecimal digits in pairs; all other characters are skipped.
/// @return the number of bytes written; when @p buffer is null or too small, the number of bytes needed; 0 for an odd
/// number of digits.
ZELMO_API size_t HexDecodeString(const char* text, void* buffer, size_t bufferSize);
ZELMO_API size_t HexDecodeString(const String_t& text, void* buffer, size_t bufferSize);

/// A copy without the white space at one end.
ZELMO_API String_t TrimLeft(const String_t& text);
ZELMO_API String_t TrimRight(const String_t& text);

/// Reads element @p index, counted from 0, of a list like "a=1;b=2"; each character of @p delimiters splits, empty
/// elements do not count. Key and value are trimmed; the value ends at a second "=". Either output may be null.
/// @return false, with nothing stored, without such an element, when it consists of "=" only, and for a text of one
/// character.
/// @throws GenICam::BadAllocException out of memory.
ZELMO_API bool getKeyAndValueFromString(const char* text, const char* delimiters, size_t index, String_t* key,
                                        String_t* value);
/// The value of the first element with exactly this key. The search ends at an element of "=" only.
ZELMO_API bool getValueByKeyFromString(const char* text, const char* delimiters, const char* key, String_t* value);

/// Takes piece @p index, counted from 0, of a text whose pieces are separated by the whole of @p delimiter.
/// @return false with an empty @p result when there are fewer pieces; false with @p result as it was for an empty text
/// or delimiter.
ZELMO_API bool extractSubString(String_t& result, const String_t& text, size_t index, const char* delimiter);

/// @throws GenICam::InvalidArgumentException for null.
ZELMO_API String_t replaceSpacesWith20(const char* text);

/// Replaces @p content by the text of a file. A zero byte hides what follows it, at most the rest of a block of 3999
/// bytes. @throws GenICam::RuntimeException when the file cannot be opened or read, GenICam::BadAllocException when it
/// does not fit into memory; @p content is empty then.
ZELMO_API void textFileToString(const String_t& fileName, String_t& content);

ZELMO_API String_t itos(unsigned int value); ///< Decimal digits.

/// @return false, and @p value as it was, for an unset variable or an empty name.
ZELMO_API bool GetValueOfEnvironmentVariable(const char* name, String_t& value);

} // namespace Zelmo
