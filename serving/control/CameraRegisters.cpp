// SPDX-License-Identifier: Apache-2.0
#include "CameraRegisters.h"

#include "Acquisition.h"
#include "AddressMap.h"

#include "core/Camera.h"
#include "core/RegisterMap.h"

#include <algorithm>
#include <array>

namespace Serving {

using GigEVision::Status;

namespace {

constexpr std::uint32_t kLargestNumber = 8; // longer ones are texts

const CamEmu::CRegister* Find(std::uint32_t address) {
    const auto all = CamEmu::Registers();
    const auto behind = std::upper_bound(all.begin(), all.end(), address,
                                         [](std::uint32_t a, const CamEmu::CRegister& r) { return a < r.address; });
    if (behind == all.begin()) {
        return nullptr;
    }
    const CamEmu::CRegister& candidate = *std::prev(behind);
    return address - candidate.address < candidate.length ? &candidate : nullptr;
}

// Where these bytes of a register lie in the camera.
std::uint32_t PlaceOf(const CamEmu::CRegister& found, std::uint32_t address, std::size_t length) {
    if (found.length > kLargestNumber) {
        return address;
    }
    const auto offset = address - found.address;
    return found.address + found.length - offset - static_cast<std::uint32_t>(length);
}

Status StatusOf(CamEmu::EAccessResult result) {
    switch (result) {
    case CamEmu::EAccessResult::Ok:
        return Status::Success;
    case CamEmu::EAccessResult::NoSuchRegister:
        return Status::InvalidAddress;
    case CamEmu::EAccessResult::NotWritable:
        return Status::WriteProtect;
    case CamEmu::EAccessResult::InvalidValue:
        return Status::InvalidParameter;
    default: // not readable; locked now
        return Status::AccessDenied;
    }
}

} // namespace

Status WriteCamera(CamEmu::CCamera& camera, std::uint64_t address, GigEVision::Bytes bytes) noexcept {
    try {
        return StatusOf(camera.Write(address, bytes.data(), bytes.size()));
    } catch (const std::exception&) { // image files that cannot be read
        return Status::Error;
    }
}

std::uint32_t CCameraRegisters::Size() {
    const CamEmu::CRegister& last = CamEmu::Registers().back();
    return last.address + last.length;
}

Status CCameraRegisters::Read(std::uint32_t address, GigEVision::MutableBytes bytes) {
    address -= Address::kCamera;
    while (!bytes.empty()) {
        const CamEmu::CRegister* const found = Find(address);
        if (!found) {
            return Status::InvalidAddress;
        }
        const std::size_t length = std::min<std::size_t>(bytes.size(), found->address + found->length - address);
        const Status status = StatusOf(m_camera.Read(PlaceOf(*found, address, length), bytes.data(), length));
        if (GigEVision::IsError(status)) {
            return status;
        }
        if (found->length <= kLargestNumber) {
            std::reverse(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(length));
        }
        bytes = bytes.subspan(length);
        address += static_cast<std::uint32_t>(length);
    }
    return Status::Success;
}

std::uint32_t CCameraRegisters::UnitBytes(std::uint32_t address) const {
    const CamEmu::CRegister* const found = Find(address - Address::kCamera);
    return found ? found->address + found->length - (address - Address::kCamera) : 4;
}

Status CCameraRegisters::Write(std::uint32_t address, GigEVision::Bytes bytes) {
    address -= Address::kCamera;
    const CamEmu::CRegister* const found = Find(address);
    if (!found) {
        return Status::InvalidAddress;
    }
    const std::uint32_t place = PlaceOf(*found, address, bytes.size());
    if (found->length > kLargestNumber) {
        return WriteCamera(m_camera, place, bytes);
    }
    std::array<std::uint8_t, kLargestNumber> turned = {};
    std::reverse_copy(bytes.begin(), bytes.end(), turned.begin());
    const GigEVision::Bytes value(turned.data(), bytes.size());
    switch (found->address) {
    case CamEmu::Reg::kAcquisitionStart:
        return m_acquisition.Start(place, value);
    case CamEmu::Reg::kAcquisitionStop:
        return m_acquisition.Stop(place, value);
    default:
        return WriteCamera(m_camera, place, value);
    }
}

} // namespace Serving
