// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Broadcasts.h"

#include <serving/DeviceHost.h>

#include <atomic>
#include <functional>
#include <map>
#include <vector>

namespace Serving {

class CDevice;
struct CServingNetwork;

/// The network side of one camera: its sockets, the answers that wait for their time, and its address.
/// Owns:    the sockets for commands and messages.
/// Borrows: the network; the device from Attach to Detach.
/// Threads: the control thread, but for Wake.
class CCameraPort final : public IDeviceHost, private IBroadcastListener {
public:
    static constexpr std::size_t kDelayedAnswers = 256; ///< that wait at once; what comes beyond is dropped

    /// At @p address, with the mask of its network, or with that of @p addressing where the address is added.
    /// @throws CServeError, which names the address.
    CCameraPort(CServingNetwork& network, const CAddressing& addressing);
    ~CCameraPort();
    CCameraPort(const CCameraPort&) = delete;
    CCameraPort& operator=(const CCameraPort&) = delete;

    const CAddressing& Addressing() const { return m_addressing; }

    /// Commands are passed on to the device from now on; @p onMoved is told each further address.
    void Attach(CDevice& device, std::function<void(std::uint32_t)> onMoved);
    void Detach() noexcept;

    void OnTime(std::int64_t nowNs); ///< Does what is due, the device's part too.
    std::int64_t NextDueNs() const;
    std::uint64_t DroppedAnswers() const { return m_droppedAnswers; } ///< for want of budget or room

    void Answer(const CEndpoint& to, GigEVision::Bytes datagram, ERecipient recipient, std::int64_t delayNs) override;
    void AnswerByBroadcast(std::uint16_t port, GigEVision::Bytes datagram, std::int64_t delayNs) override;
    std::uint16_t OpenMessages() override;
    void CloseMessages() noexcept override;
    void SendMessage(const CEndpoint& to, GigEVision::Bytes datagram) override;
    bool ChangeAddress(const CAddressing& wanted) override;
    void RestoreAddress() override;
    void Wake() noexcept override;

private:
    struct CDelayed {
        CEndpoint to;
        std::vector<std::uint8_t> bytes;
    };

    void OnBroadcast(const CReceived& received) override;
    void OnControl();
    void OnMessages();
    template <class Action>
    void Guarded(const char* attempted, Action action) noexcept;
    bool HasBudget(std::uint32_t to, std::size_t bytes);
    void SendOrDelay(const CEndpoint& to, GigEVision::Bytes datagram, std::int64_t delayNs);
    void Send(int socket, const CEndpoint& to, GigEVision::Bytes datagram);
    void Move(const CAddressing& wanted);
    void ListenAt(std::uint32_t address, std::uint32_t mask);

    CServingNetwork& m_network;
    const unsigned m_loopbackIndex;
    CAddressing m_initial, m_addressing;
    CDescriptor m_control, m_messages;
    CDevice* m_device = nullptr;
    std::function<void(std::uint32_t)> m_onMoved;
    std::multimap<std::int64_t, CDelayed> m_delayed; // by the time when they are due
    std::uint64_t m_droppedAnswers = 0;
    std::atomic<bool> m_isWoken = false;
};

} // namespace Serving
