// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ZelmoBase/camera/BufferData.h"
#include "ZelmoBase/camera/ChunkResultNodes.h"

#include <zelmo/ChunkParser.h>
#include <zelmo/GrabResultData.h>

#include <GenApi/INodeMap.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>

namespace Zelmo {

class CGrabResultPtrImpl;
struct CQueueEntry;

/// The private record behind a CGrabResultData. Pooled with it: the values below are those of a new record and of one
/// that came home.
class CGrabResultData::CGrabResultDataImpl {
public:
    CGrabResultDataImpl();
    CGrabResultDataImpl(const CGrabResultDataImpl&) = delete;
    CGrabResultDataImpl& operator=(const CGrabResultDataImpl&) = delete;
    ~CGrabResultDataImpl();

    /// Takes over what the transport layer told and the hold of the buffer. Sizes and offsets that it did not tell
    /// (-1), and any negative one, become 0.
    void Fill(CQueueEntry&& entry) noexcept;

    /// Sets the values of a new record. The parser lets go of the buffer first. @return the hold of the buffer, which
    /// goes home with it: on that thread it is then queued again.
    std::shared_ptr<CBufferData> ResetResultData() noexcept;

    /// Lends a body to a pointer that has none: mostly that of a pointer which has held this record before. So a
    /// pointer made anew for each image allocates nothing. @return null when both are lent.
    CGrabResultPtrImpl* LendBody() noexcept;
    /// Takes the body of a pointer that goes, if there is a place for it. @return false when the caller has to delete
    /// it.
    bool KeepBody(CGrabResultPtrImpl* body) noexcept;

    /// Gives the record a parser, in place of the one it has. @throws what the parser's node map throws,
    /// std::bad_alloc; it has none then.
    void SetChunkParser(std::shared_ptr<ISelfReliantChunkParser> parser);

    /// The parser's node map; without a parser an empty one, made on first use by any thread and then always the same.
    GenApi::INodeMap& GetChunkDataNodeMap();

    long cameraContext = 0;
    std::int64_t id = 0;
    std::int64_t imageNumber = 0;
    std::int64_t skippedImages = 0;
    std::atomic<GenApi::INodeMap*> emptyChunkNodeMap{nullptr}; // owned; stays with the record
    void* buffer = nullptr;
    std::uint64_t bufferSize = 0;
    bool grabSucceeded = false;
    EPayloadType payloadType = PayloadType_Undefined;
    EPixelType pixelType = PixelType_Undefined;
    std::uint64_t timeStamp = 0;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t offsetX = 0;
    std::uint32_t offsetY = 0;
    std::uint32_t paddingX = 0;
    std::uint32_t paddingY = 0;
    std::uint64_t payloadSize = 0;
    std::uint32_t errorCode = 0;
    String_t errorDescription;
    std::uint64_t blockId = 0;
    std::shared_ptr<CBufferData> bufferHolder;
    std::shared_ptr<ISelfReliantChunkParser> chunkParser; // stays with the record; behind the buffer, so it goes first
    CChunkResultNodes chunkNodes;                         // of the parser's node map; ends before the parser
    long bufferContext = 0;

private:
    // for the pointer that retrieves and for one copy, as in an application's own queue; owned, and without a result
    std::array<std::atomic<CGrabResultPtrImpl*>, 2> m_spareBodies{};

    void ResetFields() noexcept; // those that Fill and the session set, but for the hold of the buffer
    void DetachChunkParser() const noexcept;
    GenApi::INodeMap& GetEmptyChunkNodeMap();
};

} // namespace Zelmo
