// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "genicam/genapi/nodes/NodeBase.h"
#include "genicam/genapi/nodes/PortNode.h"

#include <span>
#include <vector>

namespace GenApi {

/// What all register nodes share: where the register lies, and its bytes through the port and its cache.
/// Owned by the node, which hands its properties on and asks under the lock.
class RegisterPart {
public:
    static constexpr std::int64_t kMaxLength = std::int64_t(64) << 20; ///< bytes

    void BindProperty(NodeBase& owner, const Property& property);

    EAccessMode Mode();
    bool IsModeCacheable();
    ECachingMode Caching() const noexcept { return m_caching; }
    bool IsPlaceCacheable(); ///< whether address and length may be kept until a contributor is invalidated

    void Locate(NodeBase& owner, std::int64_t minLength, std::int64_t maxLength); ///< evaluates address and length anew
    std::int64_t Address() const noexcept { return m_address; }
    std::int64_t Length() const noexcept { return m_length; }

    /// All bytes, from the cache if allowed. Located before. The span is valid until the next access to the port.
    std::span<const std::uint8_t> Read(ReadMode mode);
    bool Write(std::span<const std::uint8_t> bytes); ///< @return whether the bytes are kept as what a read would give
    bool IsCached();
    /// The bytes of the place located last, if they are cached; else null.
    const RawCache::Entry* Kept() const noexcept {
        return m_entry != nullptr && m_generation == m_port->Raw().Generation() && m_entry->IsValid() ? m_entry
                                                                                                      : nullptr;
    }
    void DropRaw() noexcept;
    PortNode& Port() const noexcept { return *m_port; }

private:
    struct Term {
        NodeBase* node; ///< address, or index if there is a factor
        bool isIndex = false;
        NodeBase* offset = nullptr; ///< of an index
        std::int64_t factor = 0;    ///< of an index, unless offset is set
        bool hasFactor = false;     ///< else the length counts
    };
    RawCache::Entry& Entry();

    std::int64_t m_fixedAddress = 0; // sum of the constants
    std::int64_t m_fixedLength = 0;
    std::vector<Term> m_terms;
    NodeBase* m_lengthNode = nullptr;
    PortNode* m_port = nullptr;
    EAccessMode m_mode = RO;
    ECachingMode m_caching = WriteThrough;

    std::int64_t m_address = 0; // found last; before that, as far as it is constant
    std::int64_t m_length = 0;
    RawCache::Entry* m_entry = nullptr; // of the place located last, while its generation lasts
    std::uint32_t m_generation = 0;
};

} // namespace GenApi
