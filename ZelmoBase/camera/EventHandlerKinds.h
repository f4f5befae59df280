// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ZelmoBase/camera/CameraEventMetaData.h"
#include "ZelmoBase/camera/CameraLog.h"
#include "ZelmoBase/camera/HandlerScope.h"
#include "ZelmoBase/camera/RegisteredEventHandler.h"

#include <zelmo/CameraEventHandler.h>
#include <zelmo/ConfigurationEventHandler.h>
#include <zelmo/ImageEventHandler.h>

#include <Base/GCException.h>

#include <cstdint>
#include <exception>
#include <memory>
#include <utility>

namespace Zelmo {

// What the registries of each kind of handler have of their own; see CEventHandlerRegistry.

template <class Kind>
void LogClearingRegistry(const CInstantCamera& camera) noexcept {
    hxlog::LogTrace(CameraLogCategory(), hxlog::LogLevel_Notice, "Camera %p: Clearing %s registry.",
                    static_cast<const void*>(&camera), Kind::kHandlers);
}

/// The log lines of a kind whose handlers are told apart by their cookie alone.
template <class Kind, class Cookie>
struct CCookieLog {
    static const void* Address(Cookie cookie) noexcept { return cookie; }
    static void LogRegistered(const CInstantCamera& camera, Cookie cookie, const NoInterfaceMetaData&) noexcept {
        LogCookie("Camera %p: %s, cookie=%p", camera, Kind::kRegistered, cookie);
    }
    static void LogDeregistered(const CInstantCamera& camera, Cookie cookie, const NoInterfaceMetaData&) noexcept {
        LogCookie("Camera %p: %s, cookie=%p", camera, Kind::kDeregistered, cookie);
    }
    static void LogBlocked(const CInstantCamera& camera, Cookie cookie) noexcept {
        LogCookie("Camera %p: %s registration blocked, cookie=%p", camera, Kind::kWhat, cookie);
    }
    static void LogClearing(const CInstantCamera& camera) noexcept { LogClearingRegistry<Kind>(camera); }
    static void End(const NoInterfaceMetaData&) noexcept {}

private:
    static void LogCookie(const char* format, const CInstantCamera& camera, const char* what, Cookie cookie) noexcept {
        hxlog::LogTrace(CameraLogCategory(), hxlog::LogLevel_Notice, format, static_cast<const void*>(&camera), what,
                        static_cast<const void*>(cookie));
    }
};

struct CConfigurationHandlers : CCookieLog<CConfigurationHandlers, const ConfigurationEventHandlerCookie_*> {
    using Handler = CConfigurationEventHandler;
    using Cookie = const ConfigurationEventHandlerCookie_*;
    using MetaData = NoInterfaceMetaData;
    static constexpr char kRegistered[] = "OnConfigurationRegistered";
    static constexpr char kDeregistered[] = "OnConfigurationDeregistered";
    static constexpr char kDestroy[] = "DestroyConfiguration";
    static constexpr char kWhat[] = "Configuration";
    static constexpr bool kIsAddedWhileOthersRun = false;
    static constexpr char kHandlers[] = "configuration event handler";

    static void Registered(Handler& handler, CInstantCamera& camera, const MetaData& /*data*/) {
        handler.OnConfigurationRegistered(camera);
    }
    static void Deregistered(Handler& handler, CInstantCamera& camera, Cookie /*cookie*/, const MetaData& /*data*/) {
        handler.OnConfigurationDeregistered(camera);
    }
    static void Destroy(Handler& handler) { handler.DestroyConfiguration(); }
};

struct CImageHandlers : CCookieLog<CImageHandlers, const ImageEventHandlerCookie_*> {
    using Handler = CImageEventHandler;
    using Cookie = const ImageEventHandlerCookie_*;
    using MetaData = NoInterfaceMetaData;
    static constexpr char kRegistered[] = "OnImageEventHandlerRegistered";
    static constexpr char kDeregistered[] = "OnImageEventHandlerDeregistered";
    static constexpr char kDestroy[] = "DestroyImageEventHandler";
    static constexpr char kWhat[] = "Image event handler";
    static constexpr bool kIsAddedWhileOthersRun = true;
    static constexpr char kHandlers[] = "image event handler";

    static void Registered(Handler& handler, CInstantCamera& camera, const MetaData& /*data*/) {
        handler.OnImageEventHandlerRegistered(camera);
    }
    static void Deregistered(Handler& handler, CInstantCamera& camera, Cookie /*cookie*/, const MetaData& /*data*/) {
        handler.OnImageEventHandlerDeregistered(camera);
    }
    static void Destroy(Handler& handler) { handler.DestroyImageEventHandler(); }
};

struct CCameraEventHandlers {
    using Handler = CCameraEventHandler;
    using Cookie = CameraEventHandlerCookie;
    using MetaData = std::shared_ptr<CCameraEventMetaData>;
    static constexpr char kDeregistered[] = "OnCameraEventHandlerDeregistered";
    static constexpr char kDestroy[] = "DestroyCameraEventHandler";
    static constexpr char kHandlers[] = "camera event handler";
    static constexpr bool kIsAddedWhileOthersRun = false;

    static const void* Address(const Cookie& cookie) noexcept { return cookie.first; }
    static void LogRegistered(const CInstantCamera& camera, const Cookie& cookie, const MetaData& data) noexcept {
        LogEvent("OnCameraEventHandlerRegistered", camera, cookie, *data);
    }
    static void LogDeregistered(const CInstantCamera& camera, const Cookie& cookie, const MetaData& data) noexcept {
        LogEvent(kDeregistered, camera, cookie, *data);
    }
    static void LogBlocked(const CInstantCamera& camera, const Cookie& cookie) noexcept {
        hxlog::LogTrace(CameraLogCategory(), hxlog::LogLevel_Notice,
                        "Camera %p: Camera event handler registration blocked, cookie=%p, node=%s",
                        static_cast<const void*>(&camera), Address(cookie), cookie.second.c_str());
    }
    static void LogClearing(const CInstantCamera& camera) noexcept {
        LogClearingRegistry<CCameraEventHandlers>(camera);
    }

    static void Registered(Handler& handler, CInstantCamera& camera, const MetaData& data) {
        handler.OnCameraEventHandlerRegistered(camera, data->GetNodeName(), data->GetUserId());
    }
    static void Deregistered(Handler& handler, CInstantCamera& camera, const Cookie& /*cookie*/, const MetaData& data) {
        handler.OnCameraEventHandlerDeregistered(camera, data->GetNodeName(), data->GetUserId());
    }
    static void Destroy(Handler& handler) { handler.DestroyCameraEventHandler(); }
    static void End(const MetaData& data) noexcept { data->Disconnect(); }

private:
    static void LogEvent(const char* what, const CInstantCamera& camera, const Cookie& cookie,
                         const CCameraEventMetaData& data) noexcept {
        hxlog::LogTrace(CameraLogCategory(), hxlog::LogLevel_Notice, "Camera %p: %s, cookie=%p, node=%s, userId=%d",
                        static_cast<const void*>(&camera), what, Address(cookie), data.GetNodeName().c_str(),
                        static_cast<int>(data.GetUserId()));
    }
};

/// Calls a handler for an event. What it throws is logged, and goes on to the caller unless @p isSwallowed.
/// @param event class and operation, "CImageEventHandler::OnImageGrabbed"
template <class Handler, class Call>
void NotifyHandler(Handler& handler, const char* event, bool isSwallowed, Call&& call) {
    const void* const address = &handler;
    const int isRethrown = isSwallowed ? 0 : 1;
    const CHandlerScope scope;
    try {
        std::forward<Call>(call)(handler);
        return;
    } catch (const GenICam::GenericException& e) {
        hxlog::LogTrace(CameraLogCategory(), hxlog::LogLevel_Error,
                        "Exception caught while notifying event %s handler %p, rethrow=%d, msg=%s", event, address,
                        isRethrown, e.GetDescription());
        if (!isSwallowed) {
            throw;
        }
    } catch (const std::exception& e) {
        // the low 32 bits of the address, in this line only
        hxlog::LogTrace(CameraLogCategory(), hxlog::LogLevel_Error,
                        "Exception caught while notifying event %s handler %#x, rethrow=%d, msg=%s", event,
                        static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(address)), isRethrown, e.what());
        if (!isSwallowed) {
            throw;
        }
    } catch (...) {
        hxlog::LogTrace(CameraLogCategory(), hxlog::LogLevel_Error,
                        "Unknown exception caught while notifying event %s handler %p, rethrow=%d", event, address,
                        isRethrown);
        if (!isSwallowed) {
            throw;
        }
    }
}

} // namespace Zelmo
