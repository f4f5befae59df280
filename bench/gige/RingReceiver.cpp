// SPDX-License-Identifier: Apache-2.0
#include "BareImages.h"

#include "stream/StreamSocket.h"

#include <arpa/inet.h>
#include <atomic>
#include <cerrno>
#include <linux/filter.h>
#include <linux/if_ether.h>
#include <linux/if_packet.h>
#include <net/if.h>
#include <poll.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <system_error>

namespace gige_bench {

namespace {

constexpr std::size_t kBlockBytes = 1 << 20, kBlocks = 32;

// Datagrams of one flow that are no fragments; offsets from the IP header on.
std::vector<sock_filter> FilterOf(const PluginKit::CEndpoint& from, const PluginKit::CEndpoint& to) {
    constexpr std::uint16_t kFragment = 0x3FFF; // more fragments, or an offset
    return {BPF_STMT(BPF_LD | BPF_B | BPF_ABS, 9),
            BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, IPPROTO_UDP, 0, 10),
            BPF_STMT(BPF_LD | BPF_W | BPF_ABS, 12),
            BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, from.address, 0, 8),
            BPF_STMT(BPF_LD | BPF_W | BPF_ABS, 16),
            BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, to.address, 0, 6),
            BPF_STMT(BPF_LD | BPF_H | BPF_ABS, 6),
            BPF_JUMP(BPF_JMP | BPF_JSET | BPF_K, kFragment, 4, 0),
            BPF_STMT(BPF_LDX | BPF_B | BPF_MSH, 0),
            BPF_STMT(BPF_LD | BPF_H | BPF_IND, 2),
            BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, to.port, 0, 1),
            BPF_STMT(BPF_RET | BPF_K, 0x40000),
            BPF_STMT(BPF_RET | BPF_K, 0)};
}

template <typename T>
void SetOption(int socket, int level, int name, const T& value) {
    if (setsockopt(socket, level, name, &value, sizeof value) != 0) {
        throw std::system_error(errno, std::generic_category(), "packet ring");
    }
}

void SetFilter(int socket, std::vector<sock_filter> filter) {
    SetOption(socket, SOL_SOCKET, SO_ATTACH_FILTER,
              sock_fprog{static_cast<unsigned short>(filter.size()), filter.data()});
}

/// A ring that the kernel puts packets in, and one memcpy of each into the image. The socket that they are addressed to
/// takes none of them.
class CRingReceiver final : public IReceiver {
public:
    explicit CRingReceiver(CCamera& camera)
        : m_images(camera), m_socket(camera.device.Route(), camera.device.Route().hostAddress, 0),
          m_packets(socket(AF_PACKET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
        SetFilter(m_socket.Number(), {BPF_STMT(BPF_RET | BPF_K, 0)});
        const PluginKit::CEndpoint to = {camera.device.Route().hostAddress, m_socket.LocalPort()};
        MakeRing({camera.device.Route().device.address, camera.source.Port()}, to);
        camera.source.Begin(to);
        m_thread = std::thread([this] { Run(); });
        pthread_getcpuclockid(m_thread.native_handle(), &m_clock);
    }
    ~CRingReceiver() override {
        m_isEnding = true;
        m_thread.join();
        munmap(m_ring, kBlocks * kBlockBytes);
    }

    CReceived Received() override {
        CReceived received;
        received.images = m_images.Count();
        received.datagrams = m_datagrams;
        received.batches = m_batches;
        received.systemCalls = m_polls;
        received.cpuSeconds = CpuSeconds(m_clock);
        return received;
    }
    const std::vector<double>& LatenciesNs() override { return m_images.LatenciesNs(); }

private:
    void MakeRing(const PluginKit::CEndpoint& from, const PluginKit::CEndpoint& to);
    void Run();
    void TakeBlock(tpacket_block_desc& block);

    CBareImages m_images;
    Gige::CStreamSocket m_socket;
    PluginKit::CDescriptor m_packets;
    std::uint8_t* m_ring = nullptr;
    std::atomic<std::uint64_t> m_datagrams{0}, m_batches{0}, m_polls{0};
    std::atomic<bool> m_isEnding{false};
    clockid_t m_clock = {};
    std::thread m_thread;
};

void CRingReceiver::MakeRing(const PluginKit::CEndpoint& from, const PluginKit::CEndpoint& to) {
    SetFilter(m_packets.Number(), FilterOf(from, to));
    SetOption(m_packets.Number(), SOL_PACKET, PACKET_VERSION, int{TPACKET_V3});
    SetOption(m_packets.Number(), SOL_PACKET, PACKET_IGNORE_OUTGOING, int{1}); // loopback shows each packet twice
    tpacket_req3 ring = {};
    ring.tp_block_size = kBlockBytes;
    ring.tp_block_nr = kBlocks;
    ring.tp_frame_size = 1 << 14;
    ring.tp_frame_nr = kBlocks * kBlockBytes / ring.tp_frame_size;
    ring.tp_retire_blk_tov = 1; // ms
    SetOption(m_packets.Number(), SOL_PACKET, PACKET_RX_RING, ring);
    void* const memory =
        mmap(nullptr, kBlocks * kBlockBytes, PROT_READ | PROT_WRITE, MAP_SHARED, m_packets.Number(), 0);
    sockaddr_ll address = {};
    address.sll_family = AF_PACKET;
    address.sll_protocol = htons(ETH_P_IP);
    address.sll_ifindex = static_cast<int>(if_nametoindex("lo"));
    if (memory == MAP_FAILED ||
        bind(m_packets.Number(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        throw std::system_error(errno, std::generic_category(), "packet ring");
    }
    m_ring = static_cast<std::uint8_t*>(memory);
}

void CRingReceiver::Run() {
    for (std::size_t next = 0; !m_isEnding;) {
        auto& block = *reinterpret_cast<tpacket_block_desc*>(m_ring + next * kBlockBytes);
        std::atomic_ref status(block.hdr.bh1.block_status);
        if ((status.load(std::memory_order_acquire) & TP_STATUS_USER) == 0) {
            pollfd waited = {m_packets.Number(), POLLIN, 0};
            poll(&waited, 1, 100);
            ++m_polls;
            continue;
        }
        TakeBlock(block);
        status.store(TP_STATUS_KERNEL, std::memory_order_release);
        next = (next + 1) % kBlocks;
    }
}

void CRingReceiver::TakeBlock(tpacket_block_desc& block) {
    const auto* packet = reinterpret_cast<const std::uint8_t*>(&block) + block.hdr.bh1.offset_to_first_pkt;
    for (std::uint32_t i = 0; i < block.hdr.bh1.num_pkts; ++i) {
        const auto& header = *reinterpret_cast<const tpacket3_hdr*>(packet);
        const std::uint8_t* const ip = packet + header.tp_net;
        const std::size_t headers = std::size_t{ip[0] & 0xFu} * 4 + 8; // of IP and UDP
        m_images.Place(ip + headers, header.tp_snaplen - headers);
        packet += header.tp_next_offset;
    }
    ++m_batches;
    m_datagrams += block.hdr.bh1.num_pkts;
}

} // namespace

std::unique_ptr<IReceiver> StartRing(CCamera& camera) {
    return std::make_unique<CRingReceiver>(camera);
}

} // namespace gige_bench
