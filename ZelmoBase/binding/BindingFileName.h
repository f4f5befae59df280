// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/Types.h>

namespace Zelmo {

/// Makes a path of the name of a description file as it stands in a rule: references to environment variables are
/// expanded, and what then has no directory part is looked for in the folder of camera descriptions. A name that is
/// empty, or becomes so, stays empty.
/// @throws GenICam::BadAllocException
void ResolveBindingFileName(String_t& name);

} // namespace Zelmo
