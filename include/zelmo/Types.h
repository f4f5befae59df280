// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <Base/GCString.h>
#include <Base/GCStringVector.h>

namespace Zelmo {

/// All public text: bytes, UTF-8 by convention.
using String_t = GenICam::gcstring;
/// A list of texts.
using StringList_t = GenICam::gcstring_vector;

} // namespace Zelmo
