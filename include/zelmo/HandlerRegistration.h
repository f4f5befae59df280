// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/CameraEventHandler.h>
#include <zelmo/Cleanup.h>
#include <zelmo/ConfigurationEventHandler.h>
#include <zelmo/GrabResultPtr.h>
#include <zelmo/ImageEventHandler.h>
#include <zelmo/InstantCamera.h>
#include <zelmo/Registration.h>
#include <zelmo/Types.h>

#include <atomic>
#include <memory>
#include <type_traits>
#include <utility>

namespace Zelmo {

/// What CHandlerRegistration keeps: a handler that knows where it is registered.
class IRegisteredHandler {
public:
    virtual ~IRegisteredHandler() = default;
    virtual void Deregister() = 0; ///< Where it is registered, if it still is.
};

/// The registration of a function by OnImage, OnRemoved or OnEvent: lasts until this object goes or is assigned to.
///
/// Lifetimes: when End has returned, the function runs on no other thread any more, so it may refer to whatever goes
/// after this object. Inside its own function the registration may be ended on that same thread; the function is kept
/// until it returns. A registration may outlive the camera, as the camera gives up its handlers when it goes; but while
/// one thread destroys the camera, no other may end a registration.
/// Locks: End waits for the function that another thread is in: without the camera lock held for OnImage, and with no
/// lock that the function itself takes.
/// Threads: one at a time.
class [[nodiscard]] CHandlerRegistration {
public:
    CHandlerRegistration() noexcept = default; ///< Of nothing.
    explicit CHandlerRegistration(std::shared_ptr<IRegisteredHandler> handler) noexcept
        : m_handler(std::move(handler)) {}
    CHandlerRegistration(CHandlerRegistration&& other) noexcept = default;
    CHandlerRegistration& operator=(CHandlerRegistration&& other) noexcept {
        if (this != &other) {
            End();
            m_handler = std::move(other.m_handler);
        }
        return *this;
    }
    ~CHandlerRegistration() { End(); }

    /// Nothing is called any more. Throws nothing.
    void End() noexcept {
        const std::shared_ptr<IRegisteredHandler> handler = std::move(m_handler); // the function may end this, too
        if (handler != nullptr) {
            try {
                handler->Deregister();
            } catch (...) { // NOLINT(bugprone-empty-catch): there is nothing that an application could do
            }
        }
    }

private:
    std::shared_ptr<IRegisteredHandler> m_handler;
};

namespace Internal {

/// Calls @p function with the arguments, or with all but the first one, the camera, or with none: as it takes them.
template <class Function, class Camera, class... Arguments>
void CallAsItTakes(Function& function, Camera& camera, Arguments&... arguments) {
    if constexpr (std::is_invocable_v<Function&, Camera&, Arguments&...>) {
        function(camera, arguments...);
    } else if constexpr (std::is_invocable_v<Function&, Arguments&...>) {
        function(arguments...);
    } else {
        function();
    }
}

/// The handler of @p Function; learns from the camera whether it is registered there.
/// @tparam Kind the handler's class
template <class Kind, class Function>
class CFunctionHandler : public Kind,
                         public IRegisteredHandler,
                         public std::enable_shared_from_this<CFunctionHandler<Kind, Function>> {
public:
    explicit CFunctionHandler(Function function) : m_function(std::move(function)) {}

protected:
    template <class... Arguments>
    void Call(CInstantCamera& camera, Arguments&... arguments) {
        const auto keep = this->shared_from_this(); // the function may end its registration
        CallAsItTakes(m_function, camera, arguments...);
    }
    void SetCamera(CInstantCamera* camera) noexcept { m_camera = camera; }
    CInstantCamera* GetCamera() const noexcept { return m_camera; }

private:
    Function m_function;
    std::atomic<CInstantCamera*> m_camera{nullptr}; // where it is registered
};

template <class Function>
class CImageFunctionHandler final : public CFunctionHandler<CImageEventHandler, Function> {
public:
    using CFunctionHandler<CImageEventHandler, Function>::CFunctionHandler;

    void OnImageEventHandlerRegistered(CInstantCamera& camera) override { this->SetCamera(&camera); }
    void OnImageEventHandlerDeregistered(CInstantCamera& /*camera*/) override { this->SetCamera(nullptr); }
    void OnImageGrabbed(CInstantCamera& camera, const CGrabResultPtr& result) override { this->Call(camera, result); }
    void Deregister() override {
        if (CInstantCamera* const camera = this->GetCamera()) {
            camera->DeregisterImageEventHandler(this);
        }
    }
};

template <class Function>
class CRemovalFunctionHandler final : public CFunctionHandler<CConfigurationEventHandler, Function> {
public:
    using CFunctionHandler<CConfigurationEventHandler, Function>::CFunctionHandler;

    void OnConfigurationRegistered(CInstantCamera& camera) override { this->SetCamera(&camera); }
    void OnConfigurationDeregistered(CInstantCamera& /*camera*/) override { this->SetCamera(nullptr); }
    void OnCameraDeviceRemoved(CInstantCamera& camera) override { this->Call(camera); }
    void Deregister() override {
        if (CInstantCamera* const camera = this->GetCamera()) {
            camera->DeregisterConfiguration(this);
        }
    }
};

template <class Function>
class CEventFunctionHandler final : public CFunctionHandler<CCameraEventHandler, Function> {
public:
    CEventFunctionHandler(Function function, String_t nodeName)
        : CFunctionHandler<CCameraEventHandler, Function>(std::move(function)), m_nodeName(std::move(nodeName)) {}

    void OnCameraEventHandlerRegistered(CInstantCamera& camera, const String_t& /*nodeName*/,
                                        long /*userProvidedId*/) override {
        this->SetCamera(&camera);
    }
    void OnCameraEventHandlerDeregistered(CInstantCamera& /*camera*/, const String_t& /*nodeName*/,
                                          long /*userProvidedId*/) override {
        this->SetCamera(nullptr);
    }
    void OnCameraEvent(CInstantCamera& camera, long /*userProvidedId*/, GenApi::INode* node) override {
        this->Call(camera, node);
    }
    void Deregister() override {
        if (CInstantCamera* const camera = this->GetCamera()) {
            camera->DeregisterCameraEventHandler(this, m_nodeName);
        }
    }

private:
    const String_t m_nodeName;
};

} // namespace Internal

/// Has @p function called with each result, as CImageEventHandler::OnImageGrabbed is, with what it may throw: as
/// `(CInstantCamera&, const CGrabResultPtr&)` or `(const CGrabResultPtr&)`. May be called from handlers.
template <class Function>
[[nodiscard]] CHandlerRegistration OnImage(CInstantCamera& camera, Function function) {
    auto handler = std::make_shared<Internal::CImageFunctionHandler<Function>>(std::move(function));
    camera.RegisterImageEventHandler(handler.get(), RegistrationMode_Append, Cleanup_None);
    return CHandlerRegistration(std::move(handler));
}

/// Has @p function called when the device was removed, as CConfigurationEventHandler::OnCameraDeviceRemoved is: with
/// the camera lock held, on a thread of the library's, at most once for each device; what it throws is logged. As
/// `(CInstantCamera&)` or `()`. It may stop and destroy the device, but better wakes who waits for it, as the camera is
/// locked for others until it returns.
template <class Function>
[[nodiscard]] CHandlerRegistration OnRemoved(CInstantCamera& camera, Function function) {
    auto handler = std::make_shared<Internal::CRemovalFunctionHandler<Function>>(std::move(function));
    camera.RegisterConfiguration(handler.get(), RegistrationMode_Append, Cleanup_None);
    return CHandlerRegistration(std::move(handler));
}

/// Has @p function called when an event has changed the node @p nodeName, as CCameraEventHandler::OnCameraEvent is;
/// what it throws is logged. As `(CInstantCamera&, GenApi::INode*)`, `(GenApi::INode*)` or `()`.
/// @throws GenICam::RuntimeException for a mandatory node that an open camera does not have.
template <class Function>
[[nodiscard]] CHandlerRegistration OnEvent(CInstantCamera& camera, const String_t& nodeName, Function function,
                                           ECameraEventAvailability availability = CameraEventAvailability_Mandatory) {
    auto handler = std::make_shared<Internal::CEventFunctionHandler<Function>>(std::move(function), nodeName);
    camera.RegisterCameraEventHandler(handler.get(), nodeName, 0, RegistrationMode_Append, Cleanup_None, availability);
    return CHandlerRegistration(std::move(handler));
}

} // namespace Zelmo
