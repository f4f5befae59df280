// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace Zelmo {

/// Sees to the folder in which the GenICam modules may keep parsed camera descriptions, and names it to them in the
/// environment variable GENICAM_CACHE_V3_1. A folder given there stands, if it can be used. Otherwise a default in the
/// home folder is named; whoever has something to keep there makes it first, if it is not there yet. Failures are
/// logged and leave the variable unset: the modules then work without a cache.
/// Changes the environment: not while other threads read it.
void SetUpGenICamCache();

} // namespace Zelmo
