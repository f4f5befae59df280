// SPDX-License-Identifier: Apache-2.0
#include "InputFile.h"

#include "Errors.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

namespace tool {
namespace {

struct FileCloser {
    void operator()(std::FILE* file) const noexcept { std::fclose(file); }
};

[[noreturn]] void Fail(const std::string& path, const std::string& cause) {
    throw HostError("Cannot read '" + path + "': " + cause);
}

} // namespace

std::string ReadInputFile(const std::string& path, std::size_t mostBytes) {
    const std::unique_ptr<std::FILE, FileCloser> file(std::fopen(path.c_str(), "rbe"));
    if (!file) {
        Fail(path, std::strerror(errno));
    }
    std::string content;
    char block[65536];
    for (std::size_t count = 0; (count = std::fread(block, 1, sizeof(block), file.get())) != 0;) {
        if (content.size() + count > mostBytes) {
            Fail(path, "it has more than " + std::to_string(mostBytes) + " bytes");
        }
        content.append(block, count);
    }
    if (std::ferror(file.get()) != 0) {
        Fail(path, std::strerror(errno));
    }
    return content;
}

} // namespace tool
