// SPDX-License-Identifier: Apache-2.0
#include "Descriptor.h"

#include "Errors.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace tool {

void Descriptor::Close() noexcept {
    if (m_fd >= 0) {
        close(m_fd);
        m_fd = -1;
    }
}

bool LineReader::ReadSome(const Descriptor& source) {
    char block[4096];
    const ssize_t size = read(source.Get(), block, sizeof(block));
    if (size <= 0) {
        return size < 0 && errno == EINTR;
    }
    m_rest.append(block, static_cast<std::size_t>(size));
    std::size_t begin = 0;
    for (std::size_t end = 0; (end = m_rest.find('\n', begin)) != std::string::npos; begin = end + 1) {
        m_onLine(m_rest.substr(begin, end - begin));
    }
    m_rest.erase(0, begin);
    return true;
}

void LineReader::Finish() {
    if (!m_rest.empty()) {
        m_onLine(std::exchange(m_rest, {}));
    }
}

Pipe::Pipe() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        throw HostError(std::string("Cannot make a pipe: ") + std::strerror(errno));
    }
    readEnd = Descriptor(ends[0]);
    writeEnd = Descriptor(ends[1]);
}

} // namespace tool
