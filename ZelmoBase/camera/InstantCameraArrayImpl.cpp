// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/camera/InstantCameraArrayImpl.h"

#include "ZelmoBase/core/Guarded.h"
#include "ZelmoBase/core/ScopeGuard.h"

#include <Base/GCAllocating.h>
#include <Base/GCException.h>

#include <algorithm>

namespace Zelmo {

// The cameras

void CInstantCameraArrayImpl::Resize(std::size_t count) {
    Log("Camera %p: Array Resize %lu", static_cast<unsigned long>(count));
    StopIfGrabbing();
    ReplaceCameras(count);
}

/// Handlers of the cameras that go may call StopGrabbing, on threads of their own, until the last one has gone.
void CInstantCameraArrayImpl::ReplaceCameras(std::size_t count) {
    ShutStopsOut();
    const ScopeGuard letIn([this] { LetStopsIn(); });
    DestroyCameras();
    ScopeGuard undo([this] { DestroyCameras(); });
    for (std::size_t index = 0; index < count; ++index) {
        CInstantCamera* const camera = m_array.CreateInstantCamera();
        if (camera == nullptr) {
            throw RUNTIME_EXCEPTION("Cannot resize the camera array to %lu: CreateInstantCamera gave no camera %lu.",
                                    static_cast<unsigned long>(count), static_cast<unsigned long>(index));
        }
        ScopeGuard destroy([&] { DestroyCamera(camera); });
        GenICam::Allocating([&] { m_cameras.push_back(camera); });
        destroy.Dismiss();
        camera->SetCameraContext(static_cast<long>(index));
        Log("Camera %p: Array Resize created camera %lu %p", static_cast<unsigned long>(index),
            static_cast<void*>(camera));
    }
    undo.Dismiss();
}

void CInstantCameraArrayImpl::LetGo() noexcept {
    StopQuietly([this] { Resize(0); });
    RunGuarded([this] { ReplaceCameras(0); }, [](const char*) {}); // where the stop has failed
}

void CInstantCameraArrayImpl::DestroyCameras() noexcept {
    while (!m_cameras.empty()) {
        CInstantCamera* const camera = m_cameras.back();
        m_cameras.pop_back(); // gone whatever happens
        DestroyCamera(camera);
    }
}

void CInstantCameraArrayImpl::DestroyCamera(CInstantCamera* camera) noexcept {
    RunLogged(CameraLogCategory(), "Exception caught while destroying a camera in array, msg='%s'",
              "Unknown exception caught while destroying a camera in array.",
              [&] { m_array.DestroyInstantCamera(camera); });
}

CInstantCamera& CInstantCameraArrayImpl::GetCamera(std::size_t index) const {
    if (index >= m_cameras.size()) {
        throw RUNTIME_EXCEPTION("Camera index %d out of range.", static_cast<int>(index));
    }
    return *m_cameras[index];
}

std::size_t CInstantCameraArrayImpl::ForEachCameraCountTrue(bool (CInstantCamera::*member)() const) const {
    return static_cast<std::size_t>(std::count_if(
        m_cameras.begin(), m_cameras.end(), [member](const CInstantCamera* camera) { return (camera->*member)(); }));
}

bool CInstantCameraArrayImpl::IsAttached() const {
    return !m_cameras.empty() && ForEachCameraCountTrue(&CInstantCamera::IsZelmoDeviceAttached) == m_cameras.size();
}

bool CInstantCameraArrayImpl::IsRemoved() const {
    return ForEachCameraCountTrue(&CInstantCamera::IsCameraDeviceRemoved) > 0;
}

bool CInstantCameraArrayImpl::IsOpen() const {
    return !m_cameras.empty() && ForEachCameraCountTrue(&CInstantCamera::IsOpen) == m_cameras.size();
}

void CInstantCameraArrayImpl::CheckUsable() const {
    if (m_cameras.empty()) {
        throw RUNTIME_EXCEPTION("The size of the instant camera array is 0.");
    }
    if (!IsAttached()) {
        throw RUNTIME_EXCEPTION("Not all cameras in the array have attached devices.");
    }
}

// Open, close, let go

void CInstantCameraArrayImpl::Open() {
    Log("Camera %p: Array Open");
    CheckUsable();
    ScopeGuard close([this] {
        RunLogged(CameraLogCategory(), "Exception caught while calling Close, msg='%s'",
                  "Unknown exception caught while calling Close.", [this] { m_array.Close(); });
    });
    ForEachCameraCall(&CInstantCamera::Open);
    close.Dismiss();
}

void CInstantCameraArrayImpl::Close() {
    Log("Camera %p: Array Close");
    StopIfGrabbing();
    ForEachCameraCall(&CInstantCamera::Close);
}

void CInstantCameraArrayImpl::DetachDevice() {
    Log("Camera %p: Array DetachDevice");
    StopIfGrabbing();
    ForEachCameraCall(&CInstantCamera::DetachDevice);
}

void CInstantCameraArrayImpl::DestroyDevice() {
    Log("Camera %p: Array DestroyDevice");
    StopIfGrabbing();
    ForEachCameraCall(&CInstantCamera::DestroyDevice);
}

} // namespace Zelmo
