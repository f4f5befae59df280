// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "DeviceHost.h"

#include <cstdint>
#include <memory>
#include <string>

namespace CamEmu {
class CCamera;
}

namespace Serving {

class CServingFaults;
class CTicks;
class IStream;

/// The description as it lies in a camera's memory.
struct CServedDescription {
    std::string zipped, text; ///< bytes
    std::string name;         ///< of the files, without extension
};

/// How a camera is served.
struct CDeviceSettings {
    CAddressing addressing;
    std::uint32_t largestPacket = 1500; ///< of the interface: its MTU, at most 16,000
    std::uint32_t linkMbps = 1000;
    bool allowRedirect = false;         ///< streams and messages may go to others than the primary application
    std::uint32_t discoveryDelayMs = 0; ///< largest random delay of the answer to a broadcast discovery, 0 to 65,535
    std::uint32_t seed = 1;             ///< of the random delays
};

/// What a camera has done with the commands that it got.
struct CControlCounts {
    std::uint64_t commands = 0, refused = 0; ///< refused: answered by an error status
    std::uint64_t dropped = 0;               ///< answered by nothing: malformed, or from whom it may not come
    std::uint64_t repeated = 0;              ///< answered out of the cache
    std::uint64_t heartbeatsExpired = 0, events = 0, eventsResent = 0, eventsDropped = 0, actions = 0;
};

/// The control side of a served camera: commands in, acknowledges out; who has control; registers, and what writing
/// them does; messages. Knows no sockets: whoever has them passes on what comes, and calls OnTime when it is due.
/// Borrows: all that it is made with, for its life.
/// Threads: the control thread alone, but for the events of the camera.
class CDevice {
public:
    /// @throws std::invalid_argument for a description that does not fit into the camera's memory.
    CDevice(CamEmu::CCamera& camera, IStream& stream, CServingFaults& faults, CTicks& ticks, IDeviceHost& host,
            const CServedDescription& description, const CDeviceSettings& settings);
    ~CDevice(); ///< Gives up control; stream and messages are closed.
    CDevice(const CDevice&) = delete;
    CDevice& operator=(const CDevice&) = delete;

    void OnDatagram(GigEVision::Bytes datagram, const CArrival& arrival);        ///< At the control port.
    void OnMessageDatagram(GigEVision::Bytes datagram, const CArrival& arrival); ///< At that of messages.
    void OnTime(std::int64_t nowNs);                                             ///< Does what is due.
    std::int64_t NextDueNs() const; ///< When it is to be called again at the latest; INT64_MAX: no need.

    CAddressing Addressing() const;
    CEndpoint Primary() const; ///< Who has control; port 0: nobody.
    std::string SerialNumber() const;
    std::string UserName() const;
    std::uint64_t MacAddress() const; ///< 48 bits; locally administered, made of the serial number
    CControlCounts Counts() const;

private:
    class CImpl;
    std::unique_ptr<CImpl> m_impl;
};

} // namespace Serving
