// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <Base/GCLinkage.h>

namespace GenApi {

typedef void* UserData_t;

/// A pointer that the application may leave with a node or node map; the library never looks at it.
struct GENICAM_API IUserData {
    virtual UserData_t GetUserData() const = 0;
    virtual UserData_t SetUserData(UserData_t pUserData) = 0; ///< @return the pointer held before.

protected:
    ~IUserData() = default;
};

} // namespace GenApi
