// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/Export.h>
#include <zelmo/Interface.h>

#include <algorithm>

namespace Zelmo {

/// Appends to @p target, in order, the devices of @p source that satisfy one of the patterns in @p filter, each once.
/// @return how many that were.
ZELMO_API int ApplyDeviceFilter(const DeviceInfoList& source, const DeviceInfoList& filter, DeviceInfoList& target);

/// What interfaces have in common: enumeration with filter and sort, and public operations that forward to protected
/// ones. T is IInterface or derives from it.
template <class T>
class ZELMO_API CInterfaceBase : public T {
public:
    int EnumerateDevices(DeviceInfoList& list, bool addToList) override {
        return this->EnumerateDevices(list, DeviceInfoList(), addToList);
    }

    /// Sorts what it adds and leaves earlier entries where they are. @return how many devices were added with a filter,
    /// else the result of InternalEnumerateDevices.
    int EnumerateDevices(DeviceInfoList& list, const DeviceInfoList& filter, bool addToList) override {
        if (!addToList) {
            list.clear();
        }
        const auto start = static_cast<std::ptrdiff_t>(list.size());
        int result = 0;
        if (filter.empty()) {
            result = InternalEnumerateDevices(list);
        } else {
            DeviceInfoList found;
            InternalEnumerateDevices(found);
            result = ApplyDeviceFilter(found, filter, list);
        }
        std::sort(list.begin() + start, list.end());
        return result;
    }

    void Open() override { InternalOpen(); }
    void Close() override { InternalClose(); }
    bool IsOpen() const override { return InternalIsOpen(); }
    const CInterfaceInfo& GetInterfaceInfo() const override { return InternalGetInterfaceInfo(); }
    GenApi::INodeMap* GetNodeMap() override { return InternalGetNodeMap(); }

    virtual ~CInterfaceBase() = default;

protected:
    virtual void InternalOpen() = 0;
    virtual void InternalClose() = 0;
    virtual bool InternalIsOpen() const = 0;
    virtual const CInterfaceInfo& InternalGetInterfaceInfo() const = 0;
    virtual GenApi::INodeMap* InternalGetNodeMap() = 0;
    virtual int InternalEnumerateDevices(DeviceInfoList& list) = 0; ///< Appends all devices, in any order.
};

} // namespace Zelmo
