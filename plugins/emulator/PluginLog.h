// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/Log.h>

namespace CamEmu {

/// The log category of the plug-in.
inline unsigned long LogCategory() {
    static const unsigned long kId = hxlog::LogGetCatID("zelmo.camemu");
    return kId;
}

} // namespace CamEmu
