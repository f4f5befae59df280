// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/nodes/RegisterPart.h"

#include "genicam/genapi/nodes/NodeError.h"

#include <cinttypes>
#include <utility>

namespace GenApi {

void RegisterPart::BindProperty(NodeBase& owner, const Property& property) {
    const Model& model = owner.Description();
    NodeBase* const target = property.form == Form::Node ? &owner.Core().NodeAt(property.payload) : nullptr;
    switch (property.kind) {
    case PropertyKind::Address: // several add up; modulo 2^64, so in unsigned numbers
        m_fixedAddress = static_cast<std::int64_t>(static_cast<std::uint64_t>(m_fixedAddress) +
                                                   static_cast<std::uint64_t>(model.IntegerOf(property)));
        m_address = m_fixedAddress;
        break;
    case PropertyKind::pAddress:
    case PropertyKind::IntSwissKnife:
        m_terms.push_back({target});
        break;
    case PropertyKind::pIndex:
        m_terms.push_back({target, true});
        break;
    case PropertyKind::Offset: // an attribute follows its pIndex, so the last term is the index that it belongs to
        m_terms.back().factor = model.IntegerOf(property);
        m_terms.back().hasFactor = true;
        break;
    case PropertyKind::pOffset:
        m_terms.back().offset = target;
        break;
    case PropertyKind::Length:
        m_fixedLength = model.IntegerOf(property);
        m_length = m_fixedLength;
        break;
    case PropertyKind::pLength:
        m_lengthNode = target;
        break;
    case PropertyKind::pPort:
        m_port = static_cast<PortNode*>(target);
        break;
    case PropertyKind::AccessMode:
        m_mode = static_cast<EAccessMode>(property.payload);
        break;
    case PropertyKind::Cachable:
        m_caching = static_cast<ECachingMode>(property.payload);
        break;
    default:
        break;
    }
}

EAccessMode RegisterPart::Mode() {
    EvaluationGuard::Spend(*m_port, m_terms.size() / 8); // terms cost less than visits of nodes
    for (const Term& term : m_terms) {
        if (!IsReadable(term.node->Mode()) || (term.offset != nullptr && !IsReadable(term.offset->Mode()))) {
            return Combine(m_port->Mode(), NA); // NI if the port is
        }
    }
    if (m_lengthNode != nullptr && !IsReadable(m_lengthNode->Mode())) {
        return Combine(m_port->Mode(), NA);
    }
    return Combine(m_mode, m_port->Mode());
}

bool RegisterPart::IsModeCacheable() {
    bool cacheable = m_port->IsModeCacheable() && (m_lengthNode == nullptr || m_lengthNode->IsModeCacheable());
    for (const Term& term : m_terms) {
        cacheable =
            cacheable && term.node->IsModeCacheable() && (term.offset == nullptr || term.offset->IsModeCacheable());
    }
    return cacheable;
}

bool RegisterPart::IsPlaceCacheable() {
    bool cacheable = m_lengthNode == nullptr || m_lengthNode->Caching() != NoCache;
    for (const Term& term : m_terms) {
        cacheable = cacheable && term.node->Caching() != NoCache &&
                    (term.offset == nullptr || term.offset->Caching() != NoCache);
    }
    return cacheable;
}

void RegisterPart::Locate(NodeBase& owner, std::int64_t minLength, std::int64_t maxLength) {
    // the length first: an index without offset counts in it
    const std::int64_t length = m_lengthNode != nullptr ? m_lengthNode->ReadInteger(ReadMode()) : m_fixedLength;
    if (length < minLength || length > maxLength) {
        throw NODE_EXCEPTION(RuntimeException, owner)("The register has a length of %" PRId64 " bytes, %" PRId64
                                                      " to %" PRId64 " are allowed.",
                                                      length, minLength, maxLength);
    }
    auto address = static_cast<std::uint64_t>(m_fixedAddress);
    EvaluationGuard::Spend(owner, m_terms.size() / 8);
    for (const Term& term : m_terms) {
        auto part = static_cast<std::uint64_t>(term.node->ReadInteger(ReadMode()));
        if (term.isIndex) {
            part *= static_cast<std::uint64_t>(term.offset != nullptr ? term.offset->ReadInteger(ReadMode())
                                               : term.hasFactor       ? term.factor
                                                                      : length);
        }
        address += part;
    }
    // 0 - length is the last address at which so many bytes fit below 2^64
    if (address > std::uint64_t(0) - static_cast<std::uint64_t>(length) && length > 0) {
        throw NODE_EXCEPTION(RuntimeException, owner)("The register of %" PRId64 " bytes at address 0x%" PRIx64
                                                      " reaches beyond the last address.",
                                                      length, address);
    }
    if (m_address != static_cast<std::int64_t>(address) || m_length != length) {
        DropRaw(); // under the old place, so before that is overwritten
        m_entry = nullptr;
    }
    m_address = static_cast<std::int64_t>(address);
    m_length = length;
}

RawCache::Entry& RegisterPart::Entry() {
    // the port forgets all its entries at once when they are too many, and counts that as a generation
    if (m_entry == nullptr || m_generation != m_port->Raw().Generation()) {
        m_entry = &m_port->Raw().At(m_address, m_length);
        m_generation = m_port->Raw().Generation();
    }
    return *m_entry;
}

/// The port may come back to this place while it reads, write it or make it void: only what nobody has touched since
/// the read began is kept, as the bytes of the read may be the older ones.
std::span<const std::uint8_t> RegisterPart::Read(ReadMode mode) {
    RawCache::Claim claim{};
    if (m_caching != NoCache) {
        RawCache::Entry& entry = Entry();
        if (entry.IsValid() && mode.MayUseCache()) {
            return entry.bytes;
        }
        claim = m_port->Raw().Begin(entry);
    }
    const std::int64_t address = m_address; // the register may move meanwhile
    const std::int64_t length = m_length;
    std::vector<std::uint8_t> bytes = m_port->TakeBuffer();
    bytes.resize(static_cast<std::size_t>(length));
    m_port->ReadBytes(bytes.data(), address, length);
    m_port->Raw().Keep(claim, bytes);
    return m_port->GiveBuffer(std::move(bytes));
}

bool RegisterPart::Write(std::span<const std::uint8_t> bytes) {
    RawCache& raw = m_port->Raw();
    // not where the register has moved, after its bytes were made up, to a place of another length
    const bool keeps = m_caching == WriteThrough && bytes.size() == static_cast<std::size_t>(m_length);
    const RawCache::Claim claim = keeps ? raw.Begin(Entry()) : RawCache::Claim{};
    m_port->WriteBytes(bytes.data(), m_address, static_cast<std::int64_t>(bytes.size()), claim);
    return raw.Keep(claim, bytes);
}

bool RegisterPart::IsCached() {
    return m_caching != NoCache && Entry().IsValid();
}

void RegisterPart::DropRaw() noexcept {
    if (m_entry != nullptr && m_generation == m_port->Raw().Generation()) {
        m_entry->Drop();
    } else {
        m_port->Raw().Drop(m_address, m_length); // another register may have read the same place
    }
}

} // namespace GenApi
