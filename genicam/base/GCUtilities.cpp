// SPDX-License-Identifier: Apache-2.0
#include <Base/GCUtilities.h>

#include <Base/GCSynch.h>

#include <cstdlib>
#include <dlfcn.h>
#include <glob.h>
#include <sys/stat.h>

namespace GenICam {

namespace {

constexpr std::string_view kUrlUnreserved = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~/:";
constexpr std::string_view kHexDigits = "0123456789ABCDEF";

/// The value of a hexadecimal digit, -1 for any other byte.
int HexValue(char digit) noexcept {
    if (digit >= '0' && digit <= '9') {
        return digit - '0';
    }
    if (digit >= 'A' && digit <= 'F') {
        return digit - 'A' + 10;
    }
    if (digit >= 'a' && digit <= 'f') {
        return digit - 'a' + 10;
    }
    return -1;
}

/// The byte that "%xy" at @p position stands for, -1 if there is no such thing.
int DecodedByteAt(std::string_view text, std::size_t position) noexcept {
    if (text[position] != '%' || position + 2 >= text.size()) {
        return -1;
    }
    const int high = HexValue(text[position + 1]);
    const int low = HexValue(text[position + 2]);
    return high < 0 || low < 0 ? -1 : high * 16 + low;
}

std::string ExpandVariables(std::string_view text) {
    std::string result;
    for (;;) {
        const auto begin = text.find("$(");
        const auto end = begin == text.npos ? text.npos : text.find(')', begin);
        if (end == text.npos) {
            return result.append(text);
        }
        const gcstring name(text.substr(begin + 2, end - begin - 2));
        result.append(text.substr(0, begin)).append(GetValueOfEnvironmentVariable(name).view());
        text.remove_prefix(end + 1);
    }
}

/// A path that the process may set and that an environment variable gives otherwise.
class CPathSetting {
public:
    explicit CPathSetting(const char* variable) : m_variable(variable) {}

    void Set(const gcstring& path) {
        AutoLock lock(m_lock);
        m_path = path;
    }

    gcstring Get() {
        AutoLock lock(m_lock);
        return m_path.empty() ? GetValueOfEnvironmentVariable(m_variable) : m_path;
    }

private:
    const char* m_variable;
    CLock m_lock;
    gcstring m_path GENICAM_GUARDED_BY(m_lock);
};

CPathSetting& CacheFolder() {
    static CPathSetting setting("GENICAM_CACHE_V3_1");
    return setting;
}

CPathSetting& LogConfig() {
    static CPathSetting setting("GENICAM_LOG_CONFIG_V3_1");
    return setting;
}

CPathSetting& CLProtocolFolder() {
    static CPathSetting setting("GENICAM_CLPROTOCOL");
    return setting;
}

/// Owns the result of glob().
struct GlobResult : glob_t {
    GlobResult() : glob_t() {}
    GlobResult(const GlobResult&) = delete;
    GlobResult& operator=(const GlobResult&) = delete;
    ~GlobResult() { globfree(this); }
};

} // namespace

bool GetValueOfEnvironmentVariable(const gcstring& name, gcstring& value) {
    const char* text = std::getenv(name.c_str());
    if (text) {
        value = text;
    }
    return text != nullptr;
}

gcstring GetValueOfEnvironmentVariable(const gcstring& name) {
    gcstring value;
    if (!GetValueOfEnvironmentVariable(name, value)) {
        throw RUNTIME_EXCEPTION("Environment variable '%s' is not set", name.c_str());
    }
    return value;
}

bool DoesEnvironmentVariableExist(const gcstring& name) {
    return std::getenv(name.c_str()) != nullptr;
}

void ReplaceEnvironmentVariables(gcstring& buffer, bool replaceBlankBy20) {
    std::string text = ExpandVariables(buffer.view());
    if (replaceBlankBy20) {
        for (auto blank = text.find(' '); blank != text.npos; blank = text.find(' ', blank)) {
            text.replace(blank, 1, "%20");
        }
    }
    buffer = gcstring(std::move(text));
}

gcstring UrlEncode(const gcstring& text) {
    std::string result;
    for (const char byte : text.view()) {
        if (kUrlUnreserved.find(byte) != kUrlUnreserved.npos) {
            result += byte;
        } else {
            const auto value = static_cast<unsigned char>(byte);
            result += {'%', kHexDigits[value >> 4], kHexDigits[value & 15]};
        }
    }
    return gcstring(std::move(result));
}

gcstring UrlDecode(const gcstring& text) {
    std::string result;
    for (std::size_t position = 0; position < text.size(); ++position) {
        const int byte = DecodedByteAt(text.view(), position);
        result += byte < 0 ? text[position] : static_cast<char>(byte);
        if (byte >= 0) {
            position += 2;
        }
    }
    return gcstring(std::move(result));
}

gcstring GetGenICamCacheFolder() {
    return CacheFolder().Get();
}

void SetGenICamCacheFolder(const gcstring& path) {
    CacheFolder().Set(path);
}

gcstring GetGenICamLogConfig() {
    return LogConfig().Get();
}

void SetGenICamLogConfig(const gcstring& path) {
    LogConfig().Set(path);
}

gcstring GetGenICamCLProtocolFolder() {
    return CLProtocolFolder().Get();
}

void SetGenICamCLProtocolFolder(const gcstring& path) {
    CLProtocolFolder().Set(path);
}

void Tokenize(const gcstring& text, gcstring_vector& tokens, const gcstring& delimiters) {
    gcstring_vector result;
    auto begin = text.find_first_not_of(delimiters);
    while (begin != gcstring::npos) {
        const auto end = text.find_first_of(delimiters, begin);
        result.push_back(text.substr(begin, end - begin));
        begin = text.find_first_not_of(delimiters, end);
    }
    tokens = std::move(result);
}

void GetFiles(const gcstring& pattern, gcstring_vector& files, bool sort) {
    GlobResult found;
    gcstring_vector result;
    // on failure the list of what was found so far is as good as empty: unreadable folders hold no files for us
    if (glob(pattern.c_str(), sort ? 0 : GLOB_NOSORT, nullptr, &found) == 0) {
        for (std::size_t index = 0; index < found.gl_pathc; ++index) {
            if (DoesFileExist(found.gl_pathv[index])) {
                result.push_back(found.gl_pathv[index]);
            }
        }
    }
    files = std::move(result);
}

bool DoesFileExist(const gcstring& path) {
    struct stat status;
    return stat(path.c_str(), &status) == 0 && !S_ISDIR(status.st_mode);
}

gcstring GetModulePathFromFunction(const void* function) {
    Dl_info info;
    if (dladdr(function, &info) == 0 || !info.dli_fname) {
        throw RUNTIME_EXCEPTION("No program or library holds the function at %p", function);
    }
    const std::unique_ptr<char, decltype(&std::free)> path(realpath(info.dli_fname, nullptr), &std::free);
    return path ? path.get() : info.dli_fname;
}

} // namespace GenICam
