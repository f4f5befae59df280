// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/camera/InstantCameraQueuePort.h"

#include "ZelmoBase/camera/GrabEngine.h"

#include <Base/GCException.h>

#include <cstring>

namespace Zelmo {
namespace {

/// Addresses of the registers in resources/InstantCameraParams.xml.
enum ERegister : std::int64_t {
    Register_NumQueuedBuffers = 0x10,
    Register_NumReadyBuffers = 0x20,
    Register_NumEmptyBuffers = 0x30,
    Register_OutputQueueSize = 0x40
};

constexpr std::int64_t kLengthBytes = 4;

} // namespace

std::uint64_t CInstantCameraQueuePort::GetValue(std::int64_t address) const {
    switch (address) {
    case Register_NumQueuedBuffers:
        return m_engine.GetNumQueuedBuffers();
    case Register_NumReadyBuffers:
        return m_engine.GetNumReadyBuffers();
    case Register_NumEmptyBuffers:
        return m_engine.GetNumEmptyBuffers();
    case Register_OutputQueueSize:
        return m_engine.GetOutputQueueSize();
    default:
        throw RUNTIME_EXCEPTION("Invalid address while reading from instant camera queue port.");
    }
}

void CInstantCameraQueuePort::Read(void* buffer, std::int64_t address, std::int64_t length) {
    const auto value = static_cast<std::uint32_t>(GetValue(address));
    if (length != kLengthBytes) {
        throw RUNTIME_EXCEPTION("Invalid buffer size while reading from instant camera queue port.");
    }
    std::memcpy(buffer, &value, sizeof(value));
}

void CInstantCameraQueuePort::Write(const void* buffer, std::int64_t address, std::int64_t length) {
    if (length != kLengthBytes) {
        throw RUNTIME_EXCEPTION("Invalid buffer size while writing to instant camera queue port.");
    }
    if (address != Register_OutputQueueSize) {
        throw RUNTIME_EXCEPTION("Invalid address while while writing to instant camera queue port.");
    }
    std::uint32_t value = 0;
    std::memcpy(&value, buffer, sizeof(value));
    m_engine.SetOutputQueueSize(value);
}

} // namespace Zelmo
