// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/DeviceInfo.h>

#include <memory>
#include <string>

namespace GenApi {
struct INodeMap;
}

namespace tool {

/// A camera's description as the camera delivers it.
struct Description {
    std::string url;
    std::string bytes;

    bool IsZipped() const { return bytes.rfind("PK\x03\x04", 0) == 0; }
};

/// The device is not opened: opening makes node maps, which a broken description does not permit, and another program
/// may have it open. @throws ToolError when its transport layer does not give it out.
Description FetchDescription(const Zelmo::CDeviceInfo& info);

struct NodeMapDestroyer {
    void operator()(GenApi::INodeMap* nodeMap) const;
};
using NodeMapPtr = std::unique_ptr<GenApi::INodeMap, NodeMapDestroyer>;

/// Its nodes without a camera behind them; @p bytes may be zipped. @throws what the library throws for a broken one.
NodeMapPtr LoadDescription(const std::string& bytes);

} // namespace tool
