// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/PortImpl.h>

#include <cstdint>

namespace Zelmo {

class CGrabEngine;

/// What the camera's own node map reads and writes as registers: the counters of the grab engine and the size of its
/// output queue, 4 bytes each. Borrows the engine. Threads: any; each access takes the engine's own locks.
class CInstantCameraQueuePort final : public GenApi::CPortImpl {
public:
    explicit CInstantCameraQueuePort(CGrabEngine& engine) noexcept : m_engine(engine) {}
    CInstantCameraQueuePort(const CInstantCameraQueuePort&) = delete;
    CInstantCameraQueuePort& operator=(const CInstantCameraQueuePort&) = delete;

    GenApi::EAccessMode GetAccessMode() const override { return GenApi::RW; }
    /// @throws GenICam::RuntimeException for an address without a register, then for a length other than 4.
    void Read(void* buffer, std::int64_t address, std::int64_t length) override;
    /// Only the size of the output queue can be written, see CGrabEngine::SetOutputQueueSize.
    /// @throws GenICam::RuntimeException for a length other than 4, then for another address.
    void Write(const void* buffer, std::int64_t address, std::int64_t length) override;

private:
    std::uint64_t GetValue(std::int64_t address) const;

    CGrabEngine& m_engine;
};

} // namespace Zelmo
