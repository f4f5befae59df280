// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ControlState.h"
#include "Memory.h"

#include <cstdint>
#include <optional>

namespace CamEmu {
class CCamera;
}

namespace Serving {

class CCommands;
class CServingFaults;
class CSession;
class IStream;

/// The times in which a camera neither hears nor sends: removed by the command SimulateRemoval, or its cable cut by a
/// fault. The command is acknowledged first.
/// Borrows: all that it is made with.
/// Threads: the control thread.
class CAbsence final : public IMemory {
public:
    CAbsence(CamEmu::CCamera& camera, IStream& stream, CServingFaults& faults, CSession& session, CCommands& commands)
        : m_camera(camera), m_stream(stream), m_faults(faults), m_session(session), m_commands(commands) {}

    bool IsAway() const { return m_isAway; }
    bool CutsCable(std::int64_t nowNs);     ///< Asked for each datagram, which is not heard if so.
    void OnCommandDone(std::int64_t nowNs); ///< And acknowledged: a removal may begin.
    void OnTime(std::int64_t nowNs);
    std::int64_t DueNs() const;

    GigEVision::Status Read(std::uint32_t address, GigEVision::MutableBytes bytes) override;
    GigEVision::Status Write(std::uint32_t address, GigEVision::Bytes bytes) override;

private:
    void Leave(std::int64_t nowNs, std::int64_t durationNs);
    void Return();

    CamEmu::CCamera& m_camera;
    IStream& m_stream;
    CServingFaults& m_faults;
    CSession& m_session;
    CCommands& m_commands;
    bool m_isAway = false, m_isRemoved = false;
    std::int64_t m_untilNs = kNever;
    std::optional<std::uint64_t> m_removalBlock; ///< blocks sent with which a removal begins
    std::int64_t m_lookNs = kNever;
};

} // namespace Serving
