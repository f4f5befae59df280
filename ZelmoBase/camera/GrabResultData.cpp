// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/camera/GrabResultDataImpl.h"

#include "ZelmoBase/camera/CameraLog.h"
#include "ZelmoBase/camera/GrabResultPtrImpl.h"
#include "ZelmoBase/camera/QueueEntry.h"
#include "ZelmoBase/core/Guarded.h"

#include <GenApi/IDestroy.h>
#include <GenApi/NodeMapFactory.h>

#include <algorithm>
#include <utility>

namespace Zelmo {
namespace {

/// What the transport layer did not tell is -1.
std::uint32_t ZeroIfNegative(std::int32_t value) noexcept {
    return value < 0 ? 0 : static_cast<std::uint32_t>(value);
}

std::uint64_t ZeroIfNegative(std::int64_t value) noexcept {
    return value < 0 ? 0 : static_cast<std::uint64_t>(value);
}

void DestroyNodeMap(GenApi::INodeMap* nodeMap) noexcept {
    if (nodeMap != nullptr) {
        RunLogged(CameraLogCategory(), "Exception caught while destroying an empty chunk node map, msg='%s'",
                  "Unknown exception caught while destroying an empty chunk node map.",
                  [nodeMap] { dynamic_cast<GenApi::IDestroy&>(*nodeMap).Destroy(); });
    }
}

} // namespace

CGrabResultData::CGrabResultDataImpl::CGrabResultDataImpl() {
    m_spareBodies.front() = new CGrabResultPtrImpl; // now, as records are made before the first image
}

CGrabResultData::CGrabResultDataImpl::~CGrabResultDataImpl() {
    DestroyNodeMap(emptyChunkNodeMap.load());
    for (const auto& body : m_spareBodies) {
        delete body.load();
    }
}

CGrabResultPtrImpl* CGrabResultData::CGrabResultDataImpl::LendBody() noexcept {
    for (auto& place : m_spareBodies) {
        if (place.load() != nullptr) { // a look first: an exchange costs more, and most pointers find one at once
            if (CGrabResultPtrImpl* const body = place.exchange(nullptr)) {
                return body;
            }
        }
    }
    return nullptr;
}

bool CGrabResultData::CGrabResultDataImpl::KeepBody(CGrabResultPtrImpl* body) noexcept {
    return std::any_of(m_spareBodies.begin(), m_spareBodies.end(), [body](auto& place) {
        CGrabResultPtrImpl* none = nullptr;
        return place.compare_exchange_strong(none, body); // another pointer to this record may go at the same time
    });
}

void CGrabResultData::CGrabResultDataImpl::Fill(CQueueEntry&& entry) noexcept {
    id = static_cast<std::int64_t>(entry.id);
    buffer = entry.buffer;
    bufferSize = entry.bufferSize;
    grabSucceeded = entry.status == GrabStatus_Grabbed;
    payloadType = entry.payloadType;
    pixelType = entry.pixelType;
    timeStamp = entry.timeStamp;
    width = ZeroIfNegative(entry.sizeX);
    height = ZeroIfNegative(entry.sizeY);
    offsetX = ZeroIfNegative(entry.offsetX);
    offsetY = ZeroIfNegative(entry.offsetY);
    paddingX = ZeroIfNegative(entry.paddingX);
    paddingY = ZeroIfNegative(entry.paddingY);
    payloadSize = ZeroIfNegative(entry.payloadSize);
    errorCode = entry.errorCode;
    errorDescription = std::move(entry.errorDescription);
    blockId = entry.blockId;
    bufferHolder = std::move(entry.bufferReference);
    bufferContext = bufferHolder != nullptr ? bufferHolder->context : 0;
}

std::shared_ptr<CBufferData> CGrabResultData::CGrabResultDataImpl::ResetResultData() noexcept {
    ResetFields();
    DetachChunkParser();
    bufferContext = 0;
    return std::exchange(bufferHolder, nullptr);
}

void CGrabResultData::CGrabResultDataImpl::ResetFields() noexcept {
    cameraContext = 0;
    id = 0;
    imageNumber = 0;
    skippedImages = 0;
    buffer = nullptr;
    bufferSize = 0;
    grabSucceeded = false;
    payloadType = PayloadType_Undefined;
    pixelType = PixelType_Undefined;
    timeStamp = 0;
    width = 0;
    height = 0;
    offsetX = 0;
    offsetY = 0;
    paddingX = 0;
    paddingY = 0;
    payloadSize = 0;
    errorCode = 0;
    errorDescription = String_t(); // and not assign(""): the record keeps no memory of a long text
    blockId = 0;
}

void CGrabResultData::CGrabResultDataImpl::DetachChunkParser() const noexcept {
    if (chunkParser != nullptr) {
        RunLogged(CameraLogCategory(), "Exception caught while detaching the buffer from a chunk parser, msg='%s'",
                  "Unknown exception caught while detaching the buffer from a chunk parser.",
                  [this] { chunkParser->DetachBuffer(); });
    }
}

void CGrabResultData::CGrabResultDataImpl::SetChunkParser(std::shared_ptr<ISelfReliantChunkParser> parser) {
    chunkNodes.Clear();
    chunkParser.reset();
    chunkNodes.Bind(*parser->GetChunkDataNodeMap());
    chunkParser = std::move(parser);
}

GenApi::INodeMap& CGrabResultData::CGrabResultDataImpl::GetChunkDataNodeMap() {
    return chunkParser != nullptr ? *chunkParser->GetChunkDataNodeMap() : GetEmptyChunkNodeMap();
}

GenApi::INodeMap& CGrabResultData::CGrabResultDataImpl::GetEmptyChunkNodeMap() {
    if (GenApi::INodeMap* const made = emptyChunkNodeMap.load()) {
        return *made;
    }
    GenApi::INodeMap* present = nullptr;
    GenApi::INodeMap* const made = GenApi::CNodeMapFactory::CreateEmptyNodeMap();
    if (emptyChunkNodeMap.compare_exchange_strong(present, made)) {
        return *made;
    }
    DestroyNodeMap(made); // another reader of this result was quicker
    return *present;
}

CGrabResultData::CGrabResultData()
    : m_impl(new CGrabResultDataImpl), m_cameraContext(&m_impl->cameraContext), m_id(&m_impl->id),
      m_imageNumber(&m_impl->imageNumber), m_skippedImages(&m_impl->skippedImages), m_buffer(&m_impl->buffer),
      m_bufferSize(&m_impl->bufferSize), m_grabSucceeded(&m_impl->grabSucceeded), m_payloadType(&m_impl->payloadType),
      m_pixelType(&m_impl->pixelType), m_timeStamp(&m_impl->timeStamp), m_width(&m_impl->width),
      m_height(&m_impl->height), m_offsetX(&m_impl->offsetX), m_offsetY(&m_impl->offsetY),
      m_paddingX(&m_impl->paddingX), m_paddingY(&m_impl->paddingY), m_payloadSize(&m_impl->payloadSize),
      m_errorCode(&m_impl->errorCode), m_errorDescription(&m_impl->errorDescription), m_blockId(&m_impl->blockId),
      m_bufferContext(&m_impl->bufferContext) {}

CGrabResultData::~CGrabResultData() {
    delete m_impl;
}

void CGrabResultData::Destroy() {
    delete this;
}

void CGrabResultData::Initialize() {}

bool CGrabResultData::GrabSucceeded() const {
    return *m_grabSucceeded;
}

String_t CGrabResultData::GetErrorDescription() const {
    return *m_errorDescription;
}

std::uint32_t CGrabResultData::GetErrorCode() const {
    return *m_errorCode;
}

EPayloadType CGrabResultData::GetPayloadType() const {
    return *m_payloadType;
}

EPixelType CGrabResultData::GetPixelType() const {
    return *m_pixelType;
}

std::uint32_t CGrabResultData::GetWidth() const {
    return *m_width;
}

std::uint32_t CGrabResultData::GetHeight() const {
    return *m_height;
}

std::uint32_t CGrabResultData::GetOffsetX() const {
    return *m_offsetX;
}

std::uint32_t CGrabResultData::GetOffsetY() const {
    return *m_offsetY;
}

std::uint32_t CGrabResultData::GetPaddingX() const {
    return *m_paddingX;
}

std::uint32_t CGrabResultData::GetPaddingY() const {
    return *m_paddingY;
}

void* CGrabResultData::GetBuffer() const {
    return *m_buffer;
}

std::uint64_t CGrabResultData::GetBufferSize() const {
    return *m_bufferSize;
}

std::uint64_t CGrabResultData::GetPayloadSize() const {
    return *m_payloadSize;
}

long CGrabResultData::GetBufferContext() const {
    return *m_bufferContext;
}

bool CGrabResultData::GetStride(std::size_t& strideBytes) const {
    return ComputeStride(strideBytes, *m_pixelType, *m_width, *m_paddingX);
}

std::size_t CGrabResultData::GetImageSize() const {
    return ComputeBufferSize(*m_pixelType, *m_width, *m_height, *m_paddingX);
}

std::uint64_t CGrabResultData::GetTimeStamp() const {
    return *m_timeStamp;
}

std::uint64_t CGrabResultData::GetBlockID() const {
    return *m_blockId;
}

std::int64_t CGrabResultData::GetID() const {
    return *m_id;
}

std::int64_t CGrabResultData::GetImageNumber() const {
    return *m_imageNumber;
}

std::int64_t CGrabResultData::GetNumberOfSkippedImages() const {
    return *m_skippedImages;
}

long CGrabResultData::GetCameraContext() const {
    return *m_cameraContext;
}

bool CGrabResultData::IsChunkDataAvailable() const {
    return m_impl->chunkParser != nullptr;
}

GenApi::INodeMap& CGrabResultData::GetChunkDataNodeMap() const {
    return m_impl->GetChunkDataNodeMap();
}

bool CGrabResultData::HasCRC() const {
    return m_impl->chunkParser != nullptr && m_impl->chunkParser->HasCRC();
}

bool CGrabResultData::CheckCRC() const {
    return m_impl->chunkParser != nullptr && m_impl->chunkParser->CheckCRC();
}

} // namespace Zelmo
