// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Descriptor.h"

namespace Serving {

using PluginKit::CDescriptor;

} // namespace Serving
