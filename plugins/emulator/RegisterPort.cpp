// SPDX-License-Identifier: Apache-2.0
#include "RegisterPort.h"

#include "Descriptions.h"
#include "common/Boundary.h"

#include <Base/GCException.h>

#include <cstdio>
#include <cstring>

namespace CamEmu {

namespace {

constexpr std::int64_t kDescriptionAddress = 0x100000;
constexpr std::int64_t kRemovalAddress = 0x200000; // SimulateRemoval in CamEmu.xml

template <class Operation>
void Counted(CRegisterPort::CCount& count, Operation operation) {
    ++count.all;
    try {
        operation();
    } catch (...) {
        ++count.failed;
        throw;
    }
}

void Check(EAccessResult result, const char* attempt, std::int64_t address, std::int64_t length) {
    const auto from = static_cast<unsigned long long>(address);
    const auto bytes = static_cast<long long>(length);
    switch (result) {
    case EAccessResult::Ok:
        return;
    case EAccessResult::NotReadable:
    case EAccessResult::NotWritable:
        throw ACCESS_EXCEPTION("Cannot %s %lld bytes at 0x%llX: the camera does not permit it.", attempt, bytes, from);
    case EAccessResult::Locked:
        throw ACCESS_EXCEPTION("Cannot %s %lld bytes at 0x%llX: locked while images are streamed.", attempt, bytes,
                               from);
    case EAccessResult::InvalidValue:
        throw OUT_OF_RANGE_EXCEPTION("Cannot %s %lld bytes at 0x%llX: the camera refuses the value.", attempt, bytes,
                                     from);
    default:
        throw RUNTIME_EXCEPTION("Cannot %s %lld bytes at 0x%llX: the camera has no such register.", attempt, bytes,
                                from);
    }
}

bool IsInDescription(std::int64_t address, std::int64_t length, std::size_t size) {
    return address >= kDescriptionAddress && length >= 0 && length <= static_cast<std::int64_t>(size) &&
           address - kDescriptionAddress <= static_cast<std::int64_t>(size) - length;
}

bool IsOne(const void* bytes, std::int64_t length) {
    std::uint32_t value = 0;
    if (length != sizeof value) {
        return false;
    }
    std::memcpy(&value, bytes, sizeof value);
    return value == 1;
}

// Reaches the camera with an operation that gives an EAccessResult.
template <class Operation>
void Access(CCameraLink& link, const char* attempt, std::int64_t address, std::int64_t length, Operation operation) {
    EAccessResult result = EAccessResult::Ok;
    if (!link.Access([&](CCamera& camera) { result = operation(camera); })) {
        throw RUNTIME_EXCEPTION("Cannot %s %lld bytes at 0x%llX: the camera was removed.", attempt,
                                static_cast<long long>(length), static_cast<unsigned long long>(address));
    }
    Check(result, attempt, address, length);
}

} // namespace

void CRegisterPort::Open(GenApi::EAccessMode mode) {
    m_accessMode = mode;
    for (CCount* const count : {&m_reads, &m_writes}) {
        count->all = count->failed = 0;
    }
}

void CRegisterPort::Read(void* bytes, std::int64_t address, std::int64_t length) {
    Counted(m_reads, [&] {
        Access(m_link, "read", address, length, [&](CCamera& camera) {
            const std::string_view text = DescriptionText(kCameraDescription);
            if (IsInDescription(address, length, text.size())) {
                std::memcpy(bytes, text.data() + (address - kDescriptionAddress), static_cast<std::size_t>(length));
                return EAccessResult::Ok;
            }
            // a negative length or address is beyond all registers
            return camera.Read(static_cast<std::uint64_t>(address), bytes, static_cast<std::size_t>(length));
        });
    });
}

void CRegisterPort::Write(const void* bytes, std::int64_t address, std::int64_t length) {
    Counted(m_writes, [&] {
        if (m_accessMode != GenApi::RW) {
            throw ACCESS_EXCEPTION("Cannot write %lld bytes at 0x%llX: the device was opened without control.",
                                   static_cast<long long>(length), static_cast<unsigned long long>(address));
        }
        bool isPulled = false;
        Access(m_link, "write", address, length, [&](CCamera& camera) {
            if (address == kRemovalAddress) {
                const std::uint32_t delayImages = camera.RemovalSettings().delayImages;
                if (!IsOne(bytes, length)) {
                    return EAccessResult::InvalidValue;
                }
                camera.Faults().RemoveAfter(delayImages);
                isPulled = delayImages == 0;
                return EAccessResult::Ok;
            }
            // only AcquisitionStart throws: image files that it is to show may be missing or broken
            return PluginKit::AtBoundary("start the acquisition", [&] {
                return camera.Write(static_cast<std::uint64_t>(address), bytes, static_cast<std::size_t>(length));
            });
        });
        if (isPulled) {
            m_link.Pull();
        }
    });
}

std::string CRegisterPort::DescriptionUrl() {
    char url[64];
    std::snprintf(url, sizeof url, "Local:CamEmu.xml;%llX;%zX", static_cast<unsigned long long>(kDescriptionAddress),
                  DescriptionText(kCameraDescription).size());
    return url;
}

} // namespace CamEmu
