// SPDX-License-Identifier: Apache-2.0
#include <serving/Device.h>

#include "Absence.h"
#include "Acquisition.h"
#include "Actions.h"
#include "Bootstrap.h"
#include "CameraRegisters.h"
#include "ChunkFormRegister.h"
#include "Commands.h"
#include "DescriptionMemory.h"
#include "DeviceState.h"
#include "FaultRegisters.h"
#include "MessageChannel.h"
#include "RegisterSpace.h"
#include "Session.h"
#include "StreamRegisters.h"
#include <core/Camera.h>
#include <core/RegisterMap.h>
#include <serving/AddressMap.h>

#include <algorithm>
#include <stdexcept>

namespace Serving {

namespace {

void CheckSize(const CServedDescription& description) {
    constexpr std::size_t kRoom = Address::kTextDescription - Address::kZippedDescription;
    if (description.zipped.size() > kRoom) {
        throw std::invalid_argument("The description " + description.name + " takes " +
                                    std::to_string(description.zipped.size()) + " bytes zipped, and the camera has " +
                                    std::to_string(kRoom));
    }
}

} // namespace

/// The parts of the control side, in the order in which they need each other.
class CDevice::CImpl {
public:
    CImpl(CamEmu::CCamera& served, IStream& stream, CServingFaults& faults, CTicks& ticks, IDeviceHost& host,
          const CServedDescription& description, const CDeviceSettings& settings)
        : camera(served), state(settings), acquisition(served, stream), channel(stream, acquisition, state),
          messages(served, stream, ticks, host, state), actions(served),
          bootstrap(served, ticks, state, channel, messages, actions), cameraRegisters(served, acquisition),
          faultRegisters(faults), chunkForm(channel), zipped(Address::kZippedDescription, description.zipped),
          text(Address::kTextDescription, description.text),
          session(state, faults, acquisition, channel, messages, bootstrap),
          commands(state, faults, session, space, bootstrap, actions, stream, host),
          absence(served, stream, faults, session, commands) {
        bootstrap.SetUrls(zipped.Url(description.name + ".zip"), text.Url(description.name + ".xml"));
        space.Add(0, GigEVision::Register::kEnd, bootstrap);
        space.Add(Address::kCamera, CCameraRegisters::Size(), cameraRegisters);
        space.Add(Address::kFaultSelector, CFaultRegisters::Size(), faultRegisters);
        space.Add(Address::kRemoval, 4, absence);
        space.Add(Address::kChunkForm, 4, chunkForm);
        space.Add(zipped.Address(), zipped.Size(), zipped);
        space.Add(text.Address(), text.Size(), text);
    }
    ~CImpl() { session.End(); }
    CImpl(const CImpl&) = delete;
    CImpl& operator=(const CImpl&) = delete;

    void OnDatagram(GigEVision::Bytes datagram, const CArrival& arrival);
    void OnTime(std::int64_t nowNs);
    std::int64_t NextDueNs() const;

    CamEmu::CCamera& camera;
    CDeviceState state;
    CAcquisition acquisition;
    CStreamRegisters channel;
    CMessageChannel messages;
    CActions actions;
    CBootstrap bootstrap;
    CCameraRegisters cameraRegisters;
    CFaultRegisters faultRegisters;
    CChunkFormRegister chunkForm;
    CFileMemory zipped, text;
    CRegisterSpace space;
    CSession session;
    CCommands commands;
    CAbsence absence;
};

// A command of the primary that waited to be read is a sign of life; for all others the heartbeat may have ended.
void CDevice::CImpl::OnDatagram(GigEVision::Bytes datagram, const CArrival& arrival) {
    absence.OnTime(arrival.atNs);
    if (absence.IsAway() || absence.CutsCable(arrival.atNs)) {
        return;
    }
    bootstrap.SetNow(arrival.atNs);
    acquisition.Look();
    if (!state.control.IsPrimary(arrival.from)) {
        session.OnTime(arrival.atNs);
    }
    commands.OnDatagram(datagram, arrival);
    absence.OnCommandDone(arrival.atNs);
}

void CDevice::CImpl::OnTime(std::int64_t nowNs) {
    bootstrap.SetNow(nowNs);
    absence.OnTime(nowNs);
    session.OnTime(nowNs);
    acquisition.Look();
    if (absence.IsAway()) {
        return;
    }
    commands.OnTime(nowNs);
    messages.OnTime(nowNs);
    absence.OnCommandDone(nowNs);
}

std::int64_t CDevice::CImpl::NextDueNs() const {
    const std::int64_t dueNs = std::min(state.control.DueNs(), absence.DueNs());
    return absence.IsAway() ? dueNs : std::min({dueNs, commands.DueNs(), messages.DueNs()});
}

CDevice::CDevice(CamEmu::CCamera& camera, IStream& stream, CServingFaults& faults, CTicks& ticks, IDeviceHost& host,
                 const CServedDescription& description, const CDeviceSettings& settings) {
    CheckSize(description);
    m_impl = std::make_unique<CImpl>(camera, stream, faults, ticks, host, description, settings);
}

CDevice::~CDevice() = default;

void CDevice::OnDatagram(GigEVision::Bytes datagram, const CArrival& arrival) {
    m_impl->OnDatagram(datagram, arrival);
}

void CDevice::OnMessageDatagram(GigEVision::Bytes datagram, const CArrival& arrival) {
    if (!m_impl->absence.IsAway()) {
        m_impl->messages.OnDatagram(datagram, arrival.from);
    }
}

void CDevice::OnTime(std::int64_t nowNs) {
    m_impl->OnTime(nowNs);
}

std::int64_t CDevice::NextDueNs() const {
    return m_impl->NextDueNs();
}

CAddressing CDevice::Addressing() const {
    return m_impl->state.addressing;
}

CEndpoint CDevice::Primary() const {
    return m_impl->state.control.Primary();
}

std::string CDevice::SerialNumber() const {
    return m_impl->camera.Text(CamEmu::Reg::kSerialNumber);
}

std::string CDevice::UserName() const {
    return m_impl->camera.Text(CamEmu::Reg::kUserId);
}

std::uint64_t CDevice::MacAddress() const {
    return m_impl->bootstrap.MacAddress();
}

CControlCounts CDevice::Counts() const {
    CControlCounts counts = m_impl->state.counts;
    counts.eventsDropped += m_impl->messages.Dropped();
    return counts;
}

} // namespace Serving
