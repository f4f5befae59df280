// SPDX-License-Identifier: Apache-2.0
#include "discovery/AddressCommands.h"

#include "PluginLog.h"
#include "common/Endpoint.h"
#include "discovery/ControlQuery.h"

#include <Base/GCException.h>

#include <algorithm>
#include <bit>
#include <random>

namespace Gige {
namespace {

constexpr std::int64_t kMsNs = 1'000'000;
constexpr std::int64_t kForceNs = 3900 * kMsNs; // until the last look begins, which ends within 5 s
constexpr std::int64_t kSliceNs = 500 * kMsNs;  // between two looks whether it is there

std::optional<CFoundCamera> Find(CDiscovery& discovery, const MacAddress& mac,
                                 std::optional<std::uint32_t> newAddress = {}) {
    for (CFoundCamera& camera :
         discovery.Look({.mac = mac, .address = {}, .serialNumber = {}, .newAddress = newAddress})) {
        if (camera.info.mac == mac) {
            return std::move(camera);
        }
    }
    return std::nullopt;
}

bool IsMask(std::uint32_t mask) {
    return mask != 0 && std::countl_one(mask) == std::popcount(mask);
}

// A camera drops the command, without a word, while somebody has control. Where it cannot be reached it cannot be
// asked.
CFoundCamera FindFree(CDiscovery& discovery, const MacAddress& mac) {
    std::optional<CFoundCamera> camera = Find(discovery, mac);
    if (!camera) {
        throw RUNTIME_EXCEPTION("No camera with the MAC address %s answers.", Text(mac).c_str());
    }
    const EControlState state =
        camera->subnetVerdict.empty() ? AskForControlState(camera->route) : EControlState::Silent;
    if (state == EControlState::Controlled || state == EControlState::Exclusive) {
        throw ACCESS_EXCEPTION("The address of camera %s cannot be changed: somebody has control of it.",
                               Text(mac).c_str());
    }
    return std::move(*camera);
}

bool IsAt(const CHostAddress& wanted, const GigEVision::DiscoveryInfo& info) {
    return info.address == wanted.address && info.mask == wanted.mask;
}

// Not all tell of a router, so that it is no failure.
void TellOfOtherGateway(const CHostAddress& wanted, const GigEVision::DiscoveryInfo& info) {
    if (wanted.gateway != 0 && info.gateway != wanted.gateway) {
        hxlog::LogTrace(LogCategory(), hxlog::LogLevel_Warn, "Camera %s was given the gateway %s, but tells %s.",
                        Text(info.mac).c_str(), PluginKit::AddressText(wanted.gateway).c_str(),
                        PluginKit::AddressText(info.gateway).c_str());
    }
}

struct CSent {
    CUdpSocket socket;
    std::uint16_t id;
};

CSent Send(const CRoute& route, const GigEVision::ForceIp& force) {
    CSent sent{CUdpSocket::ForBroadcast(route.interface),
               GigEVision::NextRequestId(static_cast<std::uint16_t>(std::random_device()()))};
    GigEVision::GvcpBuffer buffer;
    GigEVision::CommandMessage command;
    command.flags = GigEVision::Flag::kAcknowledge | GigEVision::Flag::kBroadcastAcknowledge;
    command.command = static_cast<std::uint16_t>(GigEVision::Command::ForceIp);
    command.requestId = sent.id;
    command.payload =
        GigEVision::EncodeForceIp(force, GigEVision::MutableBytes(buffer).subspan(GigEVision::kGvcpHeaderBytes));
    const GigEVision::Bytes datagram = GigEVision::EncodeCommand(command, buffer);
    const std::uint32_t target = route.isLoopback ? route.hostAddress | ~route.hostMask : 0xFFFFFFFF;
    if (!sent.socket.SendTo({target, GigEVision::kGvcpPort}, datagram)) {
        throw RUNTIME_EXCEPTION("Cannot send to camera %s over %s.", Text(force.mac).c_str(), route.interface.c_str());
    }
    return sent;
}

// Ends early when the camera acknowledges.
void WaitForAcknowledge(CSent& sent, std::int64_t untilNs) {
    GigEVision::GvcpBuffer buffer;
    while (const auto received = sent.socket.Receive(buffer, untilNs)) {
        const auto message = GigEVision::DecodeAcknowledge(received->bytes);
        if ((message && message->id == sent.id) || MonotonicNs() >= untilNs) {
            return;
        }
    }
}

} // namespace

std::uint32_t ParseHostAddress(std::string_view text, const char* what) {
    const auto address = PluginKit::ParseAddress(text);
    if (!address) {
        throw INVALID_ARGUMENT_EXCEPTION("The %s '%s' is no IPv4 address.", what, std::string(text).c_str());
    }
    return *address;
}

void CheckHostAddress(const CHostAddress& wanted) {
    const std::string text = PluginKit::AddressText(wanted.address) + "/" + PluginKit::AddressText(wanted.mask);
    if (!IsMask(wanted.mask)) {
        throw INVALID_ARGUMENT_EXCEPTION("%s cannot be a camera's: its mask is none.", text.c_str());
    }
    const std::uint32_t host = wanted.address & ~wanted.mask;
    const bool isEdge = wanted.mask < 0xFFFFFFFE && (host == 0 || host == ~wanted.mask);
    if (isEdge || wanted.address >> 24 == 0 || wanted.address >> 28 >= 0xE) {
        throw INVALID_ARGUMENT_EXCEPTION("%s cannot be a camera's: it is no host's address.", text.c_str());
    }
}

bool ForceAddress(CDiscovery& discovery, const MacAddress& mac, const CHostAddress& wanted) {
    CheckHostAddress(wanted);
    const CRoute route = FindFree(discovery, mac).route;
    CSent sent = Send(route, {mac, wanted.address, wanted.mask, wanted.gateway});
    const std::int64_t end = MonotonicNs() + kForceNs;
    do { // an acknowledge may be lost, or come too early
        WaitForAcknowledge(sent, std::min(end, MonotonicNs() + kSliceNs));
        const auto camera = Find(discovery, mac, wanted.address);
        if (camera && IsAt(wanted, camera->info)) {
            TellOfOtherGateway(wanted, camera->info);
            return true;
        }
    } while (MonotonicNs() < end);
    return false;
}

void RestartAddressing(CDiscovery& discovery, const MacAddress& mac) {
    Send(FindFree(discovery, mac).route, {.mac = mac});
}

} // namespace Gige
