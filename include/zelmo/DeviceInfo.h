// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/Info.h>

namespace Zelmo {

/// What is known of a device without opening it, or a pattern to look for one: fill in only what matters.
/// All values are texts, also numbers and addresses.
///
/// `device.IsSubset(pattern)` compares addresses by value: 192.168.0.1 satisfies 192.168.000.001. As with C literals,
/// a leading 0 in a field means octal and 0x hexadecimal. An "Address" is IP, ":", port; without a port it is 0.
/// @throws GenICam::RuntimeException from IsSubset for a text that is no address.
class ZELMO_API CDeviceInfo : public CInfoBase {
public:
    bool IsSubset(const IProperties& other) const override;

    /// By serial number within one device class: numbers by value and before all other texts.
    bool operator<(const CDeviceInfo& other) const;

    /// How the device may get its IP address, and how it got the present one.
    /// @throws GenICam::InvalidArgumentException when the transport layer does not tell.
    bool IsPersistentIpActive() const;
    bool IsDhcpActive() const;
    bool IsAutoIpActive() const;
    bool IsPersistentIpSupported() const;
    bool IsDhcpSupported() const;
    bool IsAutoIpSupported() const;

    ZELMO_INFO_PROPERTY(CDeviceInfo, FriendlyName, "FriendlyName")
    ZELMO_INFO_PROPERTY(CDeviceInfo, FullName, "FullName")
    ZELMO_INFO_PROPERTY(CDeviceInfo, VendorName, "VendorName")
    ZELMO_INFO_PROPERTY(CDeviceInfo, DeviceClass, "DeviceClass")
    ZELMO_INFO_PROPERTY(CDeviceInfo, TLType, "TLType")

    ZELMO_INFO_PROPERTY(CDeviceInfo, SerialNumber, "SerialNumber")
    ZELMO_INFO_PROPERTY(CDeviceInfo, UserDefinedName, "UserDefinedName")
    ZELMO_INFO_PROPERTY(CDeviceInfo, ModelName, "ModelName")
    ZELMO_INFO_PROPERTY(CDeviceInfo, DeviceVersion, "DeviceVersion")
    ZELMO_INFO_PROPERTY(CDeviceInfo, DeviceFactory, "DeviceFactory")
    ZELMO_INFO_PROPERTY(CDeviceInfo, XMLSource, "XMLSource")
    ZELMO_INFO_PROPERTY(CDeviceInfo, InterfaceID, "InterfaceID")
    ZELMO_INFO_PROPERTY(CDeviceInfo, DeviceID, "DeviceID")
    ZELMO_INFO_PROPERTY(CDeviceInfo, Address, "Address")
    ZELMO_INFO_PROPERTY(CDeviceInfo, IpAddress, "IpAddress")
    ZELMO_INFO_PROPERTY(CDeviceInfo, DefaultGateway, "DefaultGateway")
    ZELMO_INFO_PROPERTY(CDeviceInfo, SubnetMask, "SubnetMask")
    ZELMO_INFO_PROPERTY(CDeviceInfo, SubnetAddress, "SubnetAddress")
    ZELMO_INFO_PROPERTY(CDeviceInfo, PortNr, "PortNr")
    ZELMO_INFO_PROPERTY(CDeviceInfo, MacAddress, "MacAddress")
    ZELMO_INFO_PROPERTY(CDeviceInfo, Interface, "Interface")
    ZELMO_INFO_PROPERTY(CDeviceInfo, IpConfigOptions, "IpConfigOptions")
    ZELMO_INFO_PROPERTY(CDeviceInfo, IpConfigCurrent, "IpConfigCurrent")
    ZELMO_INFO_PROPERTY(CDeviceInfo, DeviceIdx, "DeviceIdx")
    ZELMO_INFO_PROPERTY(CDeviceInfo, VendorId, "VendorId")
    ZELMO_INFO_PROPERTY(CDeviceInfo, ProductId, "ProductId")
    ZELMO_INFO_PROPERTY(CDeviceInfo, DriverKeyName, "DriverKeyName")
    ZELMO_INFO_PROPERTY(CDeviceInfo, UsbDriverType, "UsbDriverTypeName") // key and accessor differ on purpose
    ZELMO_INFO_PROPERTY(CDeviceInfo, TransferMode, "TransferModeKey")    // likewise
    ZELMO_INFO_PROPERTY(CDeviceInfo, InternalName, "InternalName")
    ZELMO_INFO_PROPERTY(CDeviceInfo, MipexAdapterLibraryName, "MipexAdapterLibraryName")
    ZELMO_INFO_PROPERTY(CDeviceInfo, MipexAdapterLibraryVersion, "MipexAdapterLibraryVersion")
    ZELMO_INFO_PROPERTY(CDeviceInfo, MipexAdapterLibraryApiVersion, "MipexAdapterLibraryApiVersion")
    ZELMO_INFO_PROPERTY(CDeviceInfo, SupportedMipexAdapterApiVersion, "SupportedMipexAdapterApiVersion")
    ZELMO_INFO_PROPERTY(CDeviceInfo, PortID, "PortID")
    ZELMO_INFO_PROPERTY(CDeviceInfo, InitialBaudRate, "InitialBaudRate")
    ZELMO_INFO_PROPERTY(CDeviceInfo, DeviceXMLFileOverride, "DeviceXMLFileOverride")
    ZELMO_INFO_PROPERTY(CDeviceInfo, DeviceSpecificString, "DeviceSpecificString")
    ZELMO_INFO_PROPERTY(CDeviceInfo, PortSpecificString, "PortSpecificString")
    ZELMO_INFO_PROPERTY(CDeviceInfo, ManufacturerInfo, "ManufacturerInfo")
    ZELMO_INFO_PROPERTY(CDeviceInfo, DeviceGUID, "DeviceGUID")
};

/// Device infos that begin with the device class of one kind of transport. The constructor from a CDeviceInfo copies it
/// as it is and checks nothing.
class ZELMO_API CHarlixCamEmuDeviceInfo : public CDeviceInfo {
public:
    CHarlixCamEmuDeviceInfo();
    CHarlixCamEmuDeviceInfo(const CDeviceInfo& info) : CDeviceInfo(info) {}
};

class ZELMO_API CHarlixGigEDeviceInfo : public CDeviceInfo {
public:
    CHarlixGigEDeviceInfo(); ///< Sets the control port as well: "3956", as GigE Vision assigns it.
    CHarlixGigEDeviceInfo(const CDeviceInfo& info) : CDeviceInfo(info) {}
};

class ZELMO_API CHarlixUsbDeviceInfo : public CDeviceInfo {
public:
    CHarlixUsbDeviceInfo();
    CHarlixUsbDeviceInfo(const CDeviceInfo& info) : CDeviceInfo(info) {}
};

class ZELMO_API CHarlixMipexDeviceInfo : public CDeviceInfo {
public:
    CHarlixMipexDeviceInfo();
    CHarlixMipexDeviceInfo(const CDeviceInfo& info) : CDeviceInfo(info) {}
};

using DeviceInfoList = TList<CDeviceInfo>;

extern template class TList<CDeviceInfo>;

} // namespace Zelmo
