// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>
#include <memory>

namespace Gige {

/// Which packets of a block are there: a bit each, in a room of fixed size.
class CPacketMap {
public:
    explicit CPacketMap(std::uint32_t room)
        : m_room(room), m_words(std::make_unique<std::uint64_t[]>(room / kWordBits + 1)) {}

    std::uint32_t Room() const { return m_room; }
    std::uint32_t Count() const { return m_count; }
    std::uint32_t End() const { return m_end; } ///< One behind the highest id.
    bool Has(std::uint32_t id) const { return id < m_end && (m_words[id / kWordBits] >> id % kWordBits & 1) != 0; }

    void Add(std::uint32_t id) { ///< One that is not there, below Room().
        m_words[id / kWordBits] |= std::uint64_t{1} << id % kWordBits;
        m_end = std::max(m_end, id + 1);
        ++m_count;
    }
    void Clear() {
        std::fill_n(m_words.get(), m_end / kWordBits + 1, 0);
        m_count = m_end = 0;
    }

    /// The first one that is not there, from @p from on; @p limit when all below it are.
    std::uint32_t NextMissing(std::uint32_t from, std::uint32_t limit) const {
        const std::uint32_t end = std::min(limit, m_end);
        while (from < end) {
            const std::uint64_t missing = ~m_words[from / kWordBits] >> from % kWordBits;
            if (missing != 0) {
                from += static_cast<std::uint32_t>(std::countr_zero(missing));
                break;
            }
            from = (from / kWordBits + 1) * kWordBits;
        }
        return std::min(from, limit);
    }
    /// The last one that is not there below End(), which must exist.
    std::uint32_t LastMissing() const {
        std::uint32_t id = m_end - 1;
        while (Has(id)) {
            id -= (id % kWordBits == kWordBits - 1 && m_words[id / kWordBits] == ~std::uint64_t{0}) ? kWordBits : 1;
        }
        return id;
    }

private:
    static constexpr std::uint32_t kWordBits = 64;

    std::uint32_t m_room;
    std::unique_ptr<std::uint64_t[]> m_words;
    std::uint32_t m_count = 0, m_end = 0;
};

} // namespace Gige
