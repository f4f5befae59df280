// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/Export.h>
#include <zelmo/Types.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Zelmo {

class CDeviceInfo;

/// How a camera gets its IP address when it starts. Link-local is always on, as the last resort.
struct GigEIpConfiguration {
    bool isPersistent = false; ///< Its own, stored address.
    bool isDhcp = false;       ///< Asked for on the network.
    /// Stored in the camera, dotted decimal; of no effect unless isPersistent.
    String_t persistentAddress, persistentMask, persistentGateway;
};

/// A camera that carried out an action command.
struct GigEActionAnswer {
    String_t address;         ///< Dotted decimal.
    std::uint32_t status = 0; ///< A status code of GigE Vision; 0 for success.
    String_t statusText;      ///< For people.
};

/// What GigE Vision has beyond the contract of transport layers: addresses of cameras, and commands to many of them at
/// once. An optional second base of a transport layer, reached by a cross cast:
/// `dynamic_cast<IGigEVisionNetwork*>(layer)`, where CTlFactory::CreateTl("HarlixGigE") gave the layer.
/// Nothing is sent to networks that ZELMO_GIGE does not admit, nor when ZELMO_DEVICE_FILTER leaves GigE Vision out.
/// Threads: any. Calls wait for the network on the caller's thread.
class ZELMO_API IGigEVisionNetwork {
public:
    /// Gives a camera that need not be in a subnet of this host an address until it is switched off. Sent out of the
    /// interface on which it was seen; then waits at most 5 s until it is found at the new address. @p mac as
    /// "00:11:22:33:44:55"; addresses dotted decimal, @p gateway may be empty.
    /// @return whether the camera was found there, with that mask; where it tells another gateway, the log says so. One
    ///         in a foreign subnet cannot be asked who has control of it, and drops the command by itself while
    ///         somebody has: false.
    /// @throws GenICam::InvalidArgumentException for texts that are no addresses, or an address that cannot be a host's
    /// @throws GenICam::AccessException          while somebody has control of the camera, unless it cannot be asked
    /// @throws GenICam::RuntimeException         when no camera with that MAC address answers
    virtual bool ForceIp(const String_t& mac, const String_t& address, const String_t& mask,
                         const String_t& gateway) = 0;

    /// Makes the camera look for an address anew, as when it starts. It does not acknowledge, so nothing is waited for.
    /// Same exceptions.
    virtual void RestartIpConfiguration(const String_t& mac) = 0;

    /// Reads, or stores in the camera, how it gets its address at the next start. Storing takes control for the call.
    /// @throws GenICam::AccessException          while somebody else has control; reading: exclusive control
    /// @throws GenICam::InvalidArgumentException for texts to be stored that are no addresses of a host
    /// @throws GenICam::RuntimeException         when no camera or several are meant; when it does not answer, or not
    ///                                           offer what is wanted
    virtual GigEIpConfiguration GetIpConfiguration(const CDeviceInfo& device) = 0;
    virtual void SetIpConfiguration(const CDeviceInfo& device, const GigEIpConfiguration& configuration) = 0;

    /// Sends an action command to @p destination, and collects answers: "255.255.255.255" is all networks, once each;
    /// the broadcast address of a subnet that one; else a camera's address. Cameras whose keys differ, or that nobody
    /// controls, stay silent. @p expectedAnswers ends the wait early; 0 wants none and does not wait.
    /// @p scheduledTicks, unless it is 0, is when the cameras are to act, in ticks of their clocks.
    /// @return the answers that came within @p timeoutMs milliseconds, one for each address.
    /// @throws GenICam::InvalidArgumentException when the destination is no address
    /// @throws GenICam::RuntimeException         when no network leads there
    virtual std::vector<GigEActionAnswer> IssueAction(std::uint32_t deviceKey, std::uint32_t groupKey,
                                                      std::uint32_t groupMask, const String_t& destination,
                                                      std::size_t expectedAnswers, std::uint32_t timeoutMs,
                                                      std::uint64_t scheduledTicks) = 0;

protected:
    ~IGigEVisionNetwork() = default;
};

} // namespace Zelmo
