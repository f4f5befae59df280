// SPDX-License-Identifier: Apache-2.0
#include "MinimalDevice.h"

namespace Minimal {
namespace {

constexpr char kDescription[] = R"(<?xml version="1.0" encoding="utf-8"?>
<RegisterDescription ModelName="Minimal" VendorName="Example" StandardNameSpace="None"
    SchemaMajorVersion="1" SchemaMinorVersion="1" SchemaSubMinorVersion="0"
    MajorVersion="1" MinorVersion="0" SubMinorVersion="0"
    ProductGuid="5E1F7A2C-8B3D-4E6F-9A0B-1C2D3E4F5A6B" VersionGuid="0A9B8C7D-6E5F-4D3C-8B2A-190817263544"
    xmlns="http://www.genicam.org/GenApi/Version_1_1">
  <Category Name="Root">
    <pFeature>ImageFormatControl</pFeature>
    <pFeature>AcquisitionControl</pFeature>
    <pFeature>DeviceControl</pFeature>
  </Category>
  <Category Name="ImageFormatControl">
    <pFeature>Width</pFeature>
    <pFeature>Height</pFeature>
    <pFeature>PixelFormat</pFeature>
    <pFeature>Brightness</pFeature>
  </Category>
  <Category Name="AcquisitionControl">
    <pFeature>AcquisitionStart</pFeature>
    <pFeature>AcquisitionStop</pFeature>
  </Category>
  <Category Name="DeviceControl">
    <pFeature>TLParamsLocked</pFeature>
    <pFeature>SimulateRemoval</pFeature>
  </Category>
  <Integer Name="Width">
    <ToolTip>Pixels in a line</ToolTip><ImposedAccessMode>RO</ImposedAccessMode><Value>64</Value>
  </Integer>
  <Integer Name="Height">
    <ToolTip>Lines</ToolTip><ImposedAccessMode>RO</ImposedAccessMode><Value>48</Value>
  </Integer>
  <Enumeration Name="PixelFormat">
    <ImposedAccessMode>RO</ImposedAccessMode>
    <EnumEntry Name="Mono8"><Value>0x01080001</Value></EnumEntry>
    <Value>0x01080001</Value>
  </Enumeration>
  <Integer Name="Brightness">
    <ToolTip>Grey value of the darkest column</ToolTip>
    <pIsLocked>TLParamsLocked</pIsLocked>
    <Streamable>Yes</Streamable>
    <pValue>BrightnessReg</pValue><Min>0</Min><Max>255</Max>
  </Integer>
  <Command Name="AcquisitionStart">
    <pValue>AcquisitionStartReg</pValue><CommandValue>1</CommandValue>
  </Command>
  <Command Name="AcquisitionStop">
    <pValue>AcquisitionStopReg</pValue><CommandValue>1</CommandValue>
  </Command>
  <Integer Name="TLParamsLocked">
    <ToolTip>1 from the preparation of a grab to its end</ToolTip><Visibility>Invisible</Visibility>
    <pValue>TLParamsLockedReg</pValue><Min>0</Min><Max>1</Max>
  </Integer>
  <Command Name="SimulateRemoval">
    <ToolTip>Pulls the cable</ToolTip><pValue>SimulateRemovalReg</pValue><CommandValue>1</CommandValue>
  </Command>
  <IntReg Name="AcquisitionStartReg">
    <Address>0x00</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>
    <Cachable>NoCache</Cachable><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess>
  </IntReg>
  <IntReg Name="AcquisitionStopReg">
    <Address>0x04</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>
    <Cachable>NoCache</Cachable><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess>
  </IntReg>
  <IntReg Name="TLParamsLockedReg">
    <Address>0x08</Address><Length>4</Length><AccessMode>RO</AccessMode><pPort>Device</pPort>
    <Cachable>NoCache</Cachable><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess>
  </IntReg>
  <IntReg Name="BrightnessReg">
    <Address>0x0C</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>
    <Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess>
  </IntReg>
  <IntReg Name="SimulateRemovalReg">
    <Address>0x10</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>
    <Cachable>NoCache</Cachable><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess>
  </IntReg>
  <Port Name="Device"/>
</RegisterDescription>)";

constexpr char kConnectionDescription[] = R"(<?xml version="1.0" encoding="utf-8"?>
<RegisterDescription ModelName="MinimalConnection" VendorName="Example" StandardNameSpace="None"
    SchemaMajorVersion="1" SchemaMinorVersion="1" SchemaSubMinorVersion="0"
    MajorVersion="1" MinorVersion="0" SubMinorVersion="0"
    ProductGuid="B1D6A6A4-31C0-4F0E-8C57-7F1E0C5D2A90" VersionGuid="6C0E9D52-9B7A-4C1D-A5E3-2F4B6D8C0E1A"
    xmlns="http://www.genicam.org/GenApi/Version_1_1">
  <Category Name="Root"><pFeature>FramePeriod</pFeature></Category>
  <Integer Name="FramePeriod">
    <ToolTip>Time from image to image; taken over when streaming starts</ToolTip>
    <Streamable>Yes</Streamable>
    <Value>10</Value><Min>1</Min><Max>1000</Max><Unit>ms</Unit>
  </Integer>
</RegisterDescription>)";

} // namespace

MinimalDevice::MinimalDevice(Zelmo::ITransportLayer& transportLayer, MinimalCamera& camera,
                             const Zelmo::CDeviceInfo& info)
    : m_transportLayer(transportLayer), m_camera(camera), m_info(info), m_port(camera),
      m_tlNodeMap(MakeNodeMap(kConnectionDescription)), m_stream(camera, *m_tlNodeMap) {}

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
    m_isOpen = true;
}

void MinimalDevice::Close() {
    if (!IsOpen()) {
        return;
    }
    m_isOpen = false;
    m_stream.Close();
    m_stream.Permit(false);
    m_nodeMap.reset();
    if (m_modes.test(Zelmo::Control)) {
        m_camera.ReleaseControl();
    }
    m_modes.reset();
    m_camera.Leave();
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

} // namespace Minimal
