// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace GenApi {

/// The bytes of a description file on the host. @throws GenICam::RuntimeException naming the file: it cannot be read,
/// or has more than 64 MiB.
std::string ReadFile(const std::string& path);

} // namespace GenApi
