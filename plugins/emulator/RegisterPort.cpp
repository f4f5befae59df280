#include "RegisterPort.h"

#include "Descriptions.h"

#include <Base/GCException.h>

#include <cstdio>
#include <cstring>

namespace CamEmu {

namespace {

constexpr std::int64_t descriptionAddress = 0x100000;

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
    return address >= descriptionAddress && length >= 0 && length <= static_cast<std::int64_t>(size) &&
           address - descriptionAddress <= static_cast<std::int64_t>(size) - length;
}

} // namespace

void CRegisterPort::Read(void* bytes, std::int64_t address, std::int64_t length) {
    const std::string_view text = DescriptionText(cameraDescription);
    if (IsInDescription(address, length, text.size())) {
        std::memcpy(bytes, text.data() + (address - descriptionAddress), static_cast<std::size_t>(length));
        return;
    }
    // a negative length or address is beyond all registers
    Check(m_camera.Read(static_cast<std::uint64_t>(address), bytes, static_cast<std::size_t>(length)), "read", address,
          length);
}

void CRegisterPort::Write(const void* bytes, std::int64_t address, std::int64_t length) {
    if (m_accessMode != GenApi::RW)
        throw ACCESS_EXCEPTION("Cannot write %lld bytes at 0x%llX: the device was opened without control.",
                               static_cast<long long>(length), static_cast<unsigned long long>(address));
    Check(m_camera.Write(static_cast<std::uint64_t>(address), bytes, static_cast<std::size_t>(length)), "write",
          address, length);
}

std::string CRegisterPort::DescriptionUrl() {
    char url[64];
    std::snprintf(url, sizeof url, "Local:CamEmu.xml;%llX;%zX", static_cast<unsigned long long>(descriptionAddress),
                  DescriptionText(cameraDescription).size());
    return url;
}

} // namespace CamEmu
