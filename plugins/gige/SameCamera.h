// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "control/Connection.h"
#include "discovery/FoundCamera.h"

namespace Gige {

/// Addresses change: another camera may have this one's by now. One with several interfaces is known by the one that
/// answered, and its channels are to use that.
/// @param connection is open. @throws GenICam::RuntimeException when it leads to another camera, and as its reads do
void RequireSameCamera(CConnection& connection, const CFoundCamera& camera);

} // namespace Gige
