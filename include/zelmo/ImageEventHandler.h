// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/Export.h>

namespace Zelmo {

class CGrabResultPtr;
class CInstantCamera;

/// Identifies the registration of an image event handler: the address of its reference counter.
struct ImageEventHandlerCookie_;

/// What an application derives from to get each result that RetrieveResult hands out: of its own loop, or of the camera
/// object's. Called on that thread, in the order of registration, with the lock of the image handlers held, and not
/// that of the camera: a handler may take its time without blocking who stops the grabbing. The order of the operations
/// does not change: applications are built apart from the library.
class ZELMO_API CImageEventHandler {
public:
    /// So many images were lost before the next result. What it throws reaches the caller of RetrieveResult.
    virtual void OnImagesSkipped(CInstantCamera& /*camera*/, unsigned long /*countOfSkippedImages*/) {}
    /// A result: an image, or why there is none; see CGrabResultData::GrabSucceeded. May keep a copy of the pointer;
    /// the buffer is free again once all copies are gone. What it throws reaches the caller of RetrieveResult.
    virtual void OnImageGrabbed(CInstantCamera& /*camera*/, const CGrabResultPtr& /*result*/) {}
    /// This handler was registered. What it throws reaches the caller of the registration, which stands.
    virtual void OnImageEventHandlerRegistered(CInstantCamera& /*camera*/) {}
    /// This handler was deregistered. What it throws is logged.
    virtual void OnImageEventHandlerDeregistered(CInstantCamera& /*camera*/) {}
    /// The end of a registration with Cleanup_Delete: deletes the object. What it throws is logged.
    virtual void DestroyImageEventHandler();

private:
    friend class CInstantCamera;
    long m_referenceCounter = 0; // registrations; right behind the table, as its address is known to other builds

public:
    CImageEventHandler() = default;
    CImageEventHandler(const CImageEventHandler& /*other*/) noexcept {} ///< Is registered nowhere.
    CImageEventHandler& operator=(const CImageEventHandler& /*other*/) noexcept { return *this; }
    virtual ~CImageEventHandler(); // last of the virtual operations
};

} // namespace Zelmo
