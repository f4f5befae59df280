// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/nodes/PortNode.h"

#include "genicam/genapi/nodes/NodeError.h"

#include <Log/CLog.h>

#include <algorithm>
#include <cinttypes>
#include <cstdio>

namespace GenApi {

namespace {

/// A line for an access of the device, for those who want to see what goes over the wire.
void LogAccess(const char* action, const NodeBase& port, std::int64_t address, const void* bytes, std::int64_t length) {
    static GenICam::Logger& logger = GenICam::CLog::GetLogger("GenApi.Device");
    if (!logger.isPriorityEnabled(GenICam::LogPriority_Debug)) {
        return;
    }
    constexpr std::int64_t limit = 32; // the length tells of more
    char text[3 * limit + 1] = "";
    for (std::int64_t index = 0; index < std::min(length, limit); ++index) {
        std::snprintf(text + 3 * index, 4, " %02x", static_cast<const std::uint8_t*>(bytes)[index]);
    }
    const std::string_view name = port.Name();
    logger.log(GenICam::LogPriority_Debug, "%.*s: %s %" PRId64 " bytes at 0x%" PRIx64 ":%s",
               static_cast<int>(name.size()), name.data(), action, length, address, text);
}

} // namespace

void PortNode::BindProperty(const Property& property) {
    if (property.kind == PropertyKind::SwapEndianess) {
        m_swapEndianess = property.payload == Yes;
    } else if (property.kind == PropertyKind::pChunkID) {
        m_chunkId = Target(property);
    }
}

/// Whatever the mode says: one that depends on itself is taken for RW.
void PortNode::RequireConnected() {
    if (m_implementation == nullptr) {
        throw NODE_EXCEPTION(AccessException, *this)("The port is not connected.");
    }
}

EAccessMode PortNode::OwnMode() {
    return m_implementation != nullptr ? m_implementation->GetAccessMode() : NA;
}

// A port node may be the port of another map; the guards end accesses that come back through ports in between.
void PortNode::Read(void* pBuffer, int64_t Address, int64_t Length) {
    const Call call(*this, "Read");
    const EvaluationGuard guard(*this, EvaluationGuard::Reading);
    RequireConnected();
    RequireReadable();
    m_implementation->Read(pBuffer, Address, Length);
    LogAccess("read", *this, Address, pBuffer, Length);
}

void PortNode::Write(const void* pBuffer, int64_t Address, int64_t Length) {
    const Call call(*this, "Write");
    const EvaluationGuard guard(*this, EvaluationGuard::Writing);
    RequireConnected();
    RequireWritable();
    WriteThroughPort(pBuffer, Address, Length, {});
}

/// @throws GenICam::InvalidArgumentException if @p port leads back to this node
void PortNode::RefuseCircle(IPort* port) {
    constexpr int maxMaps = 1000; // as other threads may be connecting them meanwhile
    auto* below = dynamic_cast<PortNode*>(port);
    for (int maps = 0; below != nullptr && maps < maxMaps; ++maps) {
        if (below == this) {
            throw NODE_EXCEPTION(InvalidArgumentException, *this)("A port cannot be connected to itself.");
        }
        const GenICam::AutoLock lock(below->Core().Lock());
        below = dynamic_cast<PortNode*>(below->m_implementation);
    }
}

void PortNode::SetPortImpl(IPort* pPort) {
    RefuseCircle(pPort);
    Core().Change(*this, "SetPortImpl", [&] {
        m_implementation = pPort;
        Core().Invalidate(*this);
    });
}

gcstring PortNode::GetChunkID() const {
    const Call call(*this, "GetChunkID");
    if (m_chunkId != nullptr) {
        return gcstring(m_chunkId->ReadText(ReadMode()));
    }
    return gcstring(Description().TextOr(Index(), PropertyKind::ChunkID, {}));
}

EYesNo PortNode::CacheChunkData() const {
    const Property* property = Description().FindProperty(Index(), PropertyKind::CacheChunkData);
    return property != nullptr && property->payload == Yes ? Yes : No;
}

void PortNode::Replay(IPortWriteList* pPortRecorder, bool Invalidate) {
    if (pPortRecorder == nullptr) {
        throw INVALID_ARGUMENT_EXCEPTION("Cannot replay a null list at port '%s'.", NameText().c_str());
    }
    const auto invalidate = [&] {
        if (Invalidate) {
            Core().Invalidate(*this);
        }
    };
    Core().Change(*this, "Replay", [&] {
        invalidate();
        try {
            pPortRecorder->Replay(this);
        } catch (...) {
            invalidate(); // what was written before holds
            throw;
        }
        invalidate(); // the port may have read in the middle of it
    });
}

void PortNode::StartRecording(IPortWriteList* pPortRecorder) {
    const GenICam::AutoLock lock(Core().Lock());
    m_recording = pPortRecorder;
}

void PortNode::StopRecording() {
    const GenICam::AutoLock lock(Core().Lock());
    m_recording = nullptr;
}

void PortNode::ReadBytes(std::uint8_t* bytes, std::int64_t address, std::int64_t length) {
    RequireConnected();
    RequireReadable();
    if (length == 0) {
        return; // no port has to bear a read of nothing
    }
    m_implementation->Read(bytes, address, length);
    LogAccess("read", *this, address, bytes, length);
    if (NeedsSwap(length)) {
        std::reverse(bytes, bytes + length);
    }
}

void PortNode::WriteBytes(const std::uint8_t* bytes, std::int64_t address, std::int64_t length,
                          const RawCache::Claim& claim) {
    RequireConnected();
    RequireWritable();
    if (length == 0) {
        return;
    }
    if (NeedsSwap(length)) {
        std::uint8_t swapped[8];
        std::reverse_copy(bytes, bytes + length, swapped);
        WriteThroughPort(swapped, address, length, claim);
    } else {
        WriteThroughPort(bytes, address, length, claim);
    }
}

namespace {

/// A write makes void what it overlaps: before it and, as the port may read in the middle of it, after it, also if it
/// fails.
class OverlapScope {
public:
    OverlapScope(RawCache& raw, std::int64_t address, std::int64_t length, const RawCache::Claim& spared) noexcept
        : m_raw(raw), m_address(address), m_length(length), m_spared(spared) {
        m_raw.DropOverlapping(address, length, spared);
    }
    ~OverlapScope() { m_raw.DropOverlapping(m_address, m_length, m_spared); }
    OverlapScope(const OverlapScope&) = delete;
    OverlapScope& operator=(const OverlapScope&) = delete;

private:
    RawCache& m_raw;
    const std::int64_t m_address;
    const std::int64_t m_length;
    const RawCache::Claim& m_spared;
};

} // namespace

void PortNode::WriteThroughPort(const void* bytes, std::int64_t address, std::int64_t length,
                                const RawCache::Claim& claim) {
    const OverlapScope overlap(m_raw, address, length, claim);
    if (m_recording != nullptr) {
        m_recording->Write(bytes, address, length);
    } else {
        m_implementation->Write(bytes, address, length);
        LogAccess("wrote", *this, address, bytes, length);
    }
}

} // namespace GenApi
