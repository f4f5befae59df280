// SPDX-License-Identifier: Apache-2.0
#include "MinimalDevice.h"

#include "Descriptions.h"
#include "MinimalChunks.h"

namespace Minimal {
MinimalDevice::MinimalDevice(Zelmo::ITransportLayer& transportLayer, MinimalCamera& camera,
                             const Zelmo::CDeviceInfo& info)
    : m_transportLayer(transportLayer), m_camera(camera), m_info(info), m_port(camera),
      m_tlNodeMap(MakeNodeMap(kConnectionDescription)), m_stream(camera, *m_tlNodeMap), m_events(camera) {}

MinimalDevice::~MinimalDevice() {
    m_camera.Removal().RemoveAllOf(*this);
    Close();
}

void MinimalDevice::Open(Zelmo::AccessModeSet modes) {
    const Zelmo::String_t serial = m_info.GetSerialNumber();
    if (IsOpen()) {
        throw LOGICAL_ERROR_EXCEPTION("Cannot open camera %s: it is open already.", serial.c_str());
    }
    if (modes.test(Zelmo::Exclusive)) {
        throw ACCESS_EXCEPTION("Cannot open camera %s for Exclusive: it cannot keep others out.", serial.c_str());
    }
    const bool control = modes.test(Zelmo::Control);
    m_port.Permit(control ? GenApi::RW : GenApi::RO);
    NodeMapPtr nodeMap = MakeNodeMap(kDescription);
    nodeMap->Connect(&m_port, "Device");
    m_camera.Read(MinimalCamera::kParamsLocked); // whether it answers at all
    if (control && !m_camera.TakeControl()) {
        throw ACCESS_EXCEPTION("Cannot open camera %s for Control: it is open for Control elsewhere.", serial.c_str());
    }
    m_nodeMap = std::move(nodeMap); // from here on nothing fails: the device is open
    m_camera.Enter();
    m_modes = modes;
    m_stream.Permit(modes.test(Zelmo::Stream));
    m_events.Permit(modes.test(Zelmo::Event));
    m_isOpen = true;
}

void MinimalDevice::Close() {
    if (!IsOpen()) {
        return;
    }
    m_isOpen = false;
    m_stream.Close();
    m_stream.Permit(false);
    m_events.Close();
    m_events.Permit(false);
    m_nodeMap.reset();
    if (m_modes.test(Zelmo::Control)) {
        m_camera.ReleaseControl();
    }
    m_modes.reset();
    m_camera.Leave();
}

Zelmo::IEventAdapter* MinimalDevice::CreateEventAdapter() {
    return new MinimalEventAdapter(*m_nodeMap);
}

void MinimalDevice::DestroyEventAdapter(Zelmo::IEventAdapter* adapter) {
    delete static_cast<MinimalEventAdapter*>(adapter);
}

Zelmo::IChunkParser* MinimalDevice::CreateChunkParser() {
    return new MinimalChunkParser;
}

void MinimalDevice::DestroyChunkParser(Zelmo::IChunkParser* parser) {
    static_cast<MinimalChunkParser*>(parser)->Destroy();
}

Zelmo::DeviceCallbackHandle MinimalDevice::RegisterRemovalCallback(Zelmo::DeviceRemovalCallback& callback) {
    return m_camera.Removal().Add(*this, callback);
}

void MinimalDevice::DeregisterRemovalCallback(Zelmo::DeviceCallbackHandle handle) {
    m_camera.Removal().Remove(handle);
}

void MinimalDevice::GetDescription(Zelmo::String_t& url, Zelmo::String_t& bytes) {
    url = "Local:minimal.xml";
    bytes = kDescription;
}

Zelmo::String_t MinimalDevice::GetChunkNodeMapDescription() const {
    return kChunkDescription;
}

} // namespace Minimal
