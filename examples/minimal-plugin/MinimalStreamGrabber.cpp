// SPDX-License-Identifier: Apache-2.0
#include "MinimalStreamGrabber.h"

#include "MinimalChunks.h"

#include <Base/GCException.h>
#include <GenApi/IInteger.h>
#include <GenApi/Pointer.h>

#include <algorithm>
#include <utility>

namespace Minimal {
namespace {

using Clock = std::chrono::steady_clock;

/// What the library writes before an acquisition.
constexpr char kDescription[] = R"(<?xml version="1.0" encoding="utf-8"?>
<RegisterDescription ModelName="MinimalStream" VendorName="Example" StandardNameSpace="None"
    SchemaMajorVersion="1" SchemaMinorVersion="1" SchemaSubMinorVersion="0"
    MajorVersion="1" MinorVersion="0" SubMinorVersion="0"
    ProductGuid="3C7B9E6A-5A0B-4B6D-9F0E-5C1D2E3F4A51" VersionGuid="8D2F6C1B-1E4A-4C7D-8B9A-0F1E2D3C4B5A"
    xmlns="http://www.genicam.org/GenApi/Version_1_1">
  <Category Name="Root">
    <pFeature>MaxBufferSize</pFeature>
    <pFeature>MaxNumBuffer</pFeature>
  </Category>
  <Integer Name="MaxBufferSize"><Value>0</Value><Min>0</Min></Integer>
  <Integer Name="MaxNumBuffer"><Value>16</Value><Min>1</Min></Integer>
</RegisterDescription>)";

} // namespace

MinimalStreamGrabber::MinimalStreamGrabber(MinimalCamera& camera, GenApi::INodeMap& connection)
    : m_camera(camera), m_connection(connection), m_nodeMap(MakeNodeMap(kDescription)) {}

MinimalStreamGrabber::~MinimalStreamGrabber() {
    StopStreaming();
}

void MinimalStreamGrabber::Open() {
    if (IsOpen()) {
        throw LOGICAL_ERROR_EXCEPTION("Cannot open the stream grabber: it is open already.");
    }
    if (!m_isPermitted) {
        throw LOGICAL_ERROR_EXCEPTION("Cannot open the stream grabber: the device was not opened for Stream.");
    }
    m_isOpen = true; // a real one takes the channel here
}

void MinimalStreamGrabber::Close() {
    StopStreaming();
    FinishGrab();
    m_isOpen = false;
}

void MinimalStreamGrabber::PrepareGrab() {
    std::lock_guard lock(m_mutex);
    m_nextBlockId = 0;
    if (!std::exchange(m_isPrepared, true)) {
        m_camera.LockParams();
    }
}

void MinimalStreamGrabber::FinishGrab() {
    std::lock_guard lock(m_mutex);
    m_registered.clear();
    m_queued.clear();
    m_results.clear();
    m_resultsPending.Reset();
    if (std::exchange(m_isPrepared, false)) {
        m_camera.UnlockParams();
    }
}

Zelmo::StreamBufferHandle MinimalStreamGrabber::RegisterBuffer(void* buffer, std::size_t sizeBytes) {
    if (!buffer || sizeBytes < PayloadSizeBytes()) {
        throw INVALID_ARGUMENT_EXCEPTION("Cannot register a buffer of %zu bytes: an image takes %zu.", sizeBytes,
                                         PayloadSizeBytes());
    }
    std::lock_guard lock(m_mutex);
    m_registered[buffer] = {buffer, sizeBytes}; // the address makes a good handle here
    return buffer;
}

void* MinimalStreamGrabber::DeregisterBuffer(Zelmo::StreamBufferHandle handle) {
    std::lock_guard lock(m_mutex);
    return m_registered.erase(handle) != 0 ? handle : nullptr;
}

void MinimalStreamGrabber::StartStreaming() {
    {
        std::lock_guard lock(m_mutex);
        m_stop = false;
        m_framePeriod = std::chrono::milliseconds(GenApi::CIntegerPtr(m_connection.GetNode("FramePeriod"))->GetValue());
    }
    m_thread = std::thread([this] { Run(); });
}

void MinimalStreamGrabber::StopStreaming() {
    if (!m_thread.joinable()) {
        return;
    }
    {
        std::lock_guard lock(m_mutex);
        m_stop = true;
    }
    m_stopped.notify_all();
    m_thread.join();
}

void MinimalStreamGrabber::QueueBuffer(Zelmo::StreamBufferHandle handle, void* context) {
    std::lock_guard lock(m_mutex);
    const auto found = m_registered.find(handle);
    if (found == m_registered.end()) {
        throw INVALID_ARGUMENT_EXCEPTION("Cannot queue a buffer that is not registered.");
    }
    m_queued.push_back({handle, found->second, context});
}

std::size_t MinimalStreamGrabber::GetNumQueuedBuffers() const {
    std::lock_guard lock(m_mutex);
    return m_queued.size() + m_results.size();
}

void MinimalStreamGrabber::FlushBuffers() {
    std::lock_guard lock(m_mutex);
    for (const QueuedBuffer& queued : m_queued) {
        Deliver(ResultOf(queued, Zelmo::GrabStatus_Canceled));
    }
    m_queued.clear();
}

bool MinimalStreamGrabber::RetrieveResult(Zelmo::GrabResult& result) {
    std::lock_guard lock(m_mutex);
    if (m_results.empty()) {
        return false;
    }
    result = m_results.front();
    m_results.pop_front();
    if (m_results.empty()) {
        m_resultsPending.Reset();
    }
    return true;
}

/// The camera's clock: by points in time, not by pauses, so that nothing drifts.
void MinimalStreamGrabber::Run() {
    std::unique_lock lock(m_mutex);
    for (auto due = Clock::now() + m_framePeriod; !m_stopped.wait_until(lock, due, [this] { return m_stop; });
         due += m_framePeriod) {
        Expose();
    }
}

/// One image into the oldest queued buffer; without one it is lost, which the gap in the block ids tells.
void MinimalStreamGrabber::Expose() {
    if (!m_camera.IsAcquiring()) {
        return;
    }
    const std::uint64_t blockId = m_nextBlockId++;
    if (m_queued.empty()) {
        return;
    }
    Zelmo::GrabResult result = ResultOf(m_queued.front(), Zelmo::GrabStatus_Grabbed);
    m_queued.pop_front();
    const std::uint32_t brightness = m_camera.Brightness();
    auto* const pixels = static_cast<std::uint8_t*>(result.buffer);
    for (int i = 0; i < kImageSizeBytes; ++i) {
        pixels[i] = static_cast<std::uint8_t>(blockId + brightness + static_cast<unsigned int>(i % kWidth));
    }
    result.blockId = blockId;
    result.timeStamp = MinimalCamera::GetTicks();
    if (m_camera.SendsChunks()) {
        AppendChunks(pixels + kImageSizeBytes, kImageSizeBytes, result.timeStamp);
    }
    Deliver(std::move(result));
}

/// As the camera's feature PayloadSize. It stays as it is from PrepareGrab to FinishGrab, as ChunkModeActive does.
std::size_t MinimalStreamGrabber::PayloadSizeBytes() const {
    return kImageSizeBytes + (m_camera.SendsChunks() ? kChunksSizeBytes : 0);
}

Zelmo::GrabResult MinimalStreamGrabber::ResultOf(const QueuedBuffer& queued, Zelmo::EGrabStatus status) const {
    Zelmo::GrabResult result;
    result.context = queued.context;
    result.handle = queued.handle;
    result.buffer = queued.buffer.memory;
    result.bufferSize = queued.buffer.sizeBytes;
    result.status = status;
    result.payloadType = m_camera.SendsChunks() ? Zelmo::PayloadType_ChunkData : Zelmo::PayloadType_Image;
    result.pixelType = Zelmo::PixelType_Mono8;
    result.sizeX = kWidth;
    result.sizeY = kHeight;
    result.offsetX = result.offsetY = 0;
    result.paddingX = result.paddingY = 0;
    result.payloadSize = PayloadSizeBytes();
    return result;
}

void MinimalStreamGrabber::Deliver(Zelmo::GrabResult result) {
    m_results.push_back(std::move(result));
    m_resultsPending.Signal();
}

} // namespace Minimal
