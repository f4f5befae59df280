// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ZelmoBase/camera/ChunkDataNodeMapProvider.h"
#include "ZelmoBase/camera/ChunkResultNodes.h"
#include "ZelmoBase/core/Mutex.h"

#include <zelmo/GrabResultData.h>

#include <cstdint>
#include <memory>

namespace Zelmo {

/// Decides per session how the data behind an image are parsed: by a parser of each result's own, out of a pool or made
/// for it, which the application reads through the result; or, to save memory, by one internal parser, from which only
/// the geometry of the image is taken. Without chunk mode there is none, and nothing in a result is corrected.
/// Threads: with the camera lock held, but for ResizePool. Parsers come home, or end, on any.
/// Locks:   m_poolLock, then the mutex of the pool; both also behind that of the result records.
class CChunkParsingEngine {
public:
    /// For parsers that come from no pool.
    struct CChunkNodeMapDeallocator {
        void operator()(ISelfReliantChunkParser* parser) const noexcept { CChunkDataNodeMapFactory::Destroy(parser); }
    };

    CChunkParsingEngine() = default;
    CChunkParsingEngine(const CChunkParsingEngine&) = delete;
    CChunkParsingEngine& operator=(const CChunkParsingEngine&) = delete;
    ~CChunkParsingEngine() { Stop(); }

    /// Null when it is let go of. Free parsers of the device before end now, others when their results do.
    void SetDevice(IZelmoDevice* device) noexcept;
    /// How many parsers are made ahead. With a device, it makes them now, if this is another number. Threads: any.
    /// @throws what making them throws.
    void ResizePool(std::int64_t size);
    void FillPool(); ///< Makes those that are missing, with a device. @throws what making them throws.

    /// @throws GenICam::LogicalErrorException for a chunk mode without a description to make node maps from;
    ///         GenICam::RuntimeException when there is no internal parser. Nothing is begun then.
    void Start(bool areNodeMapsEnabled, bool isChunkModeActive);
    void Stop() noexcept;

    /// Whether each result has a parser: when there are no more parsers, there are no more results.
    bool HasResultParsers() const noexcept { return m_isActive && m_internalParser == nullptr; }
    /// One of them; null when the pool has no more. @throws GenICam::RuntimeException when the device makes none.
    std::shared_ptr<ISelfReliantChunkParser> CreateResultParser();
    /// Maps the chunks of an image that has some, and corrects its geometry. Callbacks of chunk nodes run inside; they
    /// may end the session.
    /// @throws GenICam::RuntimeException for a payload above the buffer; what parser and nodes throw.
    void CompleteResult(CGrabResultData::CGrabResultDataImpl& data) const;

private:
    mutable CRecursiveMutex m_poolLock; // recursive, as the plug-in makes parsers under it; guards the two below
    IZelmoDevice* m_device = nullptr;   // borrowed
    CReusableChunkDataNodeMapProvider m_pool{m_device};
    bool m_isActive = false;
    std::shared_ptr<ISelfReliantChunkParser> m_internalParser; // null: results have their own
    CChunkResultNodes m_internalNodes;                         // bound to the internal parser
};

} // namespace Zelmo
