// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "DeviceHost.h"
#include "Memory.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace CamEmu {
class CCamera;
}

namespace Serving {

class CActions;
class CMessageChannel;
class CStreamRegisters;
class CTicks;
struct CDeviceState;

/// The bootstrap registers: what they tell, who may write them, and what it does. Control itself is not written here,
/// as it asks who writes. Borrows: all that it is made with. Threads: the control thread.
class CBootstrap final : public IMemory {
public:
    CBootstrap(CamEmu::CCamera& camera, CTicks& ticks, CDeviceState& state, CStreamRegisters& stream,
               CMessageChannel& messages, CActions& actions);

    void SetUrls(const std::string& first, const std::string& second);
    void SetNow(std::int64_t nowNs) { m_nowNs = nowNs; } ///< Of the command that comes next.
    void ResetConfiguration();                           ///< Control was lost.
    std::uint64_t MacAddress() const { return m_mac; }
    CAddressing PersistentAddressing() const; ///< As it was written to be kept; address 0: it is not to be used.

    GigEVision::Status Read(std::uint32_t address, GigEVision::MutableBytes bytes) override;
    GigEVision::Status Write(std::uint32_t address, GigEVision::Bytes bytes) override;

private:
    void PutConstants();
    void PutPresent();
    void Put(std::uint32_t address, std::uint32_t value);
    std::uint32_t Get(std::uint32_t address) const;
    void PutText(std::uint32_t address, std::size_t length, std::string_view text);
    GigEVision::Status WriteWord(std::uint32_t address, std::uint32_t value);
    GigEVision::Status WriteConfiguration(std::uint32_t address, std::uint32_t value);
    GigEVision::Status WriteUserName(std::uint32_t address, GigEVision::Bytes bytes);
    void WriteTimestampControl(std::uint32_t value);

    CamEmu::CCamera& m_camera;
    CTicks& m_ticks;
    CDeviceState& m_state;
    CStreamRegisters& m_stream;
    CMessageChannel& m_messages;
    CActions& m_actions;
    std::vector<std::uint8_t> m_memory; // as it is read
    std::uint64_t m_mac = 0;
    std::int64_t m_nowNs = 0;
};

} // namespace Serving
