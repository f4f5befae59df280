// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/camera/GrabResultDataProvider.h"

#include "ZelmoBase/camera/GrabResultDataImpl.h"

namespace Zelmo {

void CGrabResultDataFactory::Recycle(CGrabResultData& item) noexcept {
    item.GetGrabResultDataImpl()->ResetResultData();
}

} // namespace Zelmo
