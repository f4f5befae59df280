// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/Export.h>
#include <zelmo/Types.h>

#include <utility>

namespace GenApi {
struct INode;
}

namespace Zelmo {

class CInstantCamera;

struct CameraEventHandlerCookie_;

/// Identifies the registration of a camera event handler: the address of its reference counter, and the node.
using CameraEventHandlerCookie = std::pair<const CameraEventHandlerCookie_*, String_t>;

/// What an application derives from to hear that a node of the camera has changed since an event message arrived.
/// Messages are fetched while grabbing, when the parameter GrabCameraEvents is on, by the thread in RetrieveResult;
/// handlers run there while the message is delivered, with the locks of the camera and of its event handlers held. A
/// handler may stop the grabbing; a device that it closes or gives up goes when all handlers have heard of the event.
/// What a handler throws is logged.
/// The order of the operations does not change: applications are built apart from the library.
class ZELMO_API CCameraEventHandler {
public:
    /// The camera's node has changed; the number is that of the registration.
    virtual void OnCameraEvent(CInstantCamera& /*camera*/, long /*userProvidedId*/, GenApi::INode* /*node*/) {}
    /// This handler was registered. What it throws reaches the caller of the registration, which stands.
    virtual void OnCameraEventHandlerRegistered(CInstantCamera& /*camera*/, const String_t& /*nodeName*/,
                                                long /*userProvidedId*/) {}
    /// This handler was deregistered. What it throws is logged.
    virtual void OnCameraEventHandlerDeregistered(CInstantCamera& /*camera*/, const String_t& /*nodeName*/,
                                                  long /*userProvidedId*/) {}
    /// The end of a registration with Cleanup_Delete: deletes the object. What it throws is logged.
    virtual void DestroyCameraEventHandler();

private:
    friend class CInstantCamera;
    long m_referenceCounter = 0; // registrations; right behind the table, as its address is known to other builds

public:
    CCameraEventHandler() = default;
    CCameraEventHandler(const CCameraEventHandler& /*other*/) noexcept {} ///< Is registered nowhere.
    CCameraEventHandler& operator=(const CCameraEventHandler& /*other*/) noexcept { return *this; }
    virtual ~CCameraEventHandler(); // last of the virtual operations
};

} // namespace Zelmo
