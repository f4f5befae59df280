// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/xml/ReadFile.h"

#include <Base/GCException.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

namespace GenApi {

namespace {

constexpr std::size_t kMaxFileBytes = std::size_t(64) << 20;

struct FileCloser {
    void operator()(std::FILE* file) const noexcept { std::fclose(file); }
};

} // namespace

std::string ReadFile(const std::string& path) {
    const std::unique_ptr<std::FILE, FileCloser> file(std::fopen(path.c_str(), "rb"));
    if (!file) {
        throw RUNTIME_EXCEPTION("Cannot open the camera description '" + path + "': " + std::strerror(errno) + ".");
    }
    std::string text;
    char block[65536];
    for (std::size_t count; (count = std::fread(block, 1, sizeof(block), file.get())) != 0;) {
        if (text.size() + count > kMaxFileBytes) {
            throw RUNTIME_EXCEPTION("Cannot load the camera description '" + path + "': it has more than " +
                                    std::to_string(kMaxFileBytes) + " bytes.");
        }
        text.append(block, count);
    }
    if (std::ferror(file.get()) != 0) {
        throw RUNTIME_EXCEPTION("Cannot read the camera description '" + path + "'.");
    }
    return text;
}

} // namespace GenApi
