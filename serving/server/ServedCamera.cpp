// SPDX-License-Identifier: Apache-2.0
#include "ServedCamera.h"

#include "ServingNetwork.h"

#include <serving/stream/StreamChannel.h>

#include <algorithm>

namespace Serving {
namespace {

CDeviceSettings DeviceSettings(const CServedSettings& settings, const CAddressing& addressing,
                               const CNetworkInterface& interface, std::uint32_t seed) {
    constexpr std::uint32_t largestPacket = 16'000;
    CDeviceSettings device;
    device.addressing = addressing;
    device.largestPacket = std::min(interface.mtu, largestPacket);
    device.linkMbps = interface.linkMbps != 0 ? interface.linkMbps : device.linkMbps;
    device.allowRedirect = settings.allowRedirect;
    device.seed = seed;
    return device;
}

} // namespace

CServedCamera::CServedCamera(std::uint32_t number, const CAddressing& addressing, const CServedSettings& settings,
                             CServingNetwork& network, CRateBudgets& rates)
    : m_camera(number), m_faults(settings.seed + number), m_port(network, addressing) {
    for (const CFaultOrder& order : settings.faults) {
        m_faults.Set(order.fault, order.setting);
    }
    m_stream = std::make_unique<CStreamChannel>(m_camera, m_faults, rates, m_port.Addressing().address);
    m_device = std::make_unique<CDevice>(
        m_camera, *m_stream, m_faults, m_ticks, m_port, settings.description,
        DeviceSettings(settings, m_port.Addressing(), network.addresses.Interface(), settings.seed + number));
    m_serialNumber = m_device->SerialNumber();
    m_port.Attach(*m_device, [this](std::uint32_t address) { m_stream->SetAddress(address); });
}

CServedCamera::~CServedCamera() {
    m_port.Detach();
}

CServedCounts CServedCamera::Counts() const {
    return {m_device->Counts(), m_stream->Counts(), m_port.DroppedAnswers()};
}

void CServedCamera::Stop() noexcept {
    m_port.Detach();
    m_stream->Close();
}

} // namespace Serving
