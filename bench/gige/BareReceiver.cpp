// SPDX-License-Identifier: Apache-2.0
#include "BareImages.h"

#include "stream/StreamSocket.h"

#include <atomic>
#include <poll.h>
#include <pthread.h>

namespace gige_bench {

namespace {

class CBareReceiver final : public IReceiver {
public:
    explicit CBareReceiver(CCamera& camera)
        : m_images(camera), m_socket(camera.device.Route(), camera.device.Route().hostAddress, 0),
          m_batch(camera.packetSize > 2048 ? 32 : 64), m_slotBytes((camera.packetSize + 63) / 64 * 64),
          m_slots(m_batch * m_slotBytes) {
        m_socket.SetBuffer(camera.grantedBytes);
        m_socket.Connect({camera.device.Route().device.address, camera.source.Port()});
        camera.source.Begin({camera.device.Route().hostAddress, m_socket.LocalPort()});
        m_thread = std::thread([this] { Run(); });
        pthread_getcpuclockid(m_thread.native_handle(), &m_clock);
    }
    ~CBareReceiver() override {
        m_isEnding = true;
        m_thread.join();
    }

    CReceived Received() override {
        CReceived received;
        received.images = m_images.Count();
        received.datagrams = m_datagrams;
        received.batches = m_batches;
        received.systemCalls = m_systemCalls;
        received.cpuSeconds = CpuSeconds(m_clock);
        return received;
    }
    const std::vector<double>& LatenciesNs() override { return m_images.LatenciesNs(); }

private:
    void Run();
    static void Count(std::atomic<std::uint64_t>& counter, std::uint64_t added = 1) {
        counter.store(counter.load(std::memory_order_relaxed) + added, std::memory_order_relaxed);
    }

    CBareImages m_images;
    Gige::CStreamSocket m_socket;
    const std::size_t m_batch, m_slotBytes;
    std::vector<std::uint8_t> m_slots;
    std::atomic<std::uint64_t> m_datagrams{0}, m_batches{0}, m_systemCalls{0};
    std::atomic<bool> m_isEnding{false};
    clockid_t m_clock = {};
    std::thread m_thread;
};

void CBareReceiver::Run() {
    std::vector<iovec> memory(m_batch);
    std::vector<mmsghdr> messages(m_batch);
    for (std::size_t i = 0; i < m_batch; ++i) {
        memory[i] = {m_slots.data() + i * m_slotBytes, m_slotBytes};
        messages[i].msg_hdr.msg_iov = &memory[i];
        messages[i].msg_hdr.msg_iovlen = 1;
    }
    bool isFull = false;
    while (!m_isEnding) {
        if (!isFull) {
            pollfd waited = {m_socket.Number(), POLLIN, 0};
            poll(&waited, 1, 100);
            Count(m_systemCalls);
        }
        const int count =
            recvmmsg(m_socket.Number(), messages.data(), static_cast<unsigned>(m_batch), MSG_DONTWAIT, nullptr);
        Count(m_systemCalls);
        if (count > 0) {
            Count(m_batches);
            Count(m_datagrams, static_cast<std::uint64_t>(count));
        }
        for (int i = 0; i < count; ++i) {
            m_images.Place(
                static_cast<const std::uint8_t*>(messages[static_cast<std::size_t>(i)].msg_hdr.msg_iov->iov_base),
                messages[static_cast<std::size_t>(i)].msg_len);
        }
        isFull = count == static_cast<int>(m_batch);
    }
}

} // namespace

std::unique_ptr<IReceiver> StartBare(CCamera& camera) {
    return std::make_unique<CBareReceiver>(camera);
}

} // namespace gige_bench
