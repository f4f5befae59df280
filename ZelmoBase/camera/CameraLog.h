// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/Log.h>

namespace Zelmo {

/// The log category of all that works for a camera object.
inline unsigned long CameraLogCategory() noexcept {
    static const unsigned long kId = hxlog::LogGetCatID("zelmo.base.InstantCamera");
    return kId;
}

} // namespace Zelmo
