// SPDX-License-Identifier: Apache-2.0
#include <zelmo/Utilities.h>

#include <Base/GCAllocating.h>
#include <Base/GCException.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <exception>
#include <fstream>
#include <limits>
#include <string>
#include <string_view>
#include <utility>

namespace Zelmo {
namespace {

bool IsSpace(char c) {
    return std::isspace(static_cast<unsigned char>(c)) != 0;
}

bool IsHexDigit(char c) {
    return std::isxdigit(static_cast<unsigned char>(c)) != 0;
}

unsigned HexDigitValue(char c) {
    return static_cast<unsigned>(c >= '0' && c <= '9' ? c - '0' : std::tolower(static_cast<unsigned char>(c)) - 87);
}

String_t Trim(const char* text) {
    return TrimLeft(TrimRight(String_t(text)));
}

/// Cuts the element out of the copy of a list; null when there are fewer.
char* FindElement(char* list, const char* delimiters, size_t index) {
    char* rest = nullptr;
    char* element = strtok_r(list, delimiters, &rest);
    while (element != nullptr && index-- > 0) {
        element = strtok_r(nullptr, delimiters, &rest);
    }
    return element;
}

/// Reads to the end in blocks; a zero byte cuts its block short.
void AppendBlocks(std::istream& stream, String_t& text) {
    constexpr std::streamsize blockBytes = 3999;
    char block[blockBytes + 1];
    while (stream.good()) {
        stream.read(block, blockBytes);
        block[stream.gcount()] = '\0';
        text += block;
    }
}

/// Its bytes as they are.
String_t ReadTextFile(const std::string& name) {
    std::ifstream stream(name.c_str(), std::ios::in | std::ios::ate);
    if (!stream) {
        throw RUNTIME_EXCEPTION("Failed to open file %s for content transfer to string.", name.c_str());
    }
    const std::streamoff sizeBytes = stream.tellg();
    stream.seekg(0);
    String_t text;
    if (sizeBytes > 0 && sizeBytes < std::numeric_limits<std::streamoff>::max()) { // what a folder gives
        text.reserve(static_cast<size_t>(sizeBytes) + 1);
    }
    AppendBlocks(stream, text);
    if (!stream.eof()) {
        throw RUNTIME_EXCEPTION("Failed to read file %s for content transfer to string.", name.c_str());
    }
    return text;
}

} // namespace

size_t HexEncodeString(const void* data, size_t size, char* buffer, size_t bufferSize, const char* separator) {
    if (data == nullptr || size == 0) {
        return 0;
    }
    const size_t separatorLength = separator != nullptr ? std::strlen(separator) : 0;
    if (separatorLength + 2 > std::numeric_limits<size_t>::max() / size) {
        return std::numeric_limits<size_t>::max(); // more than any buffer holds
    }
    const size_t textLength = (separatorLength + 2) * size - separatorLength;
    if (buffer == nullptr || bufferSize < textLength + 1) {
        return textLength + 1;
    }
    const auto* bytes = static_cast<const unsigned char*>(data);
    char* out = buffer;
    for (size_t i = 0; i < size; ++i) {
        if (i > 0) {
            out = std::copy_n(separator, separatorLength, out);
        }
        *out++ = "0123456789abcdef"[bytes[i] >> 4];
        *out++ = "0123456789abcdef"[bytes[i] & 0xF];
    }
    *out = '\0';
    return textLength;
}

String_t HexEncodeString(const void* data, size_t size, const char* separator) {
    try {
        std::string text(HexEncodeString(data, size, nullptr, 0, separator), '\0');
        text.resize(HexEncodeString(data, size, text.data(), text.size(), separator));
        return String_t(std::move(text));
    } catch (const std::exception&) {
        throw BAD_ALLOC_EXCEPTION("Out of memory when allocating string for hexencoding (cbData = %lu)",
                                  static_cast<unsigned long>(size));
    }
}

size_t HexDecodeString(const char* text, void* buffer, size_t bufferSize) {
    if (text == nullptr) {
        return 0;
    }
    const auto digits = static_cast<size_t>(std::count_if(text, text + std::strlen(text), IsHexDigit));
    if (digits % 2 != 0) {
        return 0;
    }
    if (buffer == nullptr || bufferSize < digits / 2) {
        return digits / 2;
    }
    auto* out = static_cast<unsigned char*>(buffer);
    unsigned high = 0;
    bool isHigh = true;
    for (; *text != '\0'; ++text) {
        if (!IsHexDigit(*text)) {
            continue;
        }
        if (isHigh) {
            high = HexDigitValue(*text);
        } else {
            *out++ = static_cast<unsigned char>(high << 4 | HexDigitValue(*text));
        }
        isHigh = !isHigh;
    }
    return digits / 2;
}

size_t HexDecodeString(const String_t& text, void* buffer, size_t bufferSize) {
    return text.empty() ? 0 : HexDecodeString(text.c_str(), buffer, bufferSize);
}

String_t TrimLeft(const String_t& text) {
    const std::string_view all = text.view();
    return String_t(std::string_view(std::find_if_not(all.begin(), all.end(), IsSpace), all.end()));
}

String_t TrimRight(const String_t& text) {
    const std::string_view all = text.view();
    return String_t(std::string_view(all.begin(), std::find_if_not(all.rbegin(), all.rend(), IsSpace).base()));
}

bool getKeyAndValueFromString(const char* text, const char* delimiters, size_t index, String_t* key, String_t* value) {
    if (text == nullptr || delimiters == nullptr || (key == nullptr && value == nullptr) || std::strlen(text) < 2) {
        return false;
    }
    try {
        std::string copy(text);
        char* element = FindElement(copy.data(), delimiters, index);
        char* rest = nullptr;
        const char* keyText = element != nullptr ? strtok_r(element, "=", &rest) : nullptr;
        if (keyText == nullptr) {
            return false;
        }
        const char* valueText = strtok_r(nullptr, "=", &rest);
        if (key != nullptr) {
            *key = Trim(keyText);
        }
        if (value != nullptr) {
            *value = Trim(valueText);
        }
        return true;
    } catch (const std::exception& e) {
        throw BAD_ALLOC_EXCEPTION("Out of memory! %s", e.what());
    }
}

bool getValueByKeyFromString(const char* text, const char* delimiters, const char* key, String_t* value) {
    if (text == nullptr || delimiters == nullptr || key == nullptr) {
        return false;
    }
    String_t foundKey;
    String_t foundValue;
    for (size_t index = 0; getKeyAndValueFromString(text, delimiters, index, &foundKey, &foundValue); ++index) {
        if (foundKey == key) {
            if (value != nullptr) {
                *value = foundValue;
            }
            return true;
        }
    }
    return false;
}

bool extractSubString(String_t& result, const String_t& text, size_t index, const char* delimiter) {
    if (text.empty() || delimiter == nullptr || *delimiter == '\0') {
        return false;
    }
    const std::string_view separator(delimiter);
    std::string_view rest = text.view();
    for (; index > 0; --index) {
        const size_t end = rest.find(separator);
        if (end == std::string_view::npos) {
            result = "";
            return false;
        }
        rest.remove_prefix(end + separator.size());
    }
    result = String_t(rest.substr(0, rest.find(separator)));
    return true;
}

String_t replaceSpacesWith20(const char* text) {
    if (text == nullptr) {
        throw INVALID_ARGUMENT_EXCEPTION("Invalid inputstring");
    }
    String_t result;
    for (; *text != '\0'; ++text) {
        if (*text == ' ') {
            result += "%20";
        } else {
            result += *text;
        }
    }
    return result;
}

void textFileToString(const String_t& fileName, String_t& content) {
    GenICam::Allocating([&] {
        const std::string name = fileName.c_str(); // it may be the same object as content
        content = "";
        content = ReadTextFile(name);
    });
}

String_t itos(unsigned int value) {
    return String_t(std::to_string(value));
}

} // namespace Zelmo
