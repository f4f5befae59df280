// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "genicam/genapi/adapters/HexId.h"
#include "genicam/genapi/map/MapLink.h"

#include <GenApi/ChunkAdapter.h>
#include <GenApi/ChunkPort.h>

#include <memory>
#include <vector>

namespace GenApi {

/// The chunk ports of one node map. A buffer is attached in two steps: Begin and Offer tell which chunks it has, which
/// nobody sees yet, then Attach makes them visible; whoever finds the layout broken meanwhile goes no further.
/// Owns: the ports. Threads: one at a time; what the map's nodes see changes under the map's lock alone.
class ChunkPorts {
public:
    explicit ChunkPorts(std::int64_t maxCopyBytes) : m_maxCopyBytes(maxCopyBytes) {}
    ChunkPorts(const ChunkPorts&) = delete;
    ChunkPorts& operator=(const ChunkPorts&) = delete;
    ~ChunkPorts();

    void Connect(INodeMap& map); ///< in place of the map before
    void Disconnect();

    void Begin();
    void Offer(HexId id, std::int64_t offset, std::int64_t length) noexcept; ///< the next chunk
    void Attach(std::uint8_t* buffer, AttachStatistics_t* statistics);
    void Detach();
    void MoveTo(std::uint8_t* buffer); ///< @throws GenICam::LogicalErrorException without a buffer
    void ClearCopies();

private:
    struct Slot {
        Slot(INode& portNode, IValue* idSource, bool copies) : node(portNode), idNode(idSource), isCopied(copies) {}
        INode& node;
        IValue* const idNode; // of pChunkID, else null
        const bool isCopied;
        std::optional<HexId> id;
        CChunkPort port;
        std::uint64_t round = 0; // in which the chunk below was offered
        std::int64_t offset = 0, length = 0;
    };
    using Slots = std::vector<std::unique_ptr<Slot>>;

    static Slots FindPorts(INodeMap& map);
    static std::unique_ptr<Slot> MakeSlot(INodeMap& map, INode& node);
    bool MustCopy(const Slot& slot) const noexcept;
    void ReserveCopies();
    void Show(Slot& slot, std::uint8_t* buffer) noexcept;
    void RefreshIds() noexcept;
    void BuildIndex() noexcept;
    void ForgetDeadMap() noexcept;
    static PortLinks LinksOf(const Slots& slots);
    /// Hands the nodes on whose ports satisfy @p condition.
    template <class Condition, class Select>
    void SelectWhere(Condition condition, const Select& select);
    /// Runs @p step with all ports, at once; it makes a difference to those for which @p differs says so.
    template <class Condition, class Step>
    void ChangeEach(Condition differs, Step step);

    const std::int64_t m_maxCopyBytes; // -1 without limit
    MapLink m_link;
    Slots m_slots;
    HexIndex m_index;
    bool m_hasIdNodes = false;
    bool m_hasBuffer = false;
    std::uint64_t m_round = 0;
    std::int64_t m_offered = 0, m_taken = 0; // chunks of this round
};

} // namespace GenApi
