// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Descriptor.h"

#include <cstdint>

namespace Serving {

/// Where a stream's datagrams come from: a UDP socket on the camera's address, at a port of the kernel's choice. What
/// others send to it is dropped in the kernel, without an answer.
/// Threads: one at a time.
class CStreamSocket {
public:
    explicit CStreamSocket(std::uint32_t address); ///< @throws std::system_error, which names the address.

    int Number() const { return m_socket.Number(); }
    std::uint16_t Port() const { return m_port; }
    void SetDoNotFragment(bool isSet) noexcept;

private:
    CDescriptor m_socket;
    std::uint16_t m_port = 0;
    bool m_doNotFragment = true;
};

} // namespace Serving
