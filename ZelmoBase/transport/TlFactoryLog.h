#pragma once

#include <zelmo/Log.h>

namespace Zelmo {

/// The log category of the factory, plug-in loading and the device filter.
inline unsigned long TlFactoryCatId() {
    static const unsigned long id = hxlog::LogGetCatID("zelmo.base.TlFactory");
    return id;
}

} // namespace Zelmo
