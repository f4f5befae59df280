// SPDX-License-Identifier: Apache-2.0
#include "Absence.h"

#include "Commands.h"
#include "Faults.h"
#include "Session.h"
#include "Stream.h"

#include "core/Camera.h"

namespace Serving {

using GigEVision::Status;

namespace {

constexpr std::int64_t kLookEveryNs = 10 * kNsPerMs; // whether enough images were sent

} // namespace

Status CAbsence::Read(std::uint32_t /*address*/, GigEVision::MutableBytes /*bytes*/) {
    return Status::AccessDenied; // a command is not read
}

Status CAbsence::Write(std::uint32_t /*address*/, GigEVision::Bytes bytes) {
    if (GigEVision::GetBigEndian<std::uint32_t>(bytes.data()) != 1) {
        return Status::InvalidParameter;
    }
    m_removalBlock = m_stream.Counts().blocks + m_camera.RemovalSettings().delayImages;
    return Status::Success;
}

bool CAbsence::CutsCable(std::int64_t nowNs) {
    if (!m_faults.StrikesNext(EFault::Silence)) {
        return false;
    }
    Leave(nowNs, m_faults.Parameter(EFault::Silence) * kNsPerMs);
    return true;
}

void CAbsence::OnCommandDone(std::int64_t nowNs) {
    if (!m_removalBlock || m_isAway) {
        return;
    }
    if (m_stream.Counts().blocks < *m_removalBlock) {
        m_lookNs = nowNs + kLookEveryNs;
        return;
    }
    m_removalBlock.reset();
    const std::int32_t durationMs = m_camera.RemovalSettings().durationMs;
    m_isRemoved = true;
    Leave(nowNs, durationMs == CamEmu::CRemovalSettings::kForGood ? kNever : durationMs * kNsPerMs);
    OnTime(nowNs); // it may be back at once
}

void CAbsence::Leave(std::int64_t nowNs, std::int64_t durationNs) {
    m_isAway = true;
    m_untilNs = durationNs == kNever ? kNever : nowNs + durationNs;
    m_stream.Mute(true);
    m_commands.GiveUpPending(nowNs);
}

void CAbsence::OnTime(std::int64_t nowNs) {
    if (m_isAway && nowNs >= m_untilNs) {
        Return();
    }
}

void CAbsence::Return() {
    m_isAway = false;
    if (m_isRemoved) {
        m_isRemoved = false;
        m_session.End();
        if (m_camera.RemovalSettings().resets) {
            m_camera.Reset();
        }
    }
    m_stream.Mute(false);
}

std::int64_t CAbsence::DueNs() const {
    if (m_isAway) {
        return m_untilNs;
    }
    return m_removalBlock ? m_lookNs : kNever;
}

} // namespace Serving
