#pragma once

#include <zelmo/Log.h>

namespace Zelmo {

/// The log category of all that works for a camera object.
inline unsigned long CameraLogCategory() noexcept {
    static const unsigned long id = hxlog::LogGetCatID("zelmo.base.InstantCamera");
    return id;
}

} // namespace Zelmo
