// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace Zelmo {

/// The plug-ins in the folders of a list such as ZELMO_TL_PATH holds: canonical paths in ascending order, each once. In
/// the list ":" separates folders and "\" takes the special meaning off a ":" or "\" behind it; "\n" is a line end.
/// What cannot be searched is told on the standard error stream and left out.
/// @throws boost::escaped_list_error for a "\" before anything else.
std::vector<std::string> FindTlLibraries(const std::string& folderList);

} // namespace Zelmo
