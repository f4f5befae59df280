// SPDX-License-Identifier: Apache-2.0
#include "Server.h"

#include <serving/description/ServedDescriptions.h>

#include "core/AcquisitionClock.h"

#include <sys/signalfd.h>

#include <algorithm>
#include <csignal>
#include <limits>

namespace Serving {
namespace {

constexpr std::uint32_t kFirstLoopback = 0x7F000002; // 127.0.0.2
constexpr std::uint32_t kMaskIfAdded = 0xFFFFFF00;

sigset_t StopSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    return signals;
}

/// The addresses of the cameras, where the user does not give them: 127.0.0.2 and on, or what the interface has.
std::vector<std::uint32_t> FindAddresses(std::uint32_t cameras, const CNetworkInterface& interface) {
    std::vector<std::uint32_t> addresses;
    if (interface.isLoopback) {
        for (std::uint32_t i = 0; i < cameras; ++i) {
            addresses.push_back(kFirstLoopback + i);
        }
        return addresses;
    }
    if (interface.addresses.size() < cameras) {
        throw UsageError(interface.name + " has " + AddressesText(interface) + ", too few for " +
                         std::to_string(cameras) + (cameras == 1 ? " camera" : " cameras") +
                         "; each needs its own: add some, or let --address with --manage-addresses do so");
    }
    for (std::uint32_t i = 0; i < cameras; ++i) {
        addresses.push_back(interface.addresses[i].address);
    }
    return addresses;
}

/// The mask of an address that has to be added: that of the network it belongs to.
CAddressing AddressingOf(std::uint32_t address, const CNetworkInterface& interface) {
    const CInterfaceAddress* network = interface.FindNetworkOf(address);
    return {address, network != nullptr ? network->mask : kMaskIfAdded, 0};
}

} // namespace

void BlockStopSignals() {
    const sigset_t signals = StopSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

CServer::CServer(const CServeOptions& options, CReport& report)
    : m_report(report), m_network(LookAtInterface(options.interface.value_or("lo")),
                                  options.manageAddresses ? EAddressPolicy::Manage : EAddressPolicy::AsFound,
                                  [&report](const std::string& text) { report.Note(text); }),
      m_rates(options.rateBytesPerS) {
    const sigset_t signals = StopSignals();
    m_signals = CDescriptor(signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK));
    m_network.loop.Watch(m_signals.Number(), [this] { OnSignal(); });
    AddCameras(options);
    TellWhatIsServed(options);
}

CServer::~CServer() = default;

void CServer::AddCameras(const CServeOptions& options) {
    const CNetworkInterface interface = m_network.addresses.Interface();
    const auto addresses =
        !options.addresses.empty() ? options.addresses : FindAddresses(options.cameras.value_or(1), interface);
    const CServedSettings settings{ServedDescription(options.isSchema11 ? ESchema::Version_1_1 : ESchema::Version_1_0),
                                   options.faults, options.seed, options.allowRedirect};
    for (const std::uint32_t address : addresses) {
        const auto number = static_cast<std::uint32_t>(m_cameras.size());
        m_cameras.push_back(
            std::make_unique<CServedCamera>(number, AddressingOf(address, interface), settings, m_network, m_rates));
    }
}

void CServer::TellWhatIsServed(const CServeOptions& options) {
    const CNetworkInterface& interface = m_network.addresses.Interface();
    ReportServing(m_report, m_cameras, interface, options.isSchema11);
    m_report.Note(interface.isLoopback
                      ? "GigE Vision clients on this machine find them by discovery over lo, or by address."
                      : "GigE Vision clients in the network of " + interface.name + " find them.");
    m_report.Note("Ctrl+C ends it; so does the line 'quit'. 'status' and 'faults' print counts, "
                  "'fault packet-loss=0.01' loses packets.");
}

void CServer::OnSignal() {
    signalfd_siginfo info{};
    if (read(m_signals.Number(), &info, sizeof info) != sizeof info) {
        return;
    }
    m_exit = info.ssi_signo == SIGINT ? EExit::Interrupted : EExit::Terminated;
    m_isStopping = true;
    const sigset_t signals = StopSignals(); // the next one ends the process at once
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

EExit CServer::Run() {
    CConsole console(m_cameras, m_report, [this] { m_isStopping = true; });
    const CLineInput input(m_network.loop, [&](const std::string& line) { console.OnLine(line); });
    while (!m_isStopping) {
        Round();
    }
    for (const auto& camera : m_cameras) {
        camera->Stop();
    }
    ReportSummary(m_report, m_cameras);
    return m_exit;
}

void CServer::Round() {
    std::int64_t dueNs = std::numeric_limits<std::int64_t>::max();
    for (const auto& camera : m_cameras) {
        dueNs = std::min(dueNs, camera->Port().NextDueNs());
    }
    m_network.loop.Round(dueNs);
    const std::int64_t nowNs = CamEmu::MonotonicNs();
    for (const auto& camera : m_cameras) {
        camera->Port().OnTime(nowNs);
    }
}

} // namespace Serving
