// SPDX-License-Identifier: Apache-2.0
#pragma once

/// What node maps are made of. A real camera's first one is read from the camera.
namespace Minimal {

/// The features of the camera; the addresses are those of MinimalCamera::Register.
inline constexpr char kDescription[] = R"(<?xml version="1.0" encoding="utf-8"?>
<RegisterDescription ModelName="Minimal" VendorName="Example" StandardNameSpace="None"
    SchemaMajorVersion="1" SchemaMinorVersion="1" SchemaSubMinorVersion="0"
    MajorVersion="1" MinorVersion="0" SubMinorVersion="0"
    ProductGuid="5E1F7A2C-8B3D-4E6F-9A0B-1C2D3E4F5A6B" VersionGuid="0A9B8C7D-6E5F-4D3C-8B2A-190817263544"
    xmlns="http://www.genicam.org/GenApi/Version_1_1">
  <Category Name="Root">
    <pFeature>ImageFormatControl</pFeature>
    <pFeature>AcquisitionControl</pFeature>
    <pFeature>ChunkDataControl</pFeature>
    <pFeature>EventControl</pFeature>
    <pFeature>DeviceControl</pFeature>
  </Category>
  <Category Name="ImageFormatControl">
    <pFeature>Width</pFeature>
    <pFeature>Height</pFeature>
    <pFeature>PixelFormat</pFeature>
    <pFeature>Brightness</pFeature>
    <pFeature>PayloadSize</pFeature>
  </Category>
  <Category Name="AcquisitionControl">
    <pFeature>AcquisitionMode</pFeature>
    <pFeature>AcquisitionStart</pFeature>
    <pFeature>AcquisitionStop</pFeature>
  </Category>
  <Category Name="ChunkDataControl"><pFeature>ChunkModeActive</pFeature></Category>
  <Category Name="EventControl">
    <pFeature>EventSelector</pFeature>
    <pFeature>EventNotification</pFeature>
    <pFeature>TestEventGenerate</pFeature>
    <pFeature>EventTestData</pFeature>
  </Category>
  <Category Name="EventTestData">
    <pFeature>EventTest</pFeature>
    <pFeature>EventTestTimestamp</pFeature>
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
  <IntSwissKnife Name="PayloadSize">
    <ToolTip>Bytes of an image: the pixels, and with chunks the pixels' trailer, the time stamp and its trailer</ToolTip>
    <pVariable Name="CHUNKS">ChunkModeActiveReg</pVariable>
    <Formula>CHUNKS ? 64 * 48 + 24 : 64 * 48</Formula>
  </IntSwissKnife>
  <Boolean Name="ChunkModeActive">
    <ToolTip>Sends the time stamp along with each image</ToolTip>
    <pIsLocked>TLParamsLocked</pIsLocked>
    <Streamable>Yes</Streamable>
    <pValue>ChunkModeActiveReg</pValue>
  </Boolean>
  <Enumeration Name="EventSelector">
    <EnumEntry Name="Test"><Value>0</Value></EnumEntry>
    <Value>0</Value>
    <pSelected>EventNotification</pSelected>
  </Enumeration>
  <Enumeration Name="EventNotification">
    <ToolTip>Whether the selected event is sent</ToolTip>
    <Streamable>Yes</Streamable>
    <EnumEntry Name="Off"><Value>0</Value></EnumEntry>
    <EnumEntry Name="On"><Value>1</Value></EnumEntry>
    <pValue>EventNotificationReg</pValue>
  </Enumeration>
  <Command Name="TestEventGenerate">
    <ToolTip>Raises the event Test</ToolTip><pValue>TestEventGenerateReg</pValue><CommandValue>1</CommandValue>
  </Command>
  <Integer Name="EventTest">
    <ToolTip>Id of the event: who registers here is called when it comes</ToolTip><pValue>EventTestReg</pValue>
  </Integer>
  <Integer Name="EventTestTimestamp">
    <ToolTip>When it was raised, by the camera's clock</ToolTip><pValue>EventTestTimestampReg</pValue><Unit>ns</Unit>
  </Integer>
  <Enumeration Name="AcquisitionMode">
    <EnumEntry Name="Continuous"><Value>0</Value></EnumEntry>
    <Value>0</Value>
  </Enumeration>
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
  <IntReg Name="ChunkModeActiveReg">
    <Address>0x14</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>
    <Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess>
  </IntReg>
  <IntReg Name="EventNotificationReg">
    <Address>0x18</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>
    <Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess>
  </IntReg>
  <IntReg Name="TestEventGenerateReg">
    <Address>0x1C</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>
    <Cachable>NoCache</Cachable><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess>
  </IntReg>
  <Port Name="Device"/>
  <IntReg Name="EventTestReg">
    <Address>0</Address><Length>8</Length><AccessMode>RO</AccessMode><pPort>EventTestPort</pPort>
    <Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess>
  </IntReg>
  <IntReg Name="EventTestTimestampReg">
    <Address>8</Address><Length>8</Length><AccessMode>RO</AccessMode><pPort>EventTestPort</pPort>
    <Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess>
  </IntReg>
  <Port Name="EventTestPort"><EventID>9001</EventID></Port>
</RegisterDescription>)";

/// What the camera appends to an image: the nodes of the chunks.
inline constexpr char kChunkDescription[] = R"(<?xml version="1.0" encoding="utf-8"?>
<RegisterDescription ModelName="MinimalChunks" VendorName="Example" StandardNameSpace="None"
    SchemaMajorVersion="1" SchemaMinorVersion="1" SchemaSubMinorVersion="0"
    MajorVersion="1" MinorVersion="0" SubMinorVersion="0"
    ProductGuid="7D4E2B90-63A5-4C1B-8F27-0E9A5B6C7D81" VersionGuid="2F6A8C04-D1B3-4E57-9A68-7C5B4A39281F"
    xmlns="http://www.genicam.org/GenApi/Version_1_1">
  <Category Name="Root"><pFeature>ChunkTimestamp</pFeature></Category>
  <Integer Name="ChunkTimestamp">
    <ToolTip>When the image was taken, by the camera's clock</ToolTip><pValue>ChunkTimestampReg</pValue><Unit>ns</Unit>
  </Integer>
  <IntReg Name="ChunkTimestampReg">
    <Address>0</Address><Length>8</Length><AccessMode>RO</AccessMode><pPort>ChunkTimestampPort</pPort>
    <Sign>Unsigned</Sign><Endianess>BigEndian</Endianess>
  </IntReg>
  <Port Name="ChunkTimestampPort"><ChunkID>2</ChunkID></Port>
</RegisterDescription>)";

/// The parameters of the connection.
inline constexpr char kConnectionDescription[] = R"(<?xml version="1.0" encoding="utf-8"?>
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

} // namespace Minimal
