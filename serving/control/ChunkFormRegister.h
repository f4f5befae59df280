// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Memory.h"
#include "StreamRegisters.h"

namespace Serving {

/// The register that holds how images with chunks are sent.
/// Borrows: the channel.
/// Threads: the control thread.
class CChunkFormRegister final : public IMemory {
public:
    explicit CChunkFormRegister(CStreamRegisters& channel) : m_channel(channel) {}

    GigEVision::Status Read(std::uint32_t, GigEVision::MutableBytes bytes) override {
        GigEVision::PutBigEndian(bytes.data(), static_cast<std::uint32_t>(m_channel.ChunkForm()));
        return GigEVision::Status::Success;
    }
    GigEVision::Status Write(std::uint32_t, GigEVision::Bytes bytes) override {
        const auto form = static_cast<EChunkForm>(GigEVision::GetBigEndian<std::uint32_t>(bytes.data()));
        return form < EChunkForm::Count_ ? m_channel.SetChunkForm(form) : GigEVision::Status::InvalidParameter;
    }

private:
    CStreamRegisters& m_channel;
};

} // namespace Serving
