// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <unistd.h>

#include <utility>

namespace PluginKit {

/// Owns a file descriptor.
class CDescriptor {
public:
    explicit CDescriptor(int number = -1) : m_number(number) {}
    ~CDescriptor() { Reset(); }
    CDescriptor(CDescriptor&& other) noexcept : m_number(std::exchange(other.m_number, -1)) {}
    CDescriptor& operator=(CDescriptor&& other) noexcept {
        std::swap(m_number, other.m_number);
        return *this;
    }

    int Number() const { return m_number; }
    bool IsOpen() const { return m_number >= 0; }
    void Reset() noexcept {
        if (m_number >= 0) {
            close(std::exchange(m_number, -1));
        }
    }

private:
    int m_number;
};

} // namespace PluginKit
