// SPDX-License-Identifier: Apache-2.0
#include "TransportLayer.h"

#include "Device.h"
#include "IpConfiguration.h"
#include "common/Boundary.h"
#include "discovery/ActionCommands.h"
#include "discovery/AddressCommands.h"
#include "discovery/ControlQuery.h"

#include <Base/GCException.h>
#include <zelmo/DeviceFilter.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <dlfcn.h>

namespace Gige {

namespace {

constexpr const char* kNoDevice = "No device is available or no device contains the provided device info properties.";
constexpr const char* kAmbiguous =
    "Ambiguous device info properties. %i devices match the provided device info properties.";

Zelmo::CInterfaceInfo DescribeInterface() {
    Zelmo::CInterfaceInfo info;
    info.SetInterfaceID("GigE").SetFriendlyName("GigE Vision").SetFullName("GigE").SetDeviceClass(kDeviceClass);
    return info;
}

// The file from which this plug-in was loaded; empty when the loader does not tell.
Zelmo::String_t OwnFile() {
    static const char kAnchor = 0;
    Dl_info info{};
    return dladdr(&kAnchor, &info) != 0 && info.dli_fname ? info.dli_fname : "";
}

// Empty where it is not told.
std::string ValueOf(const Zelmo::CDeviceInfo& info, const char* key) {
    Zelmo::String_t value;
    info.GetPropertyValue(key, value);
    return value.c_str();
}

std::optional<MacAddress> MacOf(const Zelmo::CDeviceInfo& info) {
    const std::string fullName = ValueOf(info, "FullName");
    const auto mac = ParseMac(std::string_view(fullName).substr(fullName.rfind(' ') + 1));
    return mac ? mac : ParseMac(ValueOf(info, "MacAddress"));
}

// Two makers may give the same one: where another key decides between them, all are to be found.
bool IsSerialNumberAlone(const Zelmo::CDeviceInfo& pattern) {
    Zelmo::StringList_t names;
    pattern.GetPropertyNames(names);
    return std::all_of(names.begin(), names.end(),
                       [](const Zelmo::String_t& name) { return name == "SerialNumber" || name == "DeviceClass"; });
}

// What ends the search for it.
CSearch SearchFor(const Zelmo::CDeviceInfo& pattern) {
    CSearch search;
    search.mac = MacOf(pattern);
    search.address = PluginKit::ParseAddress(ValueOf(pattern, "IpAddress"));
    if (!search.address) {
        const std::string address = ValueOf(pattern, "Address"); // with the port
        search.address = PluginKit::ParseAddress(std::string_view(address).substr(0, address.find(':')));
    }
    if (IsSerialNumberAlone(pattern)) {
        search.serialNumber = ValueOf(pattern, "SerialNumber");
    }
    return search;
}

// A pattern with a full name was enumerated before: the camera may be elsewhere, and be called otherwise, since.
bool Matches(const Zelmo::CDeviceInfo& candidate, Zelmo::CDeviceInfo pattern) {
    if (const auto mac = ParseMac(ValueOf(pattern, "MacAddress"))) {
        pattern.SetMacAddress(Text(*mac).c_str());
    }
    if (pattern.IsFullNameAvailable()) {
        for (const char* const key :
             {"UserDefinedName", "FriendlyName", "DeviceVersion", "Address", "IpAddress", "SubnetMask", "SubnetAddress",
              "DefaultGateway", "Interface", "InterfaceID", "IpConfigOptions", "IpConfigCurrent"}) {
            if (pattern.GetPropertyAvailable(key)) {
                pattern.SetPropertyValue(key, ValueOf(candidate, key).c_str());
            }
        }
    }
    return candidate.IsSubset(pattern);
}

MacAddress CheckMac(const Zelmo::String_t& text) {
    const auto mac = ParseMac(text.c_str());
    if (!mac) {
        throw INVALID_ARGUMENT_EXCEPTION("'%s' is no MAC address.", text.c_str());
    }
    return *mac;
}

bool IsFree(EControlState state, Zelmo::AccessModeSet modes) {
    const bool wantsControl = modes.test(Zelmo::Control) || modes.test(Zelmo::Exclusive);
    return state == EControlState::Free || (state == EControlState::Controlled && !wantsControl);
}

} // namespace

Zelmo::CTlInfo DescribeTransportLayer() {
    Zelmo::CTlInfo info;
    info.SetFriendlyName("GigE Vision").SetFullName("GigE").SetVendorName("Harlix").SetDeviceClass(kDeviceClass);
    info.SetTLType("GEV");
    info.SetModelName("GigE Vision").SetInfoID("GigE").SetVersion("1.0").SetFileName(OwnFile());
    return info;
}

CTransportLayer::CTransportLayer()
    : m_surroundings(ParseNetworkChoice(std::getenv("ZELMO_GIGE"))),
      m_interface(new Zelmo::CDefaultInterface(this, DescribeInterface())) {}

CTransportLayer::~CTransportLayer() = default;

// The plain list; the default interface calls it and adds filter and order.
int CTransportLayer::EnumerateDevices(Zelmo::DeviceInfoList& list, bool addToList) {
    if (!addToList) {
        list.clear();
    }
    return PluginKit::AtBoundary("enumerate the GigE Vision cameras", [&] {
        const Entries present = LookFor(CSearch{});
        for (const CEntry& entry : present) {
            list.push_back(entry.info);
        }
        return static_cast<int>(present.size());
    });
}

int CTransportLayer::EnumerateDevices(Zelmo::DeviceInfoList& list, const Zelmo::DeviceInfoList& filter,
                                      bool addToList) {
    return PluginKit::AtBoundary("enumerate the GigE Vision cameras",
                                 [&] { return m_interface->EnumerateDevices(list, filter, addToList); });
}

Zelmo::IZelmoDevice* CTransportLayer::CreateDevice(const Zelmo::CDeviceInfo& info) {
    return PluginKit::AtBoundary("create the device", [&] { return MakeDevice(LookForOne(info)); });
}

Zelmo::IZelmoDevice* CTransportLayer::CreateFirstDevice(const Zelmo::CDeviceInfo& info) {
    return PluginKit::AtBoundary("create the device", [&] {
        Entries found = LookFor(info);
        if (found.empty()) {
            throw RUNTIME_EXCEPTION("%s", kNoDevice);
        }
        return MakeDevice(std::move(found.front().camera));
    });
}

Zelmo::IZelmoDevice* CTransportLayer::CreateDevice(const Zelmo::CDeviceInfo& info, const Zelmo::StringList_t&) {
    return CreateDevice(info);
}

Zelmo::IZelmoDevice* CTransportLayer::CreateFirstDevice(const Zelmo::CDeviceInfo& info, const Zelmo::StringList_t&) {
    return CreateFirstDevice(info);
}

Zelmo::IZelmoDevice* CTransportLayer::CreateDevice(const Zelmo::String_t& fullName) {
    return PluginKit::AtBoundary("create the device", [&] {
        Zelmo::CDeviceInfo info;
        info.SetFullName(fullName);
        return CreateDevice(info);
    });
}

void CTransportLayer::DestroyDevice(Zelmo::IZelmoDevice* device) {
    m_devices.Destroy(device);
}

bool CTransportLayer::IsDeviceAccessible(const Zelmo::CDeviceInfo& info, Zelmo::AccessModeSet modes,
                                         Zelmo::EDeviceAccessiblityInfo* accessibilityInfo) {
    return PluginKit::AtBoundary("tell whether the device is accessible", [&] {
        const Zelmo::EDeviceAccessiblityInfo found = LookUp(info, modes);
        if (accessibilityInfo) {
            *accessibilityInfo = found;
        }
        return found == Zelmo::DeviceAccessibility_Ok;
    });
}

Zelmo::EDeviceAccessiblityInfo CTransportLayer::LookUp(const Zelmo::CDeviceInfo& info, Zelmo::AccessModeSet modes) {
    Entries found = LookFor(info);
    if (found.empty() && info.IsFullNameAvailable()) {
        return Zelmo::DeviceAccessibility_NotReachable; // it was enumerated, and is gone
    }
    const CFoundCamera camera = TheOne(std::move(found));
    if (!camera.subnetVerdict.empty()) {
        return Zelmo::DeviceAccessibility_WrongSubnet;
    }
    const EControlState state = AskForControlState(camera.route);
    return state == EControlState::Silent ? Zelmo::DeviceAccessibility_NotReachable
           : IsFree(state, modes)         ? Zelmo::DeviceAccessibility_Ok
                                          : Zelmo::DeviceAccessibility_InUse;
}

std::size_t CTransportLayer::GetPrivateProperty(int id, void* data, std::size_t sizeBytes) const {
    if (id != AdmittedPropertyId) {
        return 0;
    }
    if (data && sizeBytes >= 1) {
        *static_cast<std::uint8_t*>(data) = m_isAdmitted ? 1 : 0;
    }
    return 1;
}

void CTransportLayer::SetPrivateProperty(int id, const void* data, std::size_t sizeBytes) {
    if (id == AdmittedPropertyId && data && sizeBytes == 1) {
        m_isAdmitted = *static_cast<const std::uint8_t*>(data) == 1;
    }
}

bool CTransportLayer::ForceIp(const Zelmo::String_t& mac, const Zelmo::String_t& address, const Zelmo::String_t& mask,
                              const Zelmo::String_t& gateway) {
    return PluginKit::AtBoundary("force an IP address", [&] {
        CheckAdmitted();
        return ForceAddress(m_surroundings.Discovery(), CheckMac(mac),
                            {ParseHostAddress(address.c_str(), "address"), ParseHostAddress(mask.c_str(), "mask"),
                             gateway.empty() ? 0 : ParseHostAddress(gateway.c_str(), "gateway")});
    });
}

void CTransportLayer::RestartIpConfiguration(const Zelmo::String_t& mac) {
    PluginKit::AtBoundary("restart the IP configuration", [&] {
        CheckAdmitted();
        RestartAddressing(m_surroundings.Discovery(), CheckMac(mac));
    });
}

Zelmo::GigEIpConfiguration CTransportLayer::GetIpConfiguration(const Zelmo::CDeviceInfo& device) {
    return PluginKit::AtBoundary("read the IP configuration", [&] { return ReadIpConfiguration(LookForOne(device)); });
}

void CTransportLayer::SetIpConfiguration(const Zelmo::CDeviceInfo& device,
                                         const Zelmo::GigEIpConfiguration& configuration) {
    PluginKit::AtBoundary("store the IP configuration",
                          [&] { StoreIpConfiguration(LookForOne(device), configuration); });
}

std::vector<Zelmo::GigEActionAnswer> CTransportLayer::IssueAction(std::uint32_t deviceKey, std::uint32_t groupKey,
                                                                  std::uint32_t groupMask,
                                                                  const Zelmo::String_t& destination,
                                                                  std::size_t expectedAnswers, std::uint32_t timeoutMs,
                                                                  std::uint64_t scheduledTicks) {
    return PluginKit::AtBoundary("issue an action command", [&] {
        CheckAdmitted();
        const GigEVision::ActionCommand action{deviceKey, groupKey, groupMask,
                                               scheduledTicks != 0 ? std::optional(scheduledTicks) : std::nullopt};
        std::vector<Zelmo::GigEActionAnswer> answers;
        for (const CActionAnswer& one :
             SendAction(m_surroundings.Discovery().Choice(), action,
                        ParseHostAddress(destination.c_str(), "destination"), expectedAnswers, timeoutMs)) {
            const std::string status(GigEVision::StatusName(one.status));
            answers.push_back(
                {PluginKit::AddressText(one.address).c_str(), static_cast<std::uint32_t>(one.status), status.c_str()});
        }
        return answers;
    });
}

Zelmo::IZelmoDevice* CTransportLayer::MakeDevice(CFoundCamera camera) {
    return m_devices.Add(std::make_unique<CDevice>(std::move(camera), m_surroundings, *this));
}

bool CTransportLayer::IsAdmitted() const {
    return !Zelmo::GetGlobalDeviceFilterInstance() || m_isAdmitted;
}

void CTransportLayer::CheckAdmitted() const {
    if (!IsAdmitted()) {
        throw RUNTIME_EXCEPTION("ZELMO_DEVICE_FILTER does not admit GigE Vision cameras.");
    }
}

CTransportLayer::Entries CTransportLayer::LookFor(const CSearch& search) {
    Entries entries;
    if (!IsAdmitted()) {
        return entries;
    }
    const Zelmo::DeviceInfoList* const filter = Zelmo::GetGlobalDeviceFilterInstance();
    for (CFoundCamera& camera : m_surroundings.Discovery().Look(search)) {
        const Zelmo::CDeviceInfo info = DescribeCamera(camera);
        if (!filter || std::any_of(filter->begin(), filter->end(),
                                   [&](const Zelmo::CDeviceInfo& entry) { return info.IsSubset(entry); })) {
            entries.push_back({std::move(camera), info});
        }
    }
    return entries;
}

CTransportLayer::Entries CTransportLayer::LookFor(const Zelmo::CDeviceInfo& pattern) {
    Entries entries = LookFor(SearchFor(pattern));
    std::erase_if(entries, [&](const CEntry& entry) { return !Matches(entry.info, pattern); });
    return entries;
}

CFoundCamera CTransportLayer::LookForOne(const Zelmo::CDeviceInfo& pattern) {
    return TheOne(LookFor(pattern));
}

CFoundCamera CTransportLayer::TheOne(Entries found) {
    if (found.empty()) {
        throw RUNTIME_EXCEPTION("%s", kNoDevice);
    }
    if (found.size() > 1) {
        throw RUNTIME_EXCEPTION(kAmbiguous, static_cast<int>(found.size()));
    }
    return std::move(found.front().camera);
}

} // namespace Gige
