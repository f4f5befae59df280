// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "discovery/NetworkChoice.h"

#include <gigevision/Gvcp.h>

#include <cstdint>
#include <vector>

namespace Gige {

struct CActionAnswer {
    std::uint32_t address = 0; ///< of the camera, in the host's byte order
    GigEVision::Status status = GigEVision::Status::Success;
};

/// Sends an action command, once on each network that it is for: 255.255.255.255 is all that the choice admits, the
/// broadcast address of a subnet that one; else it is for one camera. With @p expectedAnswers of 0 none is waited for.
/// @return what came within @p timeoutMs, one for each address
/// @throws GenICam::RuntimeException when no network leads there, or it cannot be sent
std::vector<CActionAnswer> SendAction(const CNetworkChoice& choice, const GigEVision::ActionCommand& action,
                                      std::uint32_t destination, std::size_t expectedAnswers, std::uint32_t timeoutMs);

} // namespace Gige
