// SPDX-License-Identifier: Apache-2.0
#include <zelmo/InstantCamera.h>

#include "ZelmoBase/camera/InstantCameraImpl.h"

#include <zelmo/GrabResultData.h>

namespace Zelmo {

CInstantCamera::CInstantCamera() : m_impl(new CInstantCameraImpl(*this)) {
    try {
        RegisterConfiguration(&m_impl->GetDefaultConfiguration(), RegistrationMode_Append, Cleanup_None);
        _Initialize(&GetInstantCameraNodeMap());
    } catch (...) {
        delete m_impl;
        throw;
    }
}

CInstantCamera::CInstantCamera(IZelmoDevice* device, ECleanup cleanup) : CInstantCamera() {
    Attach(device, cleanup);
}

CInstantCamera::~CInstantCamera() {
    m_impl->LetGo();
    _Initialize(nullptr); // the parameters leave the node map before it goes
    delete m_impl;
}

void CInstantCamera::Attach(IZelmoDevice* device, ECleanup cleanup) {
    m_impl->Attach(device, cleanup);
}

bool CInstantCamera::IsZelmoDeviceAttached() const {
    return m_impl->IsAttached();
}

bool CInstantCamera::IsCameraDeviceRemoved() const {
    return m_impl->IsRemoved();
}

bool CInstantCamera::HasOwnership() const {
    return m_impl->HasOwnership();
}

void CInstantCamera::DestroyDevice() {
    m_impl->DestroyDevice();
}

void CInstantCamera::DetachDevice() {
    m_impl->DetachDevice();
}

void CInstantCamera::Open() {
    m_impl->Open();
}

bool CInstantCamera::IsOpen() const {
    return m_impl->IsOpen();
}

void CInstantCamera::Close() {
    m_impl->Close();
}

void CInstantCamera::StartGrabbing(EGrabStrategy strategy, EGrabLoop grabLoop) {
    m_impl->StartGrabbing(0, true, strategy, grabLoop);
}

void CInstantCamera::StartGrabbing(unsigned long maxImages, EGrabStrategy strategy, EGrabLoop grabLoop) {
    m_impl->StartGrabbing(maxImages, false, strategy, grabLoop);
}

bool CInstantCamera::RetrieveResult(unsigned int timeoutMs, CGrabResultPtr& result, ETimeoutHandling handling) {
    return m_impl->RetrieveResult(timeoutMs, result, handling);
}

void CInstantCamera::StopGrabbing() {
    m_impl->StopGrabbing();
}

bool CInstantCamera::IsGrabbing() const {
    return m_impl->IsGrabbing();
}

bool CInstantCamera::GrabOne(unsigned int timeoutMs, CGrabResultPtr& result, ETimeoutHandling handling) {
    return m_impl->GrabOne(timeoutMs, result, handling);
}

std::uint64_t CInstantCamera::GetQueuedBufferCount() {
    return m_impl->GetQueuedBufferCount();
}

WaitObject& CInstantCamera::GetGrabResultWaitObject() {
    return m_impl->GetGrabResultWaitObject();
}

WaitObject& CInstantCamera::GetGrabStopWaitObject() {
    return m_impl->GetGrabStopWaitObject();
}

WaitObject& CInstantCamera::GetCameraEventWaitObject() {
    return m_impl->GetCameraEventWaitObject();
}

// The cookie of a handler is the address of its counter; that of none is null.

void CInstantCamera::RegisterConfiguration(CConfigurationEventHandler* handler, ERegistrationMode mode,
                                           ECleanup cleanup) {
    InternalRegisterConfiguration(handler, mode, cleanup, handler != nullptr ? &handler->m_referenceCounter : nullptr);
}

bool CInstantCamera::DeregisterConfiguration(CConfigurationEventHandler* handler) {
    return InternalDeregisterConfiguration(handler != nullptr ? &handler->m_referenceCounter : nullptr);
}

void CInstantCamera::RegisterImageEventHandler(CImageEventHandler* handler, ERegistrationMode mode, ECleanup cleanup) {
    InternalRegisterImageEventHandler(handler, mode, cleanup,
                                      handler != nullptr ? &handler->m_referenceCounter : nullptr);
}

bool CInstantCamera::DeregisterImageEventHandler(CImageEventHandler* handler) {
    return InternalDeregisterImageEventHandler(handler != nullptr ? &handler->m_referenceCounter : nullptr);
}

void CInstantCamera::RegisterCameraEventHandler(CCameraEventHandler* handler, const String_t& nodeName,
                                                long userProvidedId, ERegistrationMode mode, ECleanup cleanup,
                                                ECameraEventAvailability availability) {
    InternalRegisterCameraEventHandler(handler, nodeName, userProvidedId, mode, cleanup, availability,
                                       handler != nullptr ? &handler->m_referenceCounter : nullptr);
}

bool CInstantCamera::DeregisterCameraEventHandler(CCameraEventHandler* handler, const String_t& nodeName) {
    return InternalDeregisterCameraEventHandler(handler != nullptr ? &handler->m_referenceCounter : nullptr, nodeName);
}

bool CInstantCamera::WaitForFrameTriggerReady(unsigned int timeoutMs, ETimeoutHandling handling) {
    return m_impl->WaitForFrameTriggerReady(timeoutMs, handling);
}

bool CInstantCamera::CanWaitForFrameTriggerReady() const {
    return m_impl->CanWaitForFrameTriggerReady();
}

void CInstantCamera::ExecuteSoftwareTrigger() {
    m_impl->ExecuteSoftwareTrigger();
}

void CInstantCamera::SetCameraContext(long context) {
    m_impl->SetCameraContext(context);
}

long CInstantCamera::GetCameraContext() const {
    return m_impl->GetCameraContext();
}

const CDeviceInfo& CInstantCamera::GetDeviceInfo() const {
    return m_impl->GetDeviceInfo();
}

GenApi::INodeMap& CInstantCamera::GetNodeMap() {
    return m_impl->GetNodeMap();
}

GenApi::INodeMap& CInstantCamera::GetTLNodeMap() {
    return m_impl->GetTLNodeMap();
}

GenApi::INodeMap& CInstantCamera::GetStreamGrabberNodeMap() {
    return m_impl->GetStreamGrabberNodeMap();
}

GenApi::INodeMap& CInstantCamera::GetEventGrabberNodeMap() {
    return m_impl->GetEventGrabberNodeMap();
}

GenApi::INodeMap& CInstantCamera::GetInstantCameraNodeMap() {
    return m_impl->GetInstantCameraNodeMap();
}

void CInstantCamera::SetBufferFactory(IBufferFactory* factory, ECleanup cleanup) {
    m_impl->SetBufferFactory(factory, cleanup);
}

bool CInstantCamera::Is1394() const {
    return m_impl->GetKind() == CameraDeviceKind_1394;
}

bool CInstantCamera::IsGigE() const {
    return m_impl->GetKind() == CameraDeviceKind_GigE;
}

bool CInstantCamera::IsUsb() const {
    return m_impl->GetKind() == CameraDeviceKind_Usb;
}

bool CInstantCamera::IsCameraLink() const {
    return m_impl->GetKind() == CameraDeviceKind_CameraLink;
}

bool CInstantCamera::IsCxp() const {
    return m_impl->IsCxp();
}

IZelmoDevice* CInstantCamera::GetDevice() {
    return m_impl->GetDevice();
}

CGrabResultData* CInstantCamera::CreateDeviceSpecificGrabResultData() {
    return new CGrabResultData;
}

bool CInstantCamera::IsMipex() const {
    return m_impl->GetKind() == CameraDeviceKind_Mipex;
}

SfncVersion CInstantCamera::GetSfncVersion() const {
    return m_impl->GetSfncVersion();
}

GenApi::INodeMap& CInstantCamera::GetEmptyNodeMap() {
    return m_impl->GetEmptyNodeMap();
}

GenApi::CLock& CInstantCamera::GetLock() const {
    return m_impl->GetLock();
}

IInstantCameraExtensions& CInstantCamera::GetExtensionInterface() {
    return *m_impl;
}

CGrabResultData* CInstantCamera::CreateGrabResultData() {
    return m_impl->CreateGrabResultData();
}

void CInstantCamera::InternalRegisterConfiguration(CConfigurationEventHandler* handler, ERegistrationMode mode,
                                                   ECleanup cleanup, const long* cookie) {
    m_impl->RegisterConfiguration(handler, mode, cleanup, cookie);
}

bool CInstantCamera::InternalDeregisterConfiguration(const long* cookie) {
    return m_impl->DeregisterConfiguration(cookie);
}

void CInstantCamera::InternalRegisterImageEventHandler(CImageEventHandler* handler, ERegistrationMode mode,
                                                       ECleanup cleanup, const long* cookie) {
    m_impl->RegisterImageEventHandler(handler, mode, cleanup, cookie);
}

bool CInstantCamera::InternalDeregisterImageEventHandler(const long* cookie) {
    return m_impl->DeregisterImageEventHandler(cookie);
}

void CInstantCamera::InternalRegisterCameraEventHandler(CCameraEventHandler* handler, const String_t& nodeName,
                                                        long userProvidedId, ERegistrationMode mode, ECleanup cleanup,
                                                        ECameraEventAvailability availability, const long* cookie) {
    m_impl->RegisterCameraEventHandler(handler, nodeName, userProvidedId, mode, cleanup, availability, cookie);
}

bool CInstantCamera::InternalDeregisterCameraEventHandler(const long* cookie, const String_t& nodeName) {
    return m_impl->DeregisterCameraEventHandler(cookie, nodeName);
}

void CInstantCamera::InternalShutdownEventHandlers() {
    m_impl->ShutdownEventHandlers();
}

} // namespace Zelmo
