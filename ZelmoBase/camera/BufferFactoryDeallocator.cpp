// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/camera/BufferFactoryDeallocator.h"

#include "ZelmoBase/camera/CameraLog.h"
#include "ZelmoBase/core/Guarded.h"

namespace Zelmo {
namespace {

/// Deleter of the shared pointer to an application's buffer factory.
struct CBufferFactoryDeallocator {
    bool destroy;
    const CInstantCamera* camera;

    void operator()(IBufferFactory* factory) const noexcept {
        if (factory == nullptr || !destroy) {
            return;
        }
        hxlog::LogTrace(CameraLogCategory(), hxlog::LogLevel_Notice, "Camera %p: DestroyBufferFactory, %p",
                        static_cast<const void*>(camera), static_cast<void*>(factory));
        RunLogged(
            CameraLogCategory(), "Camera %p: Exception caught while DestroyBufferFactory is called %p, msg=%s",
            "Camera %p: Unknown exception caught  caught while DestroyBufferFactory is called  %p", // as it stands
            [factory] { factory->DestroyBufferFactory(); }, static_cast<const void*>(camera),
            static_cast<void*>(factory));
    }
};

} // namespace

std::shared_ptr<IBufferFactory> ShareBufferFactory(IBufferFactory* factory, ECleanup cleanup,
                                                   const CInstantCamera* camera) {
    if (factory == nullptr) {
        return nullptr;
    }
    hxlog::LogTrace(CameraLogCategory(), hxlog::LogLevel_Notice, "Camera %p: Setting buffer factory, %p",
                    static_cast<const void*>(camera), static_cast<void*>(factory));
    return {factory, CBufferFactoryDeallocator{cleanup == Cleanup_Delete, camera}};
}

} // namespace Zelmo
