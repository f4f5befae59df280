// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/Log.h>

namespace Gige {

/// The log category of the plug-in.
inline unsigned long LogCategory() {
    static const unsigned long kId = hxlog::LogGetCatID("zelmo.gige");
    return kId;
}

} // namespace Gige
