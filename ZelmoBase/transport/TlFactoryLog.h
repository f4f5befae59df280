// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/Log.h>

namespace Zelmo {

/// The log category of the factory, plug-in loading and the device filter.
inline unsigned long TlFactoryCatId() {
    static const unsigned long kId = hxlog::LogGetCatID("zelmo.base.TlFactory");
    return kId;
}

} // namespace Zelmo
