// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace tool {

class Library;
class Output;

/// Versions of the library and of the plug-ins, and the commit that the tool was configured from.
void PrintVersion(Library& library, Output& output);

} // namespace tool
