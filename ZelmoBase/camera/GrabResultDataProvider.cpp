// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/camera/GrabResultDataProvider.h"

#include "ZelmoBase/camera/GrabResultDataImpl.h"

namespace Zelmo {

std::shared_ptr<CBufferData> CGrabResultDataFactory::Recycle(CGrabResultData& item) noexcept {
    return item.GetGrabResultDataImpl()->ResetResultData();
}

} // namespace Zelmo
