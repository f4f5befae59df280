// SPDX-License-Identifier: Apache-2.0
#include "FaultRegisters.h"

#include "AddressMap.h"
#include "Faults.h"

#include <array>
#include <bit>
#include <cstring>

namespace Serving {

using GigEVision::GetBigEndian;
using GigEVision::PutBigEndian;
using GigEVision::Status;

namespace {

// The registers of one fault.
using Group = std::array<std::uint8_t, Address::kFaultStride>;

CFaultPlace FirstPlace(const CFaultSetting& setting) {
    return setting.places.empty() ? CFaultPlace{} : setting.places.front();
}

Group GroupOf(const CFaultSetting& setting, std::uint64_t count) {
    const CFaultPlace place = FirstPlace(setting);
    Group group = {};
    PutBigEndian(&group[Address::kFaultRate], std::bit_cast<std::uint64_t>(setting.rate));
    PutBigEndian(&group[Address::kFaultParameter], setting.parameter);
    PutBigEndian(&group[Address::kFaultLeft], setting.left);
    PutBigEndian(&group[Address::kFaultBlock], static_cast<std::uint32_t>(place.block));
    PutBigEndian(&group[Address::kFaultPacket], place.packet);
    PutBigEndian(&group[Address::kFaultCount], count);
    return group;
}

void TakeOver(CFaultSetting& setting, const Group& group, std::uint32_t written) {
    setting.rate = std::bit_cast<double>(GetBigEndian<std::uint64_t>(&group[Address::kFaultRate]));
    setting.parameter = GetBigEndian<std::uint32_t>(&group[Address::kFaultParameter]);
    setting.left = GetBigEndian<std::uint32_t>(&group[Address::kFaultLeft]);
    if (written != Address::kFaultBlock && written != Address::kFaultPacket) {
        return; // a list that was told elsewhere stays
    }
    const CFaultPlace place{GetBigEndian<std::uint32_t>(&group[Address::kFaultBlock]),
                            GetBigEndian<std::uint32_t>(&group[Address::kFaultPacket])};
    setting.places.clear();
    if (place.block != 0 || place.packet != CFaultPlace::kAnyPacket) {
        setting.places.push_back(place);
    }
}

// Only faults of the stream have places.
bool IsValid(EFault fault, const CFaultSetting& setting) {
    const CFaultInfo& info = FaultInfos()[static_cast<std::size_t>(fault)];
    return setting.rate >= 0 && setting.rate <= 1 && setting.parameter >= info.min && setting.parameter <= info.max &&
           (fault < EFault::Silence || setting.places.empty());
}

constexpr bool IsWide(std::uint32_t offset) {
    return offset < Address::kFaultParameter || offset >= Address::kFaultCount;
}

} // namespace

std::uint32_t CFaultRegisters::Size() {
    return Address::kFault + kFaults * Address::kFaultStride - Address::kFaultSelector;
}

Status CFaultRegisters::Read(std::uint32_t address, GigEVision::MutableBytes bytes) {
    Status status = Status::Success;
    for (std::size_t at = 0; at < bytes.size() && !GigEVision::IsError(status); at += 4) {
        status = ReadWord(address + static_cast<std::uint32_t>(at), bytes.subspan(at, 4));
    }
    return status;
}

Status CFaultRegisters::ReadWord(std::uint32_t address, GigEVision::MutableBytes word) const {
    if (address >= Address::kFault) {
        const std::uint32_t offset = address - Address::kFault;
        const auto fault = static_cast<EFault>(offset / Address::kFaultStride);
        const Group group = GroupOf(m_faults.Get(fault), m_faults.Count(fault));
        std::memcpy(word.data(), &group[offset % Address::kFaultStride], 4);
        return Status::Success;
    }
    switch (address) {
    case Address::kFaultSelector:
        PutBigEndian(word.data(), m_selector);
        return Status::Success;
    case Address::kFaultSeed:
        PutBigEndian(word.data(), m_faults.Seed());
        return Status::Success;
    case Address::kFaultReset:
        return Status::AccessDenied; // a command is not read
    default:
        return Status::InvalidAddress;
    }
}

std::uint32_t CFaultRegisters::UnitBytes(std::uint32_t address) const {
    const std::uint32_t offset = (address - Address::kFault) % Address::kFaultStride;
    return address >= Address::kFault && IsWide(offset) ? 8 - offset % 8 : 4;
}

Status CFaultRegisters::Write(std::uint32_t address, GigEVision::Bytes bytes) {
    return address >= Address::kFault ? WriteFault(address - Address::kFault, bytes)
                                      : WriteGeneral(address, GetBigEndian<std::uint32_t>(bytes.data()));
}

Status CFaultRegisters::WriteFault(std::uint32_t offset, GigEVision::Bytes bytes) {
    const auto fault = static_cast<EFault>(offset / Address::kFaultStride);
    const std::uint32_t place = offset % Address::kFaultStride;
    if (place >= Address::kFaultCount) {
        return Status::WriteProtect;
    }
    CFaultSetting setting = m_faults.Get(fault);
    Group group = GroupOf(setting, 0);
    std::memcpy(&group[place], bytes.data(), bytes.size());
    TakeOver(setting, group, place);
    if (!IsValid(fault, setting)) {
        return Status::InvalidParameter;
    }
    m_faults.Set(fault, std::move(setting));
    return Status::Success;
}

Status CFaultRegisters::WriteGeneral(std::uint32_t address, std::uint32_t value) {
    switch (address) {
    case Address::kFaultSelector:
        if (value >= kFaults) {
            return Status::InvalidParameter;
        }
        m_selector = value;
        return Status::Success;
    case Address::kFaultSeed:
        m_faults.Seed(value);
        return Status::Success;
    case Address::kFaultReset:
        if (value != 1) {
            return Status::InvalidParameter;
        }
        m_faults.Reset();
        return Status::Success;
    default:
        return Status::InvalidAddress;
    }
}

} // namespace Serving
