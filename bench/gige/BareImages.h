// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Receiver.h"

#include <atomic>
#include <cstring>

namespace gige_bench {

/// What a bare loop does with the packets of its camera: one memcpy, and nothing else where all goes well. Packets come
/// in order; where one is lost, the rest of the image is somewhere else. Threads: the loop's; Count: any.
class CBareImages {
public:
    explicit CBareImages(CCamera& camera) : m_camera(camera) { m_latenciesNs.reserve(1 << 20); }

    void Place(const std::uint8_t* datagram, std::size_t bytes) {
        const std::uint8_t* const data = datagram + GigEVision::kGvspHeaderBytes;
        const std::size_t dataBytes = bytes - GigEVision::kGvspHeaderBytes;
        const auto format = static_cast<GigEVision::PacketFormat>(datagram[4]);
        if (format == GigEVision::PacketFormat::Leader) {
            m_position = 0;
        } else if (format == GigEVision::PacketFormat::Trailer) {
            const std::uint64_t number = GigEVision::GetBigEndian<std::uint16_t>(datagram + 2);
            m_latenciesNs.push_back(static_cast<double>(Gige::MonotonicNs() - m_camera.source.SentNs(number)));
            m_count.store(Count() + 1, std::memory_order_relaxed);
        } else if (m_position + dataBytes <= m_camera.memory.ImageBytes()) {
            std::memcpy(m_camera.memory.Image(Count()) + m_position, data, dataBytes);
            m_position += dataBytes;
        }
    }
    std::uint64_t Count() const { return m_count.load(std::memory_order_relaxed); }
    const std::vector<double>& LatenciesNs() const { return m_latenciesNs; }

private:
    CCamera& m_camera;
    std::size_t m_position = 0; // in the image
    std::atomic<std::uint64_t> m_count{0};
    std::vector<double> m_latenciesNs;
};

} // namespace gige_bench
