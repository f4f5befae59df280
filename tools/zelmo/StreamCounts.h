// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Json.h"

#include <cstdint>
#include <optional>

namespace GenApi {
struct INodeMap;
}

namespace tool {

/// What a stream grabber counts beside images. Nothing where it does not count: a nought is a count.
struct StreamCounts {
    using Count = std::optional<std::uint64_t>;

    Count packets;       ///< Taken into images.
    Count missing;       ///< Still missing when their image failed.
    Count requests;      ///< Commands that ask for packets again.
    Count requested;     ///< Packets asked for by them.
    Count resent;        ///< Packets that came then.
    Count refused;       ///< Packets that the camera could not send, and told so.
    Count droppedByHost; ///< Packets that reached this host and were lost in it.
    Count ignored;       ///< Packets of no image that is open.
    Count underruns;     ///< Images for which no buffer was free.
    Count missedImages;  ///< Images of which no packet came.

    /// Whether images come in packets at all.
    bool HavePackets() const noexcept { return packets.has_value(); }

    Json ToJson() const; ///< Keys of what is counted.
};

/// Null counts nothing. @throws what reading a node throws.
StreamCounts ReadStreamCounts(GenApi::INodeMap* nodeMap);

} // namespace tool
