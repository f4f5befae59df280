// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "core/FrameRecord.h"

#include <cstdint>
#include <mutex>
#include <vector>

namespace Fakes {

/// taken = distinct + doubled + torn + foreign; distinct + missing = begun.
struct CAuditReport {
    std::uint64_t taken = 0;
    std::uint64_t distinct = 0;
    std::uint64_t missing = 0; ///< begun by the camera, never taken
    std::uint64_t doubled = 0; ///< taken again
    std::uint64_t torn = 0;    ///< cut off, or not the image that the record was written for
    std::uint64_t foreign = 0; ///< no record, of another camera, or a number that was never begun
};

/// Checks the images of one camera against their records and finds loss, doubling and tearing. Threads: any.
class CFrameAudit {
public:
    explicit CFrameAudit(std::uint32_t cameraNumber = 0) : m_cameraNumber(cameraNumber) {}

    void Take(const void* image, std::size_t sizeBytes) {
        CamEmu::CFrameRecord record;
        const auto check = CamEmu::CheckFrame({static_cast<const std::uint8_t*>(image), sizeBytes}, record);
        const bool isForeign = check == CamEmu::EFrameCheck::NoRecord || record.cameraNumber != m_cameraNumber;
        const std::lock_guard lock(m_lock);
        if (!isForeign && check == CamEmu::EFrameCheck::Intact) {
            m_ids.push_back(record.blockId);
        } else {
            ++(isForeign ? m_rest.foreign : m_rest.torn);
        }
    }

    /// @p begun is what the camera tells: its frames are 0 to begun - 1.
    CAuditReport Report(std::uint64_t begun) const {
        const std::lock_guard lock(m_lock);
        CAuditReport report = m_rest;
        std::vector<bool> seen(begun);
        for (std::size_t i = 0; i < m_ids.size(); ++i) {
            if (m_ids[i] >= begun) {
                ++report.foreign;
            } else {
                ++(seen[m_ids[i]] ? report.doubled : report.distinct);
            }
            if (m_ids[i] < begun) {
                seen[m_ids[i]] = true;
            }
        }
        report.taken = report.distinct + report.doubled + report.torn + report.foreign;
        report.missing = begun - report.distinct;
        return report;
    }

private:
    const std::uint32_t m_cameraNumber;
    mutable std::mutex m_lock; // guards both below
    CAuditReport m_rest;       // torn and foreign images
    std::vector<std::uint64_t> m_ids;
};

} // namespace Fakes
