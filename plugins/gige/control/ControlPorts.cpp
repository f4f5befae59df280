// SPDX-License-Identifier: Apache-2.0
#include "control/ControlPorts.h"

#include "common/Mutex.h"

#include <Base/GCException.h>

#include <map>

namespace Gige {

namespace {

using PluginKit::CLockGuard;

struct CWay {
    PluginKit::CEndpoint device;
    std::uint32_t hostAddress = 0;

    auto operator<=>(const CWay&) const = default; // NOLINT(modernize-use-nullptr): mistaken
};

struct CPorts {
    PluginKit::CMutex lock;
    std::map<CWay, std::uint16_t> ports PLUGIN_GUARDED_BY(lock);
};

CPorts& Ports() {
    static CPorts ports;
    return ports;
}

std::uint16_t RememberedPort(const CRoute& route) {
    CPorts& known = Ports();
    const CLockGuard guard(known.lock);
    const auto found = known.ports.find({route.device, route.hostAddress});
    return found == known.ports.end() ? std::uint16_t{0} : found->second;
}

} // namespace

CUdpSocket MakeControlSocket(const CRoute& route, bool wantsControl) {
    if (const std::uint16_t port = wantsControl ? RememberedPort(route) : std::uint16_t{0}) {
        try {
            return CUdpSocket::ForDevice(route, port);
        } catch (const GenICam::RuntimeException&) {
            // somebody else has it now: another one will do
        }
    }
    return CUdpSocket::ForDevice(route);
}

void RememberControlPort(const CRoute& route, const CUdpSocket& socket) {
    CPorts& known = Ports();
    const CLockGuard guard(known.lock);
    known.ports[{route.device, route.hostAddress}] = socket.LocalPort();
}

bool IsControlPort(const CRoute& route, const PluginKit::CEndpoint& holder) {
    return holder == PluginKit::CEndpoint{route.hostAddress, RememberedPort(route)};
}

} // namespace Gige
