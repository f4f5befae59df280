// SPDX-License-Identifier: Apache-2.0
#include "discovery/ActionCommands.h"

#include "common/Endpoint.h"
#include "net/UdpSocket.h"

#include <Base/GCException.h>

#include <poll.h>

#include <algorithm>
#include <random>

namespace Gige {
namespace {

using PluginKit::CNetworkInterface;

constexpr std::uint32_t kAllNetworks = 0xFFFFFFFF;
constexpr std::int64_t kMsNs = 1'000'000;

struct CTarget {
    std::string interface;
    std::uint32_t address;
};

std::vector<CTarget> FindTargets(const CNetworkChoice& choice, std::uint32_t destination) {
    std::vector<CNetworkInterface> interfaces = UsableInterfaces();
    const bool isNamed =
        std::find(choice.addresses.begin(), choice.addresses.end(), destination) != choice.addresses.end();
    std::erase_if(interfaces, [&](const CNetworkInterface& one) { return !isNamed && !choice.Admits(one); });
    std::vector<CTarget> targets;
    for (const CNetworkInterface& one : interfaces) {
        const std::vector<std::uint32_t> broadcasts = BroadcastsOf(one);
        if (destination == kAllNetworks && !broadcasts.empty()) {
            targets.push_back({one.name, broadcasts.front()}); // once: each command is one action
        } else if (std::find(broadcasts.begin(), broadcasts.end(), destination) != broadcasts.end()) {
            targets.push_back({one.name, destination});
        }
    }
    if (const CNetworkInterface* const way =
            targets.empty() && !choice.isOff ? FindWayTo(destination, interfaces) : nullptr) {
        targets.push_back({way->name, destination});
    }
    return targets;
}

// Takes what is there to be read.
void Collect(CUdpSocket& socket, std::uint16_t id, std::vector<CActionAnswer>& answers) {
    constexpr int kMostAtOnce = 64;
    GigEVision::GvcpBuffer buffer;
    for (int i = 0; i < kMostAtOnce; ++i) {
        const auto received = socket.Receive(buffer, 0);
        if (!received) {
            return;
        }
        const auto message = GigEVision::DecodeAcknowledge(received->bytes);
        const std::uint32_t from = received->from.address;
        const bool isAnswer =
            message && message->id == id &&
            message->acknowledge == GigEVision::AcknowledgeOf(static_cast<std::uint16_t>(GigEVision::Command::Action));
        if (isAnswer && std::none_of(answers.begin(), answers.end(),
                                     [&](const CActionAnswer& one) { return one.address == from; })) {
            answers.push_back({from, message->status});
        }
    }
}

} // namespace

std::vector<CActionAnswer> SendAction(const CNetworkChoice& choice, const GigEVision::ActionCommand& action,
                                      std::uint32_t destination, std::size_t expectedAnswers, std::uint32_t timeoutMs) {
    GigEVision::CommandMessage command;
    command.flags = static_cast<std::uint8_t>((expectedAnswers != 0 ? GigEVision::Flag::kAcknowledge : 0) |
                                              (action.time ? GigEVision::Flag::kScheduled : 0));
    command.command = static_cast<std::uint16_t>(GigEVision::Command::Action);
    command.requestId = GigEVision::NextRequestId(static_cast<std::uint16_t>(std::random_device()()));
    GigEVision::GvcpBuffer buffer;
    command.payload =
        GigEVision::EncodeAction(action, GigEVision::MutableBytes(buffer).subspan(GigEVision::kGvcpHeaderBytes));
    const GigEVision::Bytes datagram = GigEVision::EncodeCommand(command, buffer);

    std::vector<CUdpSocket> sockets;
    std::vector<pollfd> waited;
    bool isSent = false;
    for (const CTarget& target : FindTargets(choice, destination)) {
        CUdpSocket& socket = sockets.emplace_back(CUdpSocket::ForBroadcast(target.interface));
        isSent = socket.SendTo({target.address, GigEVision::kGvcpPort}, datagram) || isSent;
        waited.push_back({socket.Number(), POLLIN, 0});
    }
    if (!isSent) {
        throw RUNTIME_EXCEPTION("Cannot send an action command to %s: %s.", PluginKit::AddressText(destination).c_str(),
                                choice.isOff ? "ZELMO_GIGE is off" : "no network that ZELMO_GIGE admits leads there");
    }
    std::vector<CActionAnswer> answers;
    const std::int64_t end = MonotonicNs() + timeoutMs * kMsNs;
    for (std::int64_t left = end - MonotonicNs(); answers.size() < expectedAnswers && left > 0;
         left = end - MonotonicNs()) {
        poll(waited.data(), waited.size(), static_cast<int>(std::min<std::int64_t>(left / kMsNs + 1, 1'000'000)));
        for (CUdpSocket& socket : sockets) {
            Collect(socket, command.requestId, answers);
        }
    }
    return answers;
}

} // namespace Gige
