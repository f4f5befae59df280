// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace Zelmo {

/// Who owns an object that is handed over.
enum ECleanup : int {
    Cleanup_None = 0,  ///< The caller keeps it; it stays until the receiver has let go of it.
    Cleanup_Delete = 1 ///< The receiver gives it up when it is done with it.
};

} // namespace Zelmo
