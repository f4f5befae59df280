#pragma once

#include "core/FrameRecord.h"

#include <cstdint>
#include <mutex>
#include <ostream>
#include <span>
#include <vector>

namespace Fakes {

/// taken = distinct + doubled + torn + foreign; distinct + missing = begun.
struct CAuditReport {
    std::uint64_t taken = 0;
    std::uint64_t distinct = 0;
    std::uint64_t missing = 0;    ///< begun by the camera, never taken
    std::uint64_t doubled = 0;    ///< taken again
    std::uint64_t torn = 0;       ///< the image is not the one that the record was written for, or cut off
    std::uint64_t foreign = 0;    ///< no record, of another camera, or a number that was never begun
    std::uint64_t outOfOrder = 0; ///< behind a higher number; means something when one thread takes

    friend bool operator==(const CAuditReport&, const CAuditReport&) = default;
    friend std::ostream& operator<<(std::ostream& stream, const CAuditReport& report) {
        return stream << report.taken << " taken: " << report.distinct << " distinct, " << report.missing
                      << " missing, " << report.doubled << " doubled, " << report.torn << " torn, " << report.foreign
                      << " foreign, " << report.outOfOrder << " out of order";
    }
};

/// Checks the images of one camera against their records and finds loss, doubling and tearing. Threads: any.
class CFrameAudit {
public:
    explicit CFrameAudit(std::uint32_t cameraNumber = 0) : m_cameraNumber(cameraNumber) {}

    void Take(const void* image, std::size_t sizeBytes) {
        CamEmu::CFrameRecord record;
        const auto check = CamEmu::CheckFrame({static_cast<const std::uint8_t*>(image), sizeBytes}, record);
        const std::lock_guard lock(m_lock);
        ++m_report.taken;
        if (check == CamEmu::EFrameCheck::NoRecord || record.cameraNumber != m_cameraNumber)
            ++m_report.foreign;
        else if (check != CamEmu::EFrameCheck::Intact)
            ++m_report.torn;
        else
            Enter(record.blockId);
    }

    /// @p begun is what the camera tells: its frames are 0 to begun - 1.
    CAuditReport Report(std::uint64_t begun) const;

private:
    void Enter(std::uint64_t blockId);

    const std::uint32_t m_cameraNumber;
    mutable std::mutex m_lock; // guards all below
    CAuditReport m_report;
    std::vector<std::uint64_t> m_ids;
};

} // namespace Fakes
