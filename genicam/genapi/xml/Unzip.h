#pragma once

#include <string>
#include <string_view>

namespace GenApi {

bool IsZip(std::string_view bytes) noexcept; ///< By content, whatever the file is called.

/// The first entry of a ZIP archive in memory. @throws GenICam::RuntimeException for a broken or empty archive, and for
/// an entry of more than 64 MiB.
std::string UnzipFirstEntry(std::string_view bytes);

} // namespace GenApi
