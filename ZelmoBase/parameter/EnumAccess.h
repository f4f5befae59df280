// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/Types.h>

#include <GenApi/IEnumeration.h>
#include <GenApi/IValue.h>

namespace Zelmo {

/// Sets an enumeration that can be written now to an entry that is available. What the node throws passes.
/// @return whether it was set; false for null, too.
bool TrySetEnumeration(GenApi::IEnumeration* node, const String_t& name);

/// Sets the first of several texts that can be set, of an enumeration or, as some cameras have it, of a string.
/// @param names null ends the list
/// @return its place, counted from 1; 0 when none could be set.
unsigned SetFirstOf(GenApi::IValue* node, const char* const* names);

} // namespace Zelmo
