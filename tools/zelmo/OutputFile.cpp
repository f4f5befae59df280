// SPDX-License-Identifier: Apache-2.0
#include "OutputFile.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <unistd.h>

namespace tool {

bool OutputFile::Write(const std::uint8_t* data, std::size_t size) {
    while (size > 0) {
        const ssize_t written = write(m_fd, data, size);
        if (written < 0 && errno != EINTR) {
            return false;
        }
        if (written > 0) {
            data += written;
            size -= static_cast<std::size_t>(written);
        }
    }
    return true;
}

bool OutputFile::Close() {
    const int fd = m_fd;
    m_fd = -1;
    return fd < 0 || close(fd) == 0;
}

ToolError CannotWrite(const std::string& path, int error) {
    std::string message = "Cannot write '" + path + "': " + std::strerror(error);
    if (error == ENOSPC || error == EDQUOT) {
        message += ". Make room, or choose another folder";
    }
    return HostError(message);
}

int FindDescriptor(const std::string& path) {
    namespace fs = std::filesystem;
    constexpr int kMostLinks = 40; // what Linux follows
    const fs::path own = "/proc/" + std::to_string(getpid()) + "/fd";
    fs::path at = path;
    std::error_code error;
    for (int i = 0; i < kMostLinks; ++i) {
        const fs::path folder = fs::canonical(at.has_parent_path() ? at.parent_path() : ".", error);
        const std::string name = at.filename().string();
        if (error) {
            return -1;
        }
        if (folder == own) { // the entries lead on to what is open there: that is not looked at
            const bool isNumber =
                !name.empty() && name.size() < 9 &&
                std::all_of(name.begin(), name.end(), [](unsigned char c) { return std::isdigit(c) != 0; });
            return isNumber ? std::stoi(name) : -1;
        }
        const fs::path target = fs::read_symlink(folder / name, error);
        if (error) {
            return -1; // no link
        }
        at = folder / target;
    }
    return -1;
}

bool IsSpecialFile(const std::string& path) {
    std::error_code error;
    const auto status = std::filesystem::status(path, error);
    return std::filesystem::exists(status) && std::filesystem::is_other(status);
}

} // namespace tool
