// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/Export.h>

#include <cstdint>

namespace GenApi {
class CChunkAdapter;
struct AttachStatistics_t;
struct INodeMap;
} // namespace GenApi

namespace Zelmo {

/// Maps the chunks at the end of an image buffer onto a node map. Threads: one at a time; a parser serves one
/// result after the other.
class ZELMO_API IChunkParser {
public:
    /// Maps @p buffer, of @p bufferSizeBytes, onto the node map; it must stay until it is detached. An attached buffer
    /// may be replaced. A broken layout leaves the former state; whatever was thrown, DetachBuffer takes the buffer
    /// out.
    virtual void AttachBuffer(const void* buffer, std::int64_t bufferSizeBytes,
                              GenApi::AttachStatistics_t* statistics = nullptr) = 0;

    /// Takes the buffer out; the chunk nodes are not available after that. Harmless without a buffer.
    virtual void DetachBuffer() = 0;

    /// Replaces the buffer by one of the same layout at another address.
    /// @throws GenICam::LogicalErrorException without an attached buffer.
    virtual void UpdateBuffer(const void* buffer) = 0;

    virtual bool HasCRC() const = 0;   ///< The buffer holds a checksum chunk.
    virtual bool CheckCRC() const = 0; ///< The checksum matches.

protected:
    ~IChunkParser() = default;
};

/// A chunk parser with a node map of its own: what devices hand out.
class ZELMO_API ISelfReliantChunkParser : public IChunkParser {
public:
    virtual GenApi::INodeMap* GetChunkDataNodeMap() = 0; ///< Owned by the parser, the same one all its life.

    /// The parser gives itself up. Called on any thread, when the last result that uses it goes: perhaps after the
    /// device and the transport layer were destroyed, and even after the library was terminated. So a parser needs
    /// nothing of theirs; the plug-in's file stays mapped.
    virtual void Destroy() = 0;

    virtual ~ISelfReliantChunkParser() = default;
};

/// What the parsers of plug-ins have in common: a GenApi chunk adapter does the mapping. Left to a derived class are
/// the checksum and, for a parser that devices hand out, GetChunkDataNodeMap and Destroy.
class ZELMO_API CChunkParser : public ISelfReliantChunkParser {
public:
    /// An address and how many bytes are there; borrowed.
    class CBuffer {
    public:
        CBuffer(const void* address, std::int64_t sizeBytes) noexcept : m_address(address), m_sizeBytes(sizeBytes) {}
        explicit operator bool() const noexcept { return m_address != nullptr; }
        const void* operator&() const noexcept { return m_address; } // NOLINT(google-runtime-operator)
        std::int64_t GetSize() const noexcept { return m_sizeBytes; }

    private:
        const void* m_address;
        std::int64_t m_sizeBytes;
    };

    /// @param adapter is owned from now on; already attached to the node map of the chunks.
    explicit CChunkParser(GenApi::CChunkAdapter* adapter) noexcept : m_adapter(adapter) {}
    CChunkParser(const CChunkParser&) = delete;
    CChunkParser& operator=(const CChunkParser&) = delete;
    ~CChunkParser() override; ///< Detaches the buffer; deletes the adapter.

    void AttachBuffer(const void* buffer, std::int64_t bufferSizeBytes,
                      GenApi::AttachStatistics_t* statistics = nullptr) override;
    void DetachBuffer() override;
    void UpdateBuffer(const void* buffer) override;
    GenApi::INodeMap* GetChunkDataNodeMap() override; ///< @throws GenICam::RuntimeException unless overridden.
    void Destroy() override;                          ///< @throws GenICam::RuntimeException unless overridden.

protected:
    GenApi::CChunkAdapter& GetAdapter() const noexcept { return *m_adapter; }
    const CBuffer& GetBuffer() const noexcept { return m_buffer; } ///< Null, with size 0, when none is attached.

private:
    GenApi::CChunkAdapter* const m_adapter;
    CBuffer m_buffer{nullptr, 0};
    bool m_isAttached = false;
    bool m_isUncertain = false; // a callback of the node map threw: the adapter may have a buffer
};

} // namespace Zelmo
