// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <Base/GCLinkage.h>

namespace GenApi {

/// The way to destroy a node map: `dynamic_cast<IDestroy*>(nodeMap)->Destroy()`.
struct GENICAM_API IDestroy {
    virtual void Destroy() = 0; ///< The object and everything it handed out is gone afterwards.

protected:
    ~IDestroy() = default;
};

} // namespace GenApi
