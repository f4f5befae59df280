// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/EventAdapter.h>

namespace GenApi {

/// Events of Camera Link, in the GenCP form for serial links, one in a message: as those of USB3 Vision, but big
/// endian. The checksums of the header are not looked at.
class GENICAM_API CEventAdapterCL : public CEventAdapter {
public:
    explicit CEventAdapterCL(INodeMap* pNodeMap = nullptr);
    ~CEventAdapterCL() override;

    void DeliverMessage(const uint8_t msg[], uint32_t numBytes) override;
};

} // namespace GenApi
