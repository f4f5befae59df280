// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/camera/ChunkParsingEngine.h"

#include "ZelmoBase/camera/CameraLog.h"
#include "ZelmoBase/camera/GrabResultDataImpl.h"
#include "ZelmoBase/core/Guarded.h"
#include "ZelmoBase/core/ScopeGuard.h"

#include <zelmo/Device.h>

#include <Base/GCException.h>

#include <algorithm>

namespace Zelmo {
namespace {

bool HasChunks(const CGrabResultData::CGrabResultDataImpl& data) noexcept {
    return data.grabSucceeded && data.payloadType == PayloadType_ChunkData;
}

void Attach(ISelfReliantChunkParser& parser, const CGrabResultData::CGrabResultDataImpl& data) {
    if (data.payloadSize > data.bufferSize) {
        throw RUNTIME_EXCEPTION("Cannot parse chunk data: the payload of %llu bytes is larger than the buffer of %llu.",
                                static_cast<unsigned long long>(data.payloadSize),
                                static_cast<unsigned long long>(data.bufferSize));
    }
    parser.AttachBuffer(data.buffer, static_cast<std::int64_t>(data.payloadSize), nullptr);
}

} // namespace

void CChunkParsingEngine::SetDevice(IZelmoDevice* device) noexcept {
    CLockGuard lock(m_poolLock);
    m_device = device;
    const auto detach = [](auto&& step) {
        return RunLogged(CameraLogCategory(), "Exception caught while detaching from chunk parser, msg='%s'",
                         "Unknown exception caught while detaching from chunk parser.", step);
    };
    if (!detach([this] { m_pool.Reset(); })) { // then what needs no memory: the parsers of the device before have to go
        detach([this] { m_pool.SetMaxItems(0); });
    }
}

void CChunkParsingEngine::ResizePool(std::int64_t size) {
    CLockGuard lock(m_poolLock);
    const auto wanted = static_cast<std::uint64_t>(std::max<std::int64_t>(size, 0));
    if (wanted != m_pool.GetMaxItems()) { // else the node is void only because its lock was opened or closed
        m_pool.SetMaxItems(wanted);
        FillPool();
    }
}

void CChunkParsingEngine::FillPool() {
    CLockGuard lock(m_poolLock);
    if (m_device != nullptr) {
        m_pool.PrefillFree();
    }
}

void CChunkParsingEngine::Start(bool areNodeMapsEnabled, bool isChunkModeActive) {
    if (!isChunkModeActive) {
        return;
    }
    const auto* const device = dynamic_cast<IZelmoDevicePrivate*>(m_device);
    if (device == nullptr || !device->IsChunkNodeMapDescriptionAvailable()) {
        throw LOGICAL_ERROR_EXCEPTION("Cannot create chunk parser. No chunk node map description available. Check the "
                                      "Transport Layer settings.");
    }
    if (!areNodeMapsEnabled) {
        ScopeGuard stop([this]() noexcept { Stop(); });
        ISelfReliantChunkParser* const parser = CChunkDataNodeMapFactory(m_device).Create();
        if (parser == nullptr) {
            throw RUNTIME_EXCEPTION(
                "Unexpected internal error. Cannot create internal chunk parser for result completion.");
        }
        m_internalParser.reset(parser, CChunkNodeMapDeallocator());
        m_internalNodes.Bind(*m_internalParser->GetChunkDataNodeMap());
        stop.Dismiss();
    }
    m_isActive = true;
}

void CChunkParsingEngine::Stop() noexcept {
    m_internalNodes.Clear();
    m_internalParser.reset();
    m_isActive = false;
}

std::shared_ptr<ISelfReliantChunkParser> CChunkParsingEngine::CreateResultParser() {
    if (!HasResultParsers()) {
        return nullptr;
    }
    CLockGuard lock(m_poolLock);
    if (m_pool.GetMaxItems() != 0) {
        return m_pool.GetItem();
    }
    ISelfReliantChunkParser* const parser = CChunkDataNodeMapFactory(m_device).Create();
    if (parser == nullptr) {
        throw RUNTIME_EXCEPTION("Unexpected internal error. Cannot create grab result chunk parser.");
    }
    return {parser, CChunkNodeMapDeallocator()};
}

void CChunkParsingEngine::CompleteResult(CGrabResultData::CGrabResultDataImpl& data) const {
    if (!m_isActive) {
        return;
    }
    if (data.chunkNodes.IsReady()) {
        if (data.chunkParser != nullptr && HasChunks(data)) {
            Attach(*data.chunkParser, data); // to stay: the application reads the chunks
            data.chunkNodes.ReadInto(data);
        }
        return;
    }
    const std::shared_ptr<ISelfReliantChunkParser> parser = m_internalParser; // callbacks may end the session
    if (parser == nullptr) {
        throw RUNTIME_EXCEPTION("Unexpected internal error. No chunk parser available for result completion.");
    }
    if (HasChunks(data)) {
        Attach(*parser, data);
        ScopeGuard detach([&parser]() noexcept {
            RunLogged(CameraLogCategory(), "Exception caught while detaching the buffer from a chunk parser, msg='%s'",
                      "Unknown exception caught while detaching the buffer from a chunk parser.",
                      [&parser] { parser->DetachBuffer(); });
        });
        m_internalNodes.ReadInto(data); // of none, then
        detach.Dismiss();
        parser->DetachBuffer();
    }
}

} // namespace Zelmo
