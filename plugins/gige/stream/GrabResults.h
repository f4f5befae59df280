// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "stream/Reassembler.h"

#include <zelmo/StreamGrabber.h>

namespace Gige {

/// What is told of a block, into a result whose buffer fields are filled already.
void Describe(const CFinishedBlock& block, Zelmo::GrabResult& result) noexcept;

/// The error code of a failed block: 0x47 in the top byte, then its EBlockFault, then, in 16 bits, the status that the
/// camera gave. 0 for any other.
std::uint32_t ErrorCode(const CFinishedBlock& block);

} // namespace Gige
