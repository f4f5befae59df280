// SPDX-License-Identifier: Apache-2.0
#include "IpConfiguration.h"

#include "control/Connection.h"
#include "discovery/AddressCommands.h"
#include "discovery/MacAddress.h"

#include <gigevision/Registers.h>

#include <Base/GCException.h>

namespace Gige {
namespace {

namespace Ip = GigEVision::IpConfiguration;
namespace Register = GigEVision::Register;

// A connection for one task.
class CShortConnection {
public:
    CShortConnection(const CFoundCamera& camera, Zelmo::AccessModeSet modes) {
        if (!camera.subnetVerdict.empty()) {
            throw RUNTIME_EXCEPTION("Camera %s cannot be reached: %s.", Text(camera.info.mac).c_str(),
                                    camera.subnetVerdict.c_str());
        }
        m_connection.Open(camera.route, modes, Number(camera.info.mac));
    }
    // Of the interface by which the camera was found.
    std::uint32_t Read(std::uint32_t ofFirst) {
        return m_connection.ReadRegister(m_connection.InterfaceRegister(ofFirst));
    }
    void Write(std::uint32_t ofFirst, std::uint32_t value) {
        m_connection.WriteRegister(m_connection.InterfaceRegister(ofFirst), value);
    }

private:
    CConnectionSettings m_settings;
    CConnectionCounts m_counts;
    CConnection m_connection{m_settings, m_counts};
};

CHostAddress ParsePersistent(const Zelmo::GigEIpConfiguration& configuration) {
    const CHostAddress parsed{ParseHostAddress(configuration.persistentAddress.c_str(), "address"),
                              ParseHostAddress(configuration.persistentMask.c_str(), "mask"),
                              configuration.persistentGateway.empty()
                                  ? 0
                                  : ParseHostAddress(configuration.persistentGateway.c_str(), "gateway")};
    CheckHostAddress(parsed);
    return parsed;
}

} // namespace

Zelmo::GigEIpConfiguration ReadIpConfiguration(const CFoundCamera& camera) {
    CShortConnection connection(camera, {});
    const std::uint32_t inUse = connection.Read(Register::kIpInUse);
    Zelmo::GigEIpConfiguration configuration;
    configuration.isPersistent = (inUse & Ip::kPersistent) != 0;
    configuration.isDhcp = (inUse & Ip::kDhcp) != 0;
    if ((connection.Read(Register::kIpSupported) & Ip::kPersistent) != 0) { // else there are no such registers
        const auto read = [&](std::uint32_t address) {
            return Zelmo::String_t(PluginKit::AddressText(connection.Read(address)).c_str());
        };
        configuration.persistentAddress = read(Register::kPersistentIp);
        configuration.persistentMask = read(Register::kPersistentMask);
        configuration.persistentGateway = read(Register::kPersistentGateway);
    }
    return configuration;
}

void StoreIpConfiguration(const CFoundCamera& camera, const Zelmo::GigEIpConfiguration& configuration) {
    const CHostAddress persistent = configuration.isPersistent ? ParsePersistent(configuration) : CHostAddress{};
    const std::uint32_t wanted =
        Ip::kLinkLocal | (configuration.isPersistent ? Ip::kPersistent : 0) | (configuration.isDhcp ? Ip::kDhcp : 0);
    CShortConnection connection(camera, Zelmo::Control);
    const std::uint32_t missing = wanted & ~(connection.Read(Register::kIpSupported) | Ip::kLinkLocal);
    if (missing != 0) {
        throw RUNTIME_EXCEPTION("Camera %s does not offer %s.", Text(camera.info.mac).c_str(),
                                (missing & Ip::kPersistent) != 0 ? "a stored address" : "DHCP");
    }
    if (configuration.isPersistent) { // first the address: what is switched on is then whole
        connection.Write(Register::kPersistentIp, persistent.address);
        connection.Write(Register::kPersistentMask, persistent.mask);
        connection.Write(Register::kPersistentGateway, persistent.gateway);
    }
    const std::uint32_t others = connection.Read(Register::kIpInUse) & ~(Ip::kPersistent | Ip::kDhcp | Ip::kLinkLocal);
    connection.Write(Register::kIpInUse, others | wanted); // flow control stands there, too
}

} // namespace Gige
