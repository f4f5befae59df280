// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <typeinfo>

namespace Zelmo {

/// Looks at a shared library's file before it is loaded: the loader trusts the headers, and a file that is shorter than
/// they tell ends the process when the missing part is touched.
/// @return why it must not be loaded; empty where nothing is wrong, and where the loader itself says what is.
std::string FindFileDamage(const std::string& path);

/// Keeps the library that defines a class mapped until the process ends, whoever closes it: for objects of plug-ins
/// that may outlive them.
void KeepLibraryLoaded(const std::type_info& type) noexcept;

} // namespace Zelmo
