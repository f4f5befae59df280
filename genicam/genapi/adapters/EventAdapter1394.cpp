// SPDX-License-Identifier: Apache-2.0
#include <GenApi/EventAdapter1394.h>

namespace GenApi {

CEventAdapter1394::CEventAdapter1394(INodeMap* pNodeMap) : CEventAdapterGeneric(pNodeMap) {}

CEventAdapter1394::~CEventAdapter1394() = default;

} // namespace GenApi
