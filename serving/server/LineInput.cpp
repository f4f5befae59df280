// SPDX-License-Identifier: Apache-2.0
#include "LineInput.h"

#include "EventLoop.h"

#include <unistd.h>

#include <array>
#include <utility>

namespace Serving {
namespace {

constexpr std::size_t kLongestLine = 4096;

bool IsOurs() {
    const pid_t owner = tcgetpgrp(STDIN_FILENO); // -1: no terminal
    return owner < 0 || owner == getpgrp();
}

} // namespace

CLineInput::CLineInput(CEventLoop& loop, std::function<void(const std::string&)> onLine)
    : m_loop(loop), m_onLine(std::move(onLine)) {
    if (!loop.Watch(STDIN_FILENO, [this] { Read(); })) {
        while (m_isOpen) { // a file, which never keeps anybody waiting
            Read();
        }
    }
}

CLineInput::~CLineInput() {
    if (m_isOpen) {
        m_loop.Forget(STDIN_FILENO);
    }
}

void CLineInput::Read() {
    std::array<char, 4096> bytes;
    const ssize_t count = IsOurs() ? read(STDIN_FILENO, bytes.data(), bytes.size()) : 0;
    if (count > 0) {
        Take(bytes.data(), static_cast<std::size_t>(count));
    } else if (count == 0 || (errno != EAGAIN && errno != EINTR)) {
        End();
    }
}

void CLineInput::Take(const char* bytes, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        if (bytes[i] == '\n') {
            m_onLine(std::exchange(m_line, {}));
        } else if (m_line.size() < kLongestLine) {
            m_line += bytes[i];
        }
    }
}

void CLineInput::End() {
    if (std::exchange(m_isOpen, false)) {
        m_loop.Forget(STDIN_FILENO);
        if (!m_line.empty()) {
            m_onLine(std::exchange(m_line, {}));
        }
    }
}

} // namespace Serving
