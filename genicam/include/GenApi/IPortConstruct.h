// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/IPort.h>

namespace GenApi {

/// A port that is told its other side by INodeMap::Connect: a port node its implementation, an implementation its node.
struct GENICAM_API IPortConstruct : virtual public IPort {
    /// Borrowed; null disconnects.
    /// @throws GenICam::InvalidArgumentException by a port node, for one that leads back to it
    virtual void SetPortImpl(IPort* pPort) = 0;
    virtual EYesNo GetSwapEndianess() = 0;
};

} // namespace GenApi
