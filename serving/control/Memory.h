// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gigevision/Bytes.h>
#include <gigevision/Status.h>

#include <cstdint>

namespace Serving {

/// A part of the address space. Bytes are those that READMEM and WRITEMEM carry: a number begins with its highest one.
/// Addresses and lengths are multiples of 4, and lie within the part.
class IMemory {
public:
    /// Fills all of @p bytes, unless the answer is an error.
    virtual GigEVision::Status Read(std::uint32_t address, GigEVision::MutableBytes bytes) = 0;

    /// How many bytes from there on are written at once, as one value: at least 4.
    virtual std::uint32_t UnitBytes(std::uint32_t /*address*/) const { return 4; }
    /// Within one unit; changes nothing when the answer is an error.
    virtual GigEVision::Status Write(std::uint32_t address, GigEVision::Bytes bytes) = 0;

protected:
    ~IMemory() = default;
};

} // namespace Serving
