// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Endpoint.h"

#include <gigevision/Bytes.h>

#include <cstdint>

namespace Serving {

/// How a datagram came to a camera's control port.
struct CArrival {
    CEndpoint from;
    bool isBroadcast = false;
    std::int64_t atNs = 0; ///< CLOCK_MONOTONIC
};

/// The address that a camera has now.
struct CAddressing {
    std::uint32_t address = 0, mask = 0xFFFFFFFF, gateway = 0;
};

/// To whom an answer goes: the primary application gets all, others as much as the budget lets them have.
enum class ERecipient { Primary, Other };

/// What a served camera needs of the network. All calls come from the control thread, with no lock held.
class IDeviceHost {
public:
    /// From the camera's address and control port. @p delayNs later; 0: now. The bytes are copied.
    virtual void Answer(const CEndpoint& to, GigEVision::Bytes datagram, ERecipient recipient,
                        std::int64_t delayNs) = 0;
    /// To 255.255.255.255 on the camera's interface.
    virtual void AnswerByBroadcast(std::uint16_t port, GigEVision::Bytes datagram, std::int64_t delayNs) = 0;

    /// The message channel's socket. @return its port, MCSP. @throws std::system_error.
    virtual std::uint16_t OpenMessages() = 0;
    virtual void CloseMessages() noexcept = 0;
    virtual void SendMessage(const CEndpoint& to, GigEVision::Bytes datagram) = 0;

    /// FORCEIP: the camera is reached at another address from now on. @return false when it cannot have it; then
    /// nothing has changed.
    virtual bool ChangeAddress(const CAddressing& wanted) = 0;
    /// FORCEIP with 0.0.0.0: back to what it was served with.
    virtual void RestoreAddress() = 0;

    /// Wakes the control thread, which then calls OnTime. From any thread.
    virtual void Wake() noexcept = 0;

protected:
    ~IDeviceHost() = default;
};

} // namespace Serving
