// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace GenApi {

bool IsZip(std::string_view bytes) noexcept; ///< By content, whatever the file is called.

/// The description in a ZIP archive in memory: its only file, or the only one called *.xml; "._NAME", which archivers
/// add, does not count. @throws GenICam::RuntimeException for a broken archive, for none or several descriptions, more
/// than 64 entries, more than 64 MiB, and for what is packed as tightly as only a bomb is.
std::string UnzipDescription(std::string_view bytes);

} // namespace GenApi
