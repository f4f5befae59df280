// SPDX-License-Identifier: Apache-2.0
#include "Device.h"

#include "Descriptions.h"
#include "OpenCameras.h"
#include "PluginLog.h"
#include "Surroundings.h"
#include "common/Boundary.h"
#include "common/DescriptionBinding.h"
#include "common/LoggedCallback.h"
#include "control/Description.h"
#include "control/KnownDevices.h"
#include "discovery/MacAddress.h"

#include <Base/GCException.h>
#include <GenApi/GenApi.h>
#include <gigevision/Registers.h>

#include <utility>

namespace Gige {

namespace {

namespace Register = GigEVision::Register;

/// Values of DeviceAccessStatus in GigEConnection.xml.
enum class EAccessStatus : std::uint32_t { Unknown = 0, NoAccess = 3, OpenReadWrite = 5, OpenReadOnly = 6 };

// @p bytes must outlive the first node map.
GenApi::CNodeMapFactory MakeFactory(const std::string& bytes) {
    const auto type = bytes.starts_with("PK\x03\x04") ? GenApi::ContentType_ZippedXml : GenApi::ContentType_Xml;
    return {type, bytes.data(), bytes.size()};
}

// Older descriptions mean registers of 4 bytes as values, not as bytes.
bool IsOlderThanSchema11(GenApi::INodeMap& nodeMap) {
    GenICam::Version_t version{};
    dynamic_cast<GenApi::IDeviceInfo&>(nodeMap).GetSchemaVersion(version);
    return version.Major < 1 || (version.Major == 1 && version.Minor < 1);
}

constexpr std::int64_t kOpeningNs = 65'000'000'000; // the description alone may take 60 s

/// What is asked of a camera while this lives ends in time, however slow it is.
class CTimeLimit {
public:
    explicit CTimeLimit(CConnection& connection) : m_connection(connection) { m_connection.LimitUntil(m_endNs); }
    ~CTimeLimit() { m_connection.LimitUntil(INT64_MAX); }
    CTimeLimit(const CTimeLimit&) = delete;
    CTimeLimit& operator=(const CTimeLimit&) = delete;

    std::int64_t EndNs() const { return m_endNs; }

private:
    CConnection& m_connection;
    const std::int64_t m_endNs = MonotonicNs() + kOpeningNs;
};

// The same kind of exception, with the device's name.
template <class Operation>
void Named(const Zelmo::CDeviceInfo& device, Operation operation) {
    const auto text = [&](const GenICam::GenericException& e) {
        return "Cannot open device '" + std::string(device.GetFullName().c_str()) + "': " + e.GetDescription();
    };
    try {
        operation();
    } catch (const GenICam::BadAllocException&) {
        throw;
    } catch (const GenICam::AccessException& e) {
        throw ACCESS_EXCEPTION(text(e));
    } catch (const GenICam::TimeoutException& e) {
        throw TIMEOUT_EXCEPTION(text(e));
    } catch (const GenICam::GenericException& e) {
        throw RUNTIME_EXCEPTION(text(e));
    }
}

} // namespace

CDevice::CDevice(CFoundCamera camera, CDeviceSurroundings& surroundings, Zelmo::ITransportLayer& transportLayer)
    : m_camera(std::move(camera)), m_surroundings(surroundings), m_transportLayer(transportLayer),
      m_info(DescribeCamera(m_camera)),
      m_watch(*this, m_info.GetFullName().c_str(), LogCategory(), surroundings.EndedThreads()),
      m_connectionPort([this](std::int64_t address) { return ConnectionValue(address); },
                       [this](std::int64_t address, std::uint64_t value) { SetConnectionValue(address, value); }),
      m_connectionMap(MakeConnectionNodeMap(m_connectionPort)), m_grabber(m_connection, Features()),
      m_eventGrabber(m_connection, m_service) {}

CDevice::~CDevice() {
    Close();
}

void CDevice::Open(Zelmo::AccessModeSet modes) {
    if (m_isOpen) {
        throw LOGICAL_ERROR_EXCEPTION("Cannot open device '%s': it is open already.", m_info.GetFullName().c_str());
    }
    if (modes.test(Zelmo::Exclusive)) {
        modes.set(Zelmo::Control);
    }
    try {
        PluginKit::AtBoundary("open the device", [&] { Connect(modes); });
    } catch (...) {
        Disconnect();
        throw;
    }
    m_modes = modes;
    m_isOpen = true;
    TellIfLost();
}

// A device that could not be opened was not removed: the service thread may be early. It says so after the loss, and
// the opening thread asks after the device is open: one of them sees both.
void CDevice::TellIfLost() noexcept {
    if (m_isOpen && m_connection.IsLost()) {
        m_watch.LinkLost();
    }
}

void CDevice::RequireReachable() const {
    if (!m_camera.subnetVerdict.empty()) {
        throw RUNTIME_EXCEPTION("Cannot open device '%s': %s", m_info.GetFullName().c_str(),
                                m_camera.subnetVerdict.c_str());
    }
}

void CDevice::Connect(Zelmo::AccessModeSet modes) {
    RequireReachable();
    const CTimeLimit limit(m_connection);
    m_watch.Start();
    OpenCameras().Admit(*this, m_camera, modes);
    Named(m_info, [&] { OpenConnection(modes); });
    MakeNodeMap(limit.EndNs());
    if (m_connection.HadLeftovers()) {
        StopLeftovers();
    }
    m_grabber.Permit(modes);
    m_eventGrabber.Permit(modes.test(Zelmo::Event));
    if (m_connection.IsLost()) {
        throw RUNTIME_EXCEPTION("Cannot open device '%s': %s", m_info.GetFullName().c_str(),
                                m_connection.LossText().c_str());
    }
}

void CDevice::OpenConnection(Zelmo::AccessModeSet modes) {
    m_counts.reads = m_counts.writes = m_counts.failedReads = m_counts.failedWrites = m_counts.timeouts = 0;
    m_connection.Open(m_camera.route, modes, Number(m_camera.info.mac));
    m_service.Start();
    m_linkWatch.emplace(m_surroundings.Links(), m_camera.route.interfaceIndex, [this](bool isUp) {
        if (isUp) {
            m_service.Hurry();
        }
    });
}

void CDevice::MakeNodeMap(std::int64_t untilNs) {
    CDescription description; // is borrowed until the node map is made
    PluginKit::CBoundDescription bound = PluginKit::MakeBoundNodeMap(m_info, m_port, [&](bool isMerged) {
        std::optional<GenApi::CNodeMapFactory> sound;
        const auto use = [&](const CDescription& candidate) {
            sound.emplace(MakeFactory(candidate.bytes)).LoadAndInject();
            sound->ReleaseCameraDescriptionFileData();
        };
        description = ReadDescription(m_connection, use, untilNs);
        return isMerged ? MakeFactory(description.bytes) : *sound; // nothing can be merged into what is loaded
    });
    m_port.UseRegisterCommands(IsOlderThanSchema11(*bound.nodeMap) ||
                               FindExceptions(m_camera.info.manufacturer, m_camera.info.model).usesRegisterCommands);
    ChangeNodeMap(std::move(bound.nodeMap));
    m_chunks.Open(std::move(bound.factory), *m_nodeMap);
}

// Of a session that ended without a word: the camera may send on, to where that one was, and lock its features.
void CDevice::StopLeftovers() noexcept {
    PluginKit::RunLogged(LogCategory(), m_info.GetFullName().c_str(), "the stop of what went on", [this] {
        const GenApi::CCommandPtr stop(m_nodeMap->GetNode("AcquisitionStop"));
        if (GenApi::IsWritable(stop)) {
            stop->Execute();
        }
    });
    LockFeatures(false);
}

void CDevice::Close() {
    if (m_isOpen) {
        Disconnect();
        m_modes.reset();
        m_isOpen = false;
    }
}

// Whoever reads by it at this moment keeps the old one until he has done so.
void CDevice::ChangeNodeMap(std::shared_ptr<GenApi::INodeMap> nodeMap) noexcept {
    const PluginKit::CLockGuard guard(m_nodeMapLock);
    m_nodeMap.swap(nodeMap);
}

// Of what was made, in the order opposite to that.
void CDevice::Disconnect() noexcept {
    m_connection.PrepareClose();
    m_eventGrabber.Close();
    m_eventGrabber.Permit(false);
    m_grabber.Forbid();
    m_eventAdapters.Clear();
    m_chunks.Close();
    ChangeNodeMap(nullptr);
    m_linkWatch.reset();
    m_service.Stop();
    m_connection.Close();
    OpenCameras().Leave(*this);
    m_watch.Stop();
}

Zelmo::IEventAdapter* CDevice::CreateEventAdapter() {
    return m_isOpen ? m_eventAdapters.Make(*m_nodeMap) : nullptr;
}

Zelmo::DeviceCallbackHandle CDevice::RegisterRemovalCallback(Zelmo::DeviceRemovalCallback& callback) {
    return PluginKit::AtBoundary("register a removal callback", [&] { return m_watch.Add(callback); });
}

void CDevice::GetDescription(Zelmo::String_t& url, Zelmo::String_t& bytes) {
    PluginKit::AtBoundary("read the description", [&] {
        CConnectionCounts counts; // nobody's
        CConnection reader(m_settings, counts);
        const CTimeLimit limit(reader);
        if (!m_isOpen) {
            RequireReachable();
            Named(m_info, [&] { reader.Open(m_camera.route, {}, Number(m_camera.info.mac)); });
        }
        const CDescription description = ReadDescription(m_isOpen ? m_connection : reader, {}, limit.EndNs());
        Zelmo::String_t document(description.bytes.data(), description.bytes.size());
        url = description.url.c_str();
        bytes = std::move(document);
    });
}

CCameraFeatures CDevice::Features() {
    return {[this](bool isLocked) { LockFeatures(isLocked); }, [this] { return PayloadSize(); },
            [this] { InvalidateStream(); }};
}

void CDevice::LockFeatures(bool isLocked) noexcept {
    PluginKit::RunLogged(LogCategory(), m_info.GetFullName().c_str(), "a write to TLParamsLocked", [&] {
        const GenApi::CIntegerPtr lock(m_nodeMap->GetNode("TLParamsLocked"));
        if (GenApi::IsWritable(lock)) {
            lock->SetValue(isLocked ? 1 : 0);
        }
    });
}

std::uint64_t CDevice::PayloadSize() const noexcept {
    std::shared_ptr<GenApi::INodeMap> nodeMap; // the stream grabber's can be read at any time by anybody
    {
        const PluginKit::CLockGuard guard(m_nodeMapLock);
        nodeMap = m_nodeMap;
    }
    if (!nodeMap) {
        return 0;
    }
    std::uint64_t size = 0;
    PluginKit::RunLogged(LogCategory(), m_info.GetFullName().c_str(), "a read of PayloadSize", [&] {
        const GenApi::CIntegerPtr payloadSize(nodeMap->GetNode("PayloadSize"));
        size = GenApi::IsReadable(payloadSize) ? static_cast<std::uint64_t>(payloadSize->GetValue()) : 0;
    });
    return size;
}

// The application may have callbacks on these.
void CDevice::InvalidateStream() noexcept {
    PluginKit::RunLogged(LogCategory(), m_info.GetFullName().c_str(), "a node callback", [this] {
        for (const char* name : {"GevSCPSPacketSize", "PayloadSize", "GevSCDA", "GevSCPHostPort"}) {
            if (GenApi::INode* const node = m_nodeMap->GetNode(name)) {
                node->InvalidateNode();
            }
        }
    });
}

std::uint64_t CDevice::AccessStatus() const {
    EAccessStatus status = EAccessStatus::Unknown;
    if (m_watch.IsLost()) {
        status = EAccessStatus::NoAccess;
    } else if (m_isOpen) {
        status = m_connection.HasControl() ? EAccessStatus::OpenReadWrite : EAccessStatus::OpenReadOnly;
    }
    return static_cast<std::uint64_t>(status);
}

// The next heartbeat, which is due now, tells the camera.
void CDevice::ChangeHeartbeat(std::uint32_t timeoutMs) {
    m_settings.heartbeatTimeoutMs = timeoutMs;
    m_service.Hurry();
}

// The addresses are those of GigEConnection.xml.
std::uint64_t CDevice::ConnectionValue(std::int64_t address) const {
    switch (address) {
    case 0x00:
        return AccessStatus();
    case 0x10:
        return m_settings.heartbeatTimeoutMs;
    case 0x18:
        return m_settings.readTimeoutMs;
    case 0x20:
        return m_settings.writeTimeoutMs;
    case 0x28:
        return m_settings.maxRetriesRead;
    case 0x30:
        return m_settings.maxRetriesWrite;
    case 0x38:
        return m_settings.isDuplicating ? 1 : 0;
    case 0x40:
        return m_counts.reads;
    case 0x48:
        return m_counts.failedReads;
    case 0x50:
        return m_counts.writes;
    case 0x58:
        return m_counts.failedWrites;
    case 0x60:
        return m_counts.timeouts;
    case 0x68:
        return m_chunks.isOn ? 1 : 0;
    default:
        PluginKit::ThrowNoNumber(address);
    }
}

void CDevice::SetConnectionValue(std::int64_t address, std::uint64_t value) {
    const auto number = static_cast<std::uint32_t>(value);
    switch (address) {
    case 0x10:
        ChangeHeartbeat(number);
        break;
    case 0x18:
        m_settings.readTimeoutMs = number;
        break;
    case 0x20:
        m_settings.writeTimeoutMs = number;
        break;
    case 0x28:
        m_settings.maxRetriesRead = number;
        break;
    case 0x30:
        m_settings.maxRetriesWrite = number;
        break;
    case 0x38:
        m_settings.isDuplicating = number != 0;
        break;
    case 0x68:
        m_chunks.isOn = number != 0;
        break;
    default:
        PluginKit::ThrowReadOnly(address);
    }
}

} // namespace Gige
