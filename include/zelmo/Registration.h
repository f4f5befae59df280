// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace Zelmo {

/// What a registration does with the handlers that are registered already.
enum ERegistrationMode : int {
    RegistrationMode_Append = 0,    ///< They stay; the new one is called behind them.
    RegistrationMode_ReplaceAll = 1 ///< They are given up first. Without a new one that is all.
};

/// Whether a camera event handler needs its node.
enum ECameraEventAvailability : int {
    CameraEventAvailability_Mandatory = 0, ///< Without the node, opening the camera or registering the handler fails.
    CameraEventAvailability_Optional = 1   ///< Without the node, the handler is not called.
};

} // namespace Zelmo
