// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace Zelmo {

/// What happens to images that come faster than the application takes them.
enum EGrabStrategy : int {
    /// Every image, in order of arrival; none is lost while buffers last.
    GrabStrategy_OneByOne = 0,
    /// Only the latest image is kept.
    GrabStrategy_LatestImageOnly = 1,
    /// The latest images are kept, as many as the output queue has places.
    GrabStrategy_LatestImages = 2,
    /// The camera gets a buffer only when a result is asked for, so that the image is taken after the call. Not for USB
    /// and Mipex devices.
    GrabStrategy_UpcomingImage = 3
};

/// Whose thread retrieves the results of a session.
enum EGrabLoop : int {
    GrabLoop_ProvidedByInstantCamera = 0, ///< One that the camera object starts; image handlers get the results.
    GrabLoop_ProvidedByUser = 1           ///< The application's, which calls RetrieveResult.
};

/// What a call does whose time ran out.
enum ETimeoutHandling : int {
    TimeoutHandling_Return = 0,        ///< Returns false.
    TimeoutHandling_ThrowException = 1 ///< Raises GenICam::TimeoutException.
};

} // namespace Zelmo
