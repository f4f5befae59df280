// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/Export.h>

namespace GenApi {
struct INodeMap;
}

namespace Zelmo {

/// A node map with the parameters that every transport layer has: the boolean "ChunkNodeMapSupportEnable". For plug-ins
/// that have nothing to add as the device's transport layer node map. Null when it cannot be made; goes back through
/// DestroyNodeMap.
ZELMO_API GenApi::INodeMap* CreateDefaultTransportLayerParamsNodeMap();

/// Ends a node map; null is ignored.
ZELMO_API void DestroyNodeMap(GenApi::INodeMap* nodeMap);

} // namespace Zelmo
