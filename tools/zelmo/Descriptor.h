// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>
#include <utility>

namespace tool {

/// Owns a file descriptor; -1 for none.
class Descriptor {
public:
    explicit Descriptor(int fd = -1) noexcept : m_fd(fd) {}
    ~Descriptor() { Close(); }
    Descriptor(Descriptor&& other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(m_fd, other.m_fd);
        return *this;
    }

    int Get() const noexcept { return m_fd; }
    void Close() noexcept;

private:
    int m_fd;
};

/// Cuts what comes from a descriptor into lines.
class LineReader {
public:
    explicit LineReader(std::function<void(const std::string& line)> onLine) : m_onLine(std::move(onLine)) {}

    bool ReadSome(const Descriptor& source); ///< Waits for something to come. @return false at the end.
    void Finish();                           ///< Hands over a last line that has no end.

private:
    const std::function<void(const std::string&)> m_onLine;
    std::string m_rest; // a line whose end is still to come
};

/// Both ends of a pipe, not inherited by programs that this one runs.
struct Pipe {
    Pipe(); ///< @throws ToolError out of descriptors.

    Descriptor readEnd;
    Descriptor writeEnd;
};

} // namespace tool
