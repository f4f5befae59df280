// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "RegisterDevice.h"
#include "StreamSource.h"

#include "bench/CpuTime.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace gige_bench {

/// What has come so far. System calls and locks are those of the receiving thread.
struct CReceived {
    std::uint64_t images = 0, incomplete = 0; ///< bare: incomplete ones are not known
    std::uint64_t datagrams = 0, batches = 0;
    std::uint64_t systemCalls = 0, signals = 0; ///< signals: of the wait object, not among the system calls
    std::uint64_t locks = 0;
    std::uint64_t resendCommands = 0;
    double cpuSeconds = 0; ///< of the receiving thread
};

/// Takes the images of a camera, from its construction on, into a ring of buffers.
class IReceiver {
public:
    virtual ~IReceiver() = default;
    virtual CReceived Received() = 0;
    /// Nanoseconds from the call that sent the last packet to the image in hand; of images so far, once nothing more
    /// comes.
    virtual const std::vector<double>& LatenciesNs() = 0;
};

constexpr std::size_t kBuffers = 16;

/// Images, as many as there are buffers, that every receiver writes to in turn.
class CImageMemory {
public:
    explicit CImageMemory(std::size_t imageBytes) : m_imageBytes(imageBytes), m_memory(kBuffers * imageBytes, 1) {}
    std::size_t ImageBytes() const { return m_imageBytes; }
    std::uint8_t* Image(std::size_t index) { return m_memory.data() + index % kBuffers * m_imageBytes; }

private:
    const std::size_t m_imageBytes;
    std::vector<std::uint8_t> m_memory;
};

/// A camera, and where its images go.
struct CCamera {
    CCamera(std::uint32_t address, std::uint32_t side, std::uint32_t size, std::size_t burst)
        : packetSize(size), source(address, side, size, burst), device(address, source.Port(), size),
          memory(source.ImageBytes()) {}

    const std::uint32_t packetSize;
    CStreamSource source;
    CRegisterDevice device;
    CImageMemory memory;
    std::uint64_t grantedBytes = 0; ///< of kernel memory, to the stream grabber; the bare loop takes as much
};

/// The stream grabber of the plug-in, and an application that gives each buffer back at once.
std::unique_ptr<IReceiver> StartGrabber(CCamera& camera);
/// poll, recvmmsg and one memcpy a packet, with the socket and the batch of the stream grabber.
std::unique_ptr<IReceiver> StartBare(CCamera& camera);
/// A packet ring, and one memcpy a packet. @throws std::system_error without the right to have one
std::unique_ptr<IReceiver> StartRing(CCamera& camera);

} // namespace gige_bench
