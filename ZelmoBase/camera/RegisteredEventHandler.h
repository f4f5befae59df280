// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ZelmoBase/camera/CameraLog.h"
#include "ZelmoBase/camera/HandlerScope.h"
#include "ZelmoBase/core/Guarded.h"

#include <zelmo/Cleanup.h>

#include <atomic>
#include <memory>
#include <utility>

namespace Zelmo {

class CInstantCamera;

/// A registration, as those see it who keep it.
template <class Handler, class Cookie, class MetaData>
class IInterfaceData {
public:
    virtual Handler* GetInterface() = 0;
    virtual MetaData& GetMetaData() = 0;
    virtual const Cookie& GetCookie() = 0;
    virtual void Destroy() = 0;     ///< Ends the registration with all its consequences, and this object.
    virtual void SetNotified() = 0; ///< The handler is about to hear of its registration: it hears of the end, too.
    virtual ~IInterfaceData() = default;
};

/// The deleter of shared pointers to registrations: letting go of the last one ends the registration.
struct CInterfaceDataDeallocator {
    template <class Data>
    void operator()(Data* data) const {
        data->Destroy();
    }
};

/// A registration that knows how it is identified, and what else belongs to it.
template <class Handler, class Cookie, class MetaData>
class CInterfaceMetaData : public IInterfaceData<Handler, Cookie, MetaData> {
public:
    CInterfaceMetaData(Cookie cookie, MetaData metaData)
        : m_cookie(std::move(cookie)), m_metaData(std::move(metaData)) {}
    MetaData& GetMetaData() override { return m_metaData; }
    const Cookie& GetCookie() override { return m_cookie; }

private:
    const Cookie m_cookie;
    MetaData m_metaData;
};

/// Nothing belongs to it.
struct NoInterfaceMetaData {};

/// One registration of a handler at a camera object. Counts itself in the handler's reference counter.
/// @tparam Kind the kind of handler: its types Handler, Cookie and MetaData, and the static operations
///              LogDeregistered(camera, cookie, metaData), Deregistered(handler, camera, cookie, metaData),
///              Destroy(handler), with their names for the log in kDeregistered and kDestroy, and End(metaData)
template <class Kind>
class CRegisteredEventHandler final
    : public CInterfaceMetaData<typename Kind::Handler, typename Kind::Cookie, typename Kind::MetaData> {
    using Base = CInterfaceMetaData<typename Kind::Handler, typename Kind::Cookie, typename Kind::MetaData>;

public:
    using Interface = IInterfaceData<typename Kind::Handler, typename Kind::Cookie, typename Kind::MetaData>;

    /// @param counter the handler's; null is logged, and the registration is found by no cookie
    CRegisteredEventHandler(CInstantCamera& camera, typename Kind::Handler* handler, long* counter, ECleanup cleanup,
                            typename Kind::Cookie cookie, typename Kind::MetaData metaData)
        : Base(std::move(cookie), std::move(metaData)), m_handler(handler), m_counter(counter), m_cleanup(cleanup),
          m_camera(camera) {
        if (m_counter != nullptr) {
            ++std::atomic_ref(*m_counter); // one handler may be registered at several cameras
        } else {
            hxlog::LogTrace(CameraLogCategory(), hxlog::LogLevel_Error,
                            "Camera %p: Pointer to reference counter must not be NULL.", Camera());
        }
    }

    typename Kind::Handler* GetInterface() override { return m_handler; }
    void SetNotified() override { m_isNotified = true; }

    /// The counter is down when the handler is told, and nothing touches the handler once it is destroyed.
    void Destroy() override {
        Uncount();
        if (m_handler != nullptr && m_isNotified) {
            TellDeregistered();
        }
        if (m_handler != nullptr && m_cleanup == Cleanup_Delete) {
            DestroyHandler();
        }
        Kind::End(this->GetMetaData());
        delete this;
    }

private:
    const void* Camera() const noexcept { return &m_camera; }
    const void* Cookie() noexcept { return Kind::Address(this->GetCookie()); }

    void Uncount() noexcept {
        if (m_counter == nullptr) {
            return;
        }
        if (const long before = std::atomic_ref(*m_counter).fetch_sub(1); before < 1) {
            hxlog::LogTrace(CameraLogCategory(), hxlog::LogLevel_Error,
                            "Camera %p: Bad reference counting detected, cookie=%p, count=%d", Camera(), Cookie(),
                            static_cast<int>(before));
        }
    }

    void TellDeregistered() noexcept {
        const CHandlerScope scope;
        Kind::LogDeregistered(m_camera, this->GetCookie(), this->GetMetaData());
        RunGuarded([this] { Kind::Deregistered(*m_handler, m_camera, this->GetCookie(), this->GetMetaData()); },
                   [this](const char* text) {
                       LogFailure("Camera %p: Exception caught while notifying event %s, cookie %p, msg=%s",
                                  "Camera %p: Unknown exception caught while notifying event %s, cookie %p",
                                  Kind::kDeregistered, text);
                   });
    }

    void DestroyHandler() noexcept {
        const CHandlerScope scope;
        hxlog::LogTrace(CameraLogCategory(), hxlog::LogLevel_Notice, "Camera %p: %s, cookie=%p", Camera(),
                        Kind::kDestroy, Cookie());
        RunGuarded([this] { Kind::Destroy(*m_handler); },
                   [this](const char* text) {
                       LogFailure("Camera %p: Exception caught while calling %s, cookie %p, msg=%s",
                                  "Camera %p: Unknown exception caught while calling %s, cookie %p", Kind::kDestroy,
                                  text);
                   });
    }

    void LogFailure(const char* known, const char* unknown, const char* name, const char* text) noexcept {
        if (text != nullptr) {
            hxlog::LogTrace(CameraLogCategory(), hxlog::LogLevel_Error, known, Camera(), name, Cookie(), text);
        } else {
            hxlog::LogTrace(CameraLogCategory(), hxlog::LogLevel_Error, unknown, Camera(), name, Cookie());
        }
    }

    typename Kind::Handler* const m_handler; // the application's
    long* const m_counter;                   // likewise
    const ECleanup m_cleanup;
    CInstantCamera& m_camera;
    bool m_isNotified = false;
};

} // namespace Zelmo
