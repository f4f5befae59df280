// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "net/Route.h"

#include <cstdint>

namespace Gige {

/// Who has a camera, as anybody may ask.
enum class EControlState : std::uint8_t { Free, Controlled, Exclusive, Silent };

/// Asks a camera from a fresh socket, up to three times within 600 ms. Writes nothing.
/// @throws GenICam::RuntimeException without a socket
EControlState AskForControlState(const CRoute& route);

} // namespace Gige
