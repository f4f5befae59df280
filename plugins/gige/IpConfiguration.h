// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "discovery/FoundCamera.h"

#include <zelmo/GigEVisionNetwork.h>

namespace Gige {

/// How a camera gets its address at its next start, over a connection for the time of the call. Storing takes control.
/// @throws GenICam::AccessException          somebody else has control
/// @throws GenICam::InvalidArgumentException a text that is no address
/// @throws GenICam::RuntimeException         it cannot be reached, refuses, or does not offer what is wanted
Zelmo::GigEIpConfiguration ReadIpConfiguration(const CFoundCamera& camera);
void StoreIpConfiguration(const CFoundCamera& camera, const Zelmo::GigEIpConfiguration& configuration);

} // namespace Gige
