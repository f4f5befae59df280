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
  <Category Name="Root"><pFeature>ImageFormatControl</pFeature></Category>
  <Category Name="ImageFormatControl">
    <pFeature>Width</pFeature>
    <pFeature>Height</pFeature>
    <pFeature>PixelFormat</pFeature>
  </Category>
  <Integer Name="Width">
    <ToolTip>Pixels in a line</ToolTip><ImposedAccessMode>RO</ImposedAccessMode><Value>64</Value>
  </Integer>
  <Integer Name="Height">
    <ToolTip>Lines</ToolTip><ImposedAccessMode>RO</ImposedAccessMode><Value>48</Value>
  </Integer>
  <Enumeration Name="PixelFormat">
    <EnumEntry Name="Mono8"><Value>0x01080001</Value></EnumEntry>
    <Value>0x01080001</Value>
  </Enumeration>
</RegisterDescription>)";

} // namespace

void MinimalDevice::Open(Zelmo::AccessModeSet modes) {
    if (IsOpen()) {
        throw LOGICAL_ERROR_EXCEPTION("Cannot open camera %s: it is open already.", m_info.GetSerialNumber().c_str());
    }
    NodeMapPtr nodeMap = MakeNodeMap(kDescription);
    m_tlNodeMap.reset(Zelmo::CreateDefaultTransportLayerParamsNodeMap());
    m_nodeMap = std::move(nodeMap); // from here on nothing fails: the device is open
    m_modes = modes;
}

void MinimalDevice::Close() {
    m_stream.Close();
    m_modes.reset();
    m_nodeMap.reset();
    m_tlNodeMap.reset();
}

void MinimalDevice::GetDescription(Zelmo::String_t& url, Zelmo::String_t& bytes) {
    url = "Local:minimal.xml";
    bytes = kDescription;
}

} // namespace Minimal
