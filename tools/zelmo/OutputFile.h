// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Errors.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace tool {

/// Owns a descriptor that is written to. Failures are told by errno.
class OutputFile {
public:
    explicit OutputFile(int fd) noexcept : m_fd(fd) {}
    ~OutputFile() { Close(); }
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    bool IsOpen() const noexcept { return m_fd >= 0; }
    int GetFd() const noexcept { return m_fd; }
    bool Write(const std::uint8_t* data, std::size_t size);
    bool Close(); ///< Fails with what the kernel only finds out then (network file systems, quotas).

private:
    int m_fd;
};

ToolError CannotWrite(const std::string& path, int error); ///< @p error is a value of errno.

/// The open descriptor of this process that @p path stands for, as /dev/stdout and /dev/fd/3 do; -1 for any other path.
/// What it leads to must neither be opened again, which would start at its beginning, nor be replaced.
int FindDescriptor(const std::string& path);

/// Whether a device or a pipe has this name: it takes the bytes as they come and must not be replaced.
bool IsSpecialFile(const std::string& path);

} // namespace tool
