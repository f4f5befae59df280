// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FakeDevice.h"
#include <zelmo/internal/InterfaceBase.h>

#include <atomic>
#include <vector>

namespace Fakes {

/// A transport layer with two devices, "1" and "2", or those of a derived class, that logs what it is called for. It is
/// not counted: see below.
class FakeTransportLayer : public Zelmo::ITransportLayer {
public:
    explicit FakeTransportLayer(const Zelmo::CTlInfo& info) : m_info(info) {}
    virtual ~FakeTransportLayer() = default;

    int EnumerateDevices(Zelmo::DeviceInfoList& list, bool addToList) override {
        return EnumerateDevices(list, Zelmo::DeviceInfoList(), addToList);
    }
    int EnumerateDevices(Zelmo::DeviceInfoList& list, const Zelmo::DeviceInfoList& filter, bool addToList) override {
        if (!addToList) {
            list.clear();
        }
        Zelmo::DeviceInfoList all;
        for (const Zelmo::String_t& serial : Serials()) {
            all.push_back(Device(serial));
        }
        Zelmo::DeviceInfoList everything(1);
        return Zelmo::ApplyDeviceFilter(all, filter.empty() ? everything : filter, list);
    }

    Zelmo::IZelmoDevice* CreateDevice(const Zelmo::CDeviceInfo& info) override { return Make("CreateDevice()", info); }
    Zelmo::IZelmoDevice* CreateFirstDevice(const Zelmo::CDeviceInfo& info) override {
        return Make("CreateFirstDevice()", info);
    }
    Zelmo::IZelmoDevice* CreateDevice(const Zelmo::CDeviceInfo& info, const Zelmo::StringList_t& strings) override {
        return Make(strings.empty() ? "CreateDevice" : strings[0].c_str(), info);
    }
    Zelmo::IZelmoDevice* CreateFirstDevice(const Zelmo::CDeviceInfo& info,
                                           const Zelmo::StringList_t& strings) override {
        return Make(strings.empty() ? "CreateFirstDevice" : strings[0].c_str(), info);
    }
    Zelmo::IZelmoDevice* CreateDevice(const Zelmo::String_t& fullName) override {
        Zelmo::CDeviceInfo info = Device("?");
        return Make("CreateDevice by name", info.SetFullName(fullName));
    }
    void DestroyDevice(Zelmo::IZelmoDevice* device) override {
        LogCall("DestroyDevice %s", device->GetDeviceInfo().GetSerialNumber().c_str());
        delete static_cast<FakeDevice*>(device);
    }
    bool IsDeviceAccessible(const Zelmo::CDeviceInfo& info, Zelmo::AccessModeSet modes,
                            Zelmo::EDeviceAccessiblityInfo* accessibilityInfo) override {
        if (accessibilityInfo) {
            *accessibilityInfo = Zelmo::DeviceAccessibility_InUse;
        }
        LogCall("IsDeviceAccessible %s for %lu", info.GetSerialNumber().c_str(), modes.to_ulong());
        return true;
    }
    Zelmo::CTlInfo GetTlInfo() const override { return m_info; }

protected:
    Zelmo::CDeviceInfo Device(const Zelmo::String_t& serial) const {
        Zelmo::CDeviceInfo info;
        info.SetDeviceClass(m_info.GetDeviceClass()).SetSerialNumber(serial);
        return info.SetFullName(m_info.GetFullName() + "/" + serial);
    }

    virtual std::vector<Zelmo::String_t> Serials() const { return {"1", "2"}; }
    virtual FakeDevice* New(const Zelmo::CDeviceInfo& info) const { return new FakeDevice(info); }

private:
    Zelmo::IZelmoDevice* Make(const char* operation, const Zelmo::CDeviceInfo& info) const {
        LogCall("%s %s", operation, info.GetSerialNumber().c_str());
        return New(info);
    }

    Zelmo::CTlInfo m_info;
};

/// The same with a reference counter.
class CountedTransportLayer : public FakeTransportLayer, public Zelmo::ITransportLayerPrivate {
public:
    using FakeTransportLayer::FakeTransportLayer;

    void AddRef() override { ++m_references; }
    int Release() override { return --m_references; }
    int GetReferenceCount() const override { return m_references; }
    bool HasPrivateProperty(int) const override { return false; }
    std::size_t GetPrivateProperty(int, void*, std::size_t) const override { return 0; }
    void SetPrivateProperty(int id, const void* data, std::size_t sizeBytes) override {
        LogCall("%s SetPrivateProperty %d %zu %d", GetTlInfo().GetDeviceClass().c_str(), id, sizeBytes,
                static_cast<int>(*static_cast<const unsigned char*>(data)));
    }

private:
    std::atomic<int> m_references{0};
};

inline Zelmo::CTlInfo TlInfo(const char* deviceClass) {
    Zelmo::CTlInfo info;
    info.SetDeviceClass(deviceClass).SetFullName(Zelmo::String_t("Fake/") + deviceClass);
    return info;
}

} // namespace Fakes
