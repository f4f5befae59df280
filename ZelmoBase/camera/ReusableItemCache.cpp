// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/camera/ReusableItemCache.h"

#include "ZelmoBase/camera/CameraLog.h"
#include "ZelmoBase/core/Guarded.h"

namespace Zelmo {

void LogReusableItemFailure(const std::exception_ptr& failure) noexcept {
    if (failure != nullptr) {
        RunLogged(CameraLogCategory(), "Exception caught while destroying a reusable item, msg='%s'",
                  "Unknown exception caught while destroying a reusable item.",
                  [&failure] { std::rethrow_exception(failure); });
    }
}

void TellReusableItemObserver(IReusableItemCacheObserver* observer,
                              void (IReusableItemCacheObserver::*event)()) noexcept {
    if (observer != nullptr) {
        RunLogged(CameraLogCategory(), "Exception caught while telling that reusable items come or go, msg='%s'",
                  "Unknown exception caught while telling that reusable items come or go.",
                  [observer, event] { (observer->*event)(); });
    }
}

} // namespace Zelmo
