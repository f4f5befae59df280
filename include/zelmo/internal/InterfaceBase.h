// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/Export.h>
#include <zelmo/Interface.h>

#include <algorithm>
#include <utility>

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
    /// else the result of InternalEnumerateDevices. Without a filter, what that appended before an exception stays.
    int EnumerateDevices(DeviceInfoList& list, const DeviceInfoList& filter, bool addToList) override {
        if (!addToList) {
            list.clear();
        }
        // A list of its own: earlier entries stay, whatever the layer does with what it is given.
        DeviceInfoList found;
        int result = 0;
        try {
            result = InternalEnumerateDevices(found);
        } catch (...) {
            if (filter.empty()) {
                Append(found, list);
            }
            throw;
        }
        const auto start = static_cast<std::ptrdiff_t>(list.size());
        if (filter.empty()) {
            Append(found, list);
        } else {
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

private:
    static void Append(DeviceInfoList& found, DeviceInfoList& list) {
        for (CDeviceInfo& device : found) {
            list.push_back(std::move(device));
        }
    }
};

} // namespace Zelmo
