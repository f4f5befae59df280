// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "serving/Device.h"

#include <cstdint>

namespace Serving {

/// Clients access registers of four bytes by other commands under 1.0 than under 1.1.
enum class ESchema : std::uint8_t { Version_1_1, Version_1_0 };

/// What a served camera has in its memory: the features of the emulated camera, made while building from its own
/// description, and those of GigE Vision, of actions and of faults. Lives as long as the program. Threads: any.
const CServedDescription& ServedDescription(ESchema schema);

} // namespace Serving
