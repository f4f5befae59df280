#pragma once

#include <zelmo/Log.h>

namespace CamEmu {

/// The log category of the plug-in.
inline unsigned long LogCategory() {
    static const unsigned long id = hxlog::LogGetCatID("zelmo.camemu");
    return id;
}

} // namespace CamEmu
