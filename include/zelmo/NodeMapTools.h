// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/Export.h>

namespace GenApi {
struct INodeMap;
}

namespace Zelmo {

/// Sets nodes of a node map from a text of pairs `Key=Value`, such as "Width=640 Height=480 TriggerMode=On", from left
/// to right. Keys are the names of nodes; the values are what the nodes take as text.
/// Keys and values are made of ASCII letters, digits and underscores, one at least; pairs are separated by white space.
/// There are no quotes, and no white space around "=" or at either end of the text. Of a text of any other form nothing
/// is set.
/// Threads: any; each node is set on its own under the lock of the node map.
/// @throws GenICam::InvalidArgumentException without a node map or text.
/// @throws GenICam::RuntimeException for a text of another form, also an empty one; for a key that names no node or one
/// without a value, such as a category. What a node raises that refuses its value passes. The pairs before a failing
/// one stay set.
ZELMO_API void SetGenICamNodeValuesFromKeyValueStr(GenApi::INodeMap* nodeMap, const char* keyValueStr);

/// A node map with the parameters that every transport layer has: the boolean "ChunkNodeMapSupportEnable", which is
/// true at first. For plug-ins that have nothing to add, as the device's transport layer node map. It belongs to the
/// caller and goes back through DestroyNodeMap.
/// Threads: any.
/// @throws what GenApi::CNodeMapFactory does.
ZELMO_API GenApi::INodeMap* CreateDefaultTransportLayerParamsNodeMap();

/// Ends a node map that belongs to the caller. Null, and a map without GenApi::IDestroy, is left alone.
ZELMO_API void DestroyNodeMap(GenApi::INodeMap* nodeMap);

/// Bits of the internal flags.
enum EInternalFlag : long {
    InternalFlag_UntilTerminate = 1, ///< Cleared by the last ZelmoTerminate; without meaning for the library.
    InternalFlag_ForeignLogging = 2  ///< The application starts and stops GenICam::CLog itself; the library does not.
};

/// Set or clear bits of the process-wide internal flags; from any thread, best before the first ZelmoInitialize.
ZELMO_API void AddInternalFlags(long flags);
ZELMO_API void ClearInternalFlags(long flags);

} // namespace Zelmo
