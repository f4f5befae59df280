// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

namespace Zelmo {

/// Finds a document that is built into the library, such as "DefaultTransportLayerParams"; the files are in resources/.
/// @param text becomes the document: static storage, with a zero byte behind its end that the length does not count.
/// @return false, with @p text as it was, when no document has exactly this name.
bool FindBuiltinDocument(std::string_view name, std::string_view& text);

} // namespace Zelmo
