// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/EventAdapterGeneric.h>

namespace GenApi {

/// Events of 1394 cameras, whose messages have no common header: the caller finds the id and gives it with the event.
class GENICAM_API CEventAdapter1394 : public CEventAdapterGeneric {
public:
    explicit CEventAdapter1394(INodeMap* pNodeMap = nullptr);
    ~CEventAdapter1394() override;
};

} // namespace GenApi
