// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace GenApi {
struct INodeMap;
}

namespace Zelmo {

/// Makes a node map, with the device name "Device", of the document of this name that is built into the library. It
/// belongs to the caller. @return null without a name, or when no document has it. @throws what GenApi::CNodeMapFactory
/// does.
GenApi::INodeMap* CreateNodeMapFromResource(const char* name);

} // namespace Zelmo
