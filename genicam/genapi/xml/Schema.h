// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "genicam/genapi/model/Kinds.h"

#include <array>
#include <cstdint>
#include <initializer_list>
#include <span>

/// Which properties the standard's schemas 1.0 and 1.1, taken together, allow and demand of each kind of node.
namespace GenApi {

/// A set of kinds of properties, made at compile time.
class PropertySet {
public:
    constexpr PropertySet() = default;
    constexpr PropertySet(std::initializer_list<PropertyKind> kinds) {
        for (const PropertyKind kind : kinds) {
            Add(kind);
        }
    }
    constexpr void Add(PropertyKind kind) noexcept { m_words[Word(kind)] |= Bit(kind); }
    constexpr bool Has(PropertyKind kind) const noexcept { return (m_words[Word(kind)] & Bit(kind)) != 0; }
    constexpr bool Meets(const PropertySet& other) const noexcept {
        return ((m_words[0] & other.m_words[0]) | (m_words[1] & other.m_words[1])) != 0;
    }
    friend constexpr PropertySet operator|(const PropertySet& a, const PropertySet& b) noexcept {
        PropertySet both;
        both.m_words = {a.m_words[0] | b.m_words[0], a.m_words[1] | b.m_words[1]};
        return both;
    }

private:
    static constexpr std::size_t Word(PropertyKind kind) noexcept { return static_cast<std::size_t>(kind) / 64; }
    static constexpr std::uint64_t Bit(PropertyKind kind) noexcept {
        return std::uint64_t(1) << (static_cast<unsigned>(kind) % 64);
    }
    static_assert(static_cast<std::size_t>(PropertyKind::Unknown) < 128);

    std::array<std::uint64_t, 2> m_words{};
};

/// The elements that a node of this kind may hold.
const PropertySet& AllowedElements(NodeKind kind) noexcept;

/// Of each of these sets a node of this kind must hold a property.
std::span<const PropertySet> Requirements(NodeKind kind) noexcept;

/// Whether the node means nothing without this property, or another thing than was meant: then its text is not ignored.
bool IsRequired(NodeKind kind, PropertyKind property) noexcept;

bool MayRepeat(PropertyKind kind) noexcept;                             ///< whether one node may hold several
bool MayStandAt(PropertyKind attribute, PropertyKind element) noexcept; ///< such as Offset at pIndex
PropertyKind NeededAttribute(PropertyKind element) noexcept;            ///< Unknown if there is none.

} // namespace GenApi
