// SPDX-License-Identifier: Apache-2.0
#include <zelmo/InstantCameraArray.h>

#include "ZelmoBase/camera/InstantCameraArrayImpl.h"

#include <Base/GCAllocating.h>

namespace Zelmo {

CInstantCameraArray::CInstantCameraArray()
    : m_impl(GenICam::Allocating([this] { return new CInstantCameraArrayImpl(*this); })) {}

CInstantCameraArray::CInstantCameraArray(std::size_t numberOfCameras) : CInstantCameraArray() {
    m_impl->Resize(numberOfCameras);
}

CInstantCameraArray::~CInstantCameraArray() {
    m_impl->LetGo();
    delete m_impl;
}

void CInstantCameraArray::Initialize(std::size_t numberOfCameras) {
    m_impl->Resize(numberOfCameras);
}

bool CInstantCameraArray::IsZelmoDeviceAttached() const {
    return m_impl->IsAttached();
}

bool CInstantCameraArray::IsCameraDeviceRemoved() const {
    return m_impl->IsRemoved();
}

void CInstantCameraArray::DestroyDevice() {
    m_impl->DestroyDevice();
}

void CInstantCameraArray::DetachDevice() {
    m_impl->DetachDevice();
}

void CInstantCameraArray::Open() {
    m_impl->Open();
}

bool CInstantCameraArray::IsOpen() const {
    return m_impl->IsOpen();
}

void CInstantCameraArray::Close() {
    m_impl->Close();
}

std::size_t CInstantCameraArray::GetSize() const {
    return m_impl->GetSize();
}

CInstantCamera& CInstantCameraArray::operator[](std::size_t index) {
    return m_impl->GetCamera(index);
}

const CInstantCamera& CInstantCameraArray::operator[](std::size_t index) const {
    return m_impl->GetCamera(index);
}

void CInstantCameraArray::StartGrabbing(EGrabStrategy strategy, EGrabLoop grabLoop) {
    m_impl->StartGrabbing(strategy, grabLoop);
}

bool CInstantCameraArray::RetrieveResult(unsigned int timeoutMs, CGrabResultPtr& result, ETimeoutHandling handling) {
    return m_impl->RetrieveResult(timeoutMs, result, handling);
}

void CInstantCameraArray::StopGrabbing() {
    m_impl->StopGrabbing();
}

bool CInstantCameraArray::IsGrabbing() const {
    return m_impl->IsGrabbing();
}

CInstantCamera* CInstantCameraArray::CreateInstantCamera() {
    return GenICam::Allocating([] { return new CInstantCamera; });
}

void CInstantCameraArray::DestroyInstantCamera(CInstantCamera* camera) {
    delete camera;
}

} // namespace Zelmo
