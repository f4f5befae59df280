// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Memory.h"

#include <cstdint>
#include <vector>

namespace Serving {

/// All that a camera has at addresses: the parts side by side.
/// Borrows: the parts.
/// Threads: the control thread.
class CRegisterSpace {
public:
    void Add(std::uint32_t first, std::uint32_t bytes, IMemory& memory);

    /// Within one part: nothing is read across its end. Address and length are multiples of 4.
    GigEVision::Status Read(std::uint32_t address, GigEVision::MutableBytes bytes);

    struct CWritten {
        GigEVision::Status status;
        std::size_t bytes; ///< before what failed
    };
    /// One unit after the other, up to the first that fails.
    CWritten Write(std::uint32_t address, GigEVision::Bytes bytes);

private:
    struct CPart {
        std::uint32_t first, bytes;
        IMemory* memory;
    };

    CPart* Find(std::uint32_t address, std::size_t length);

    std::vector<CPart> m_parts;
};

} // namespace Serving
