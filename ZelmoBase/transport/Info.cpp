// SPDX-License-Identifier: Apache-2.0
#include <zelmo/Info.h>

#include "ZelmoBase/transport/PropertyBag.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <string_view>
#include <utility>

namespace Zelmo {
namespace {

/// Kinds of transport in the order in which lists show them.
constexpr std::string_view kDeviceClasses[] = {
    "HarlixUsb",
    "HarlixGigE",
    "HarlixCameraLink",
    "Harlix1394",
    "HarlixGTC/Harlix/U3V",
    "HarlixGTC/Harlix/GEV",
    "HarlixGTC/Harlix/CXP",
    "HarlixMipex",
    "HarlixIPCam",
};
constexpr std::string_view kEmulatorClass = "HarlixCamEmu";

/// Higher ranks come first; classes that are not in the table have rank 0, and emulated cameras come after everything.
int DeviceClassRank(std::string_view deviceClass) {
    if (deviceClass == kEmulatorClass) {
        return std::numeric_limits<int>::min();
    }
    const auto found = std::find(std::begin(kDeviceClasses), std::end(kDeviceClasses), deviceClass);
    if (found == std::end(kDeviceClasses)) {
        return 0;
    }
    return std::numeric_limits<int>::max() - static_cast<int>(found - std::begin(kDeviceClasses));
}

const String_t& NotAvailable() {
    static const String_t kText("N/A");
    return kText;
}

} // namespace

CInfoImpl& CInfoBase::Impl() {
    if (!m_impl) {
        m_impl = new CInfoImpl;
    }
    return *m_impl;
}

const CInfoImpl& CInfoBase::Impl() const {
    static const CInfoImpl kEmpty;
    return m_impl ? *m_impl : kEmpty;
}

CInfoBase::CInfoBase() : m_impl(new CInfoImpl) {}

CInfoBase::CInfoBase(const CInfoBase& other) : IProperties(), m_impl(new CInfoImpl(other.Impl())) {}

CInfoBase::CInfoBase(CInfoBase&& other) noexcept : m_impl(std::exchange(other.m_impl, nullptr)) {}

CInfoBase& CInfoBase::operator=(const CInfoBase& other) {
    if (this != &other) {
        Impl() = other.Impl();
    }
    return *this;
}

CInfoBase& CInfoBase::operator=(CInfoBase&& other) noexcept {
    if (this != &other) {
        delete m_impl;
        m_impl = std::exchange(other.m_impl, nullptr);
    }
    return *this;
}

CInfoBase::~CInfoBase() {
    delete m_impl;
}

int CInfoBase::GetPropertyNames(StringList_t& names) const {
    return Impl().GetPropertyNames(names);
}

bool CInfoBase::GetPropertyAvailable(const String_t& name) const {
    return Impl().GetPropertyAvailable(name);
}

bool CInfoBase::GetPropertyValue(const String_t& name, String_t& value) const {
    return Impl().GetPropertyValue(name, value);
}

CInfoBase& CInfoBase::SetPropertyValue(const String_t& name, const String_t& value) {
    Impl().SetPropertyValue(name, value);
    return *this;
}

bool CInfoBase::IsSubset(const IProperties& other) const {
    return Impl().IsSubset(other);
}

bool CInfoBase::IsSubset(const IProperties& other, const IPropertyValueComparer* comparer) const {
    return Impl().IsSubset(other, comparer);
}

const String_t& CInfoBase::Property(const char* key) const {
    const String_t* const value = Impl().Find(key);
    return value ? *value : NotAvailable();
}

bool CInfoBase::IsUserProvided() const {
    return Impl().IsUserProvided();
}

void CInfoBase::ClearUserProvidedFlag() {
    Impl().ClearUserProvidedFlag();
}

String_t CInfoBase::GetPropertyNotAvailable() {
    return NotAvailable();
}

bool CInfoBase::operator==(const CInfoBase& other) const {
    return this == &other || Impl().HasSameContent(other.Impl());
}

bool CInfoBase::operator<(const CInfoBase& other) const {
    const String_t& deviceClass = Property("DeviceClass");
    const String_t& otherClass = other.Property("DeviceClass");
    if (deviceClass == otherClass) {
        return false;
    }
    const int rank = DeviceClassRank(deviceClass.view());
    const int otherRank = DeviceClassRank(otherClass.view());
    return rank == 0 && otherRank == 0 ? deviceClass < otherClass : rank > otherRank;
}

bool CTlInfo::IsSubset(const IProperties& other) const {
    return CInfoBase::IsSubset(other);
}

bool CInterfaceInfo::IsSubset(const IProperties& other) const {
    return CInfoBase::IsSubset(other);
}

bool CInterfaceInfo::operator<(const CInterfaceInfo& other) const {
    if (Property("DeviceClass") == other.Property("DeviceClass")) {
        return Property("InterfaceID") < other.Property("InterfaceID");
    }
    return CInfoBase::operator<(other);
}

} // namespace Zelmo
