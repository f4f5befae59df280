// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/nodes/EnumerationNode.h"

#include "genicam/genapi/nodes/DeviceLog.h"
#include "genicam/genapi/nodes/IntegerBase.h"
#include "genicam/genapi/nodes/NodeError.h"

#include <algorithm>
#include <cinttypes>
#include <cmath>

namespace GenApi {

void EnumEntryNode::BindProperty(const Property& property) {
    switch (property.kind) {
    case PropertyKind::Value:
        m_value = Description().IntegerOf(property);
        break;
    case PropertyKind::NumericValue:
        m_numeric = Description().FloatOf(property);
        m_hasNumeric = true;
        break;
    case PropertyKind::Symbolic:
        m_symbolic = Description().TextOf(property.payload);
        break;
    case PropertyKind::IsSelfClearing:
        m_isSelfClearing = property.payload == Yes;
        break;
    case PropertyKind::Name:
        m_symbolic = m_symbolic.empty() ? Description().TextOf(property.payload) : m_symbolic;
        break;
    default:
        break;
    }
}

gcstring EnumEntryNode::GetDisplayName() const {
    return gcstring(Description().TextOr(Index(), PropertyKind::DisplayName, Symbolic()));
}

std::int64_t EnumEntryNode::NumericInteger() {
    std::int64_t rounded = m_value;
    if (m_hasNumeric && !RoundToInteger(m_numeric, rounded)) {
        throw NODE_EXCEPTION(RuntimeException, *this)("Value %f does not fit into 64 bits.", m_numeric);
    }
    return rounded;
}

void EnumEntryNode::WriteFormatted(std::string_view, bool) {
    throw NODE_EXCEPTION(AccessException, *this)("Node is not writable.");
}

void EnumerationNode::BindProperty(const Property& property) {
    switch (property.kind) {
    case PropertyKind::EnumEntry:
    case PropertyKind::pEnumEntry:
        if (m_entries.empty()) {
            m_entries.reserve(Description().CountProperties(Index(), property.kind));
        }
        if (NodeBase* const entry = Target(property)) {
            m_entries.push_back(static_cast<EnumEntryNode*>(entry));
        }
        break;
    case PropertyKind::Value:
        m_own = Description().IntegerOf(property);
        break;
    case PropertyKind::pValue:
        m_target = Target(property);
        break;
    default:
        break;
    }
}

EAccessMode EnumerationNode::OwnMode() {
    EvaluationGuard::Spend(*this, m_entries.size() / 8);
    const EAccessMode value = m_target != nullptr ? m_target->Mode() : RW;
    EAccessMode best = NI;
    for (EnumEntryNode* entry : m_entries) {
        const EAccessMode mode = entry->Mode();
        if (IsAvailable(mode)) {
            return value;
        }
        best = mode == NA ? NA : best;
    }
    return Combine(value, best);
}

bool EnumerationNode::IsOwnModeCacheable() {
    bool cacheable = m_target == nullptr || m_target->IsModeCacheable();
    for (EnumEntryNode* entry : m_entries) {
        cacheable = cacheable && entry->IsModeCacheable();
    }
    return cacheable;
}

EnumEntryNode* EnumerationNode::FindSymbolic(std::string_view symbolic) const noexcept {
    if (symbolic.empty()) {
        return nullptr;
    }
    for (EnumEntryNode* entry : m_entries) {
        const std::string_view own = entry->Symbolic(); // most differ in length or at their end: Mono8, Mono12
        if (own.size() == symbolic.size() && own.back() == symbolic.back() && own == symbolic) {
            return entry;
        }
    }
    return nullptr;
}

bool EnumerationNode::HasSharedValues() {
    if (m_hasSharedValues == _UndefinedYesNo) {
        std::vector<std::int64_t> values;
        for (EnumEntryNode* entry : m_entries) {
            values.push_back(entry->Value());
        }
        std::sort(values.begin(), values.end());
        const bool isShared = std::adjacent_find(values.begin(), values.end()) != values.end();
        m_hasSharedValues = static_cast<std::uint8_t>(isShared ? Yes : No);
    }
    return m_hasSharedValues == Yes;
}

/// Cameras ship a mode under its old and its new name, or two entries of which a model has one: what is read must be
/// what can be written back, so availability decides before the order of the file.
EnumEntryNode* EnumerationNode::FindValue(std::int64_t value) {
    const auto next = [&](auto from) {
        return std::find_if(from, m_entries.end(), [value](EnumEntryNode* entry) { return entry->Value() == value; });
    };
    const auto first = next(m_entries.begin());
    if (first == m_entries.end()) {
        return nullptr;
    }
    // modes are asked for only where they decide: they may cost reads of the device
    if (!HasSharedValues() || next(first + 1) == m_entries.end()) {
        return *first;
    }
    EnumEntryNode* implemented = nullptr;
    for (auto entry = first; entry != m_entries.end(); entry = next(entry + 1)) {
        const EAccessMode mode = (*entry)->Mode();
        if (IsAvailable(mode)) {
            return *entry;
        }
        implemented = implemented == nullptr && IsImplemented(mode) ? *entry : implemented;
    }
    return implemented != nullptr ? implemented : *first;
}

void EnumerationNode::GetSymbolics(StringList_t& Symbolics) {
    Symbolics.clear();
    for (EnumEntryNode* entry : m_entries) {
        Symbolics.push_back(entry->GetSymbolic());
    }
}

void EnumerationNode::GetEntries(NodeList_t& Entries) {
    Entries.clear();
    for (EnumEntryNode* entry : m_entries) {
        Entries.push_back(entry);
    }
}

IEnumeration& EnumerationNode::operator=(const gcstring& ValueStr) {
    FromString(ValueStr);
    return *this;
}

void EnumerationNode::SetIntValue(int64_t Value, bool Verify) {
    Core().Change(*this, "SetIntValue", [&] { WriteIntValue(Value, Verify); });
}

/// A read that finds a self-clearing value gone is a change, and fires callbacks.
template <typename Read>
auto EnumerationNode::ReadPublic(const char* method, Read&& read) {
    {
        const Call call(*this, method);
        if (!m_isBusy) {
            return read();
        }
    }
    decltype(read()) result{};
    Core().Change(*this, method, [&] { result = read(); });
    return result;
}

int64_t EnumerationNode::GetIntValue(bool Verify, bool IgnoreCache) {
    return ReadPublic("GetIntValue", [&] { return ReadIntValue({Verify, IgnoreCache}); });
}

gcstring EnumerationNode::ToString(bool Verify, bool IgnoreCache) {
    return ReadPublic("ToString", [&] { return gcstring(FormatValue({Verify, IgnoreCache})); });
}

IEnumEntry* EnumerationNode::GetEntryByName(const gcstring& Symbolic) {
    return FindSymbolic(Symbolic.view());
}

IEnumEntry* EnumerationNode::GetEntry(const int64_t IntValue) {
    const Call call(*this, "GetEntry");
    return FindValue(IntValue);
}

IEnumEntry* EnumerationNode::GetCurrentEntry(bool Verify, bool IgnoreCache) {
    return ReadPublic("GetCurrentEntry", [&]() -> IEnumEntry* {
        return FindValue(ReadIntValue({Verify, IgnoreCache}));
    });
}

std::int64_t EnumerationNode::ReadIntValue(ReadMode mode) {
    RequireReadable();
    mode.ignoreCache = mode.ignoreCache || m_isBusy;
    if (HasCached(Cached_Value) && mode.MayUseCache()) {
        return m_value;
    }
    const EvaluationGuard guard(*this, EvaluationGuard::Reading);
    const Find find(*this);
    const std::int64_t value = m_target != nullptr ? m_target->ReadInteger(mode) : m_own;
    if (mode.verify) {
        CheckErrorNodes();
    }
    const bool isFresh = find.IsUndisturbed();
    // told by the first read that can tell: one through a reference fires nothing
    if (m_isBusy && value != m_busyValue && Core().IsChanging()) {
        m_isBusy = false;
        Core().InvalidateAffected(*this);
    }
    if (KeepsValue() && isFresh) {
        m_value = value;
        MarkCached(Cached_Value);
    }
    DeviceLog::TellRead(*this, value);
    return value;
}

void EnumerationNode::WriteIntValue(std::int64_t value, bool verify) {
    WriteEntry(FindValue(value), value, verify);
}

void EnumerationNode::WriteEntry(EnumEntryNode* entry, std::int64_t value, bool verify) {
    DropCached(Cached_Value);
    if (verify) {
        RequireWritable();
        if (entry == nullptr) {
            throw NODE_EXCEPTION(InvalidArgumentException, *this)(
                "Value = %" PRId64 " is not the value of an entry of enumeration '%s'.", value, NameText().c_str());
        }
        if (!IsAvailable(entry->Mode())) {
            throw NODE_EXCEPTION(AccessException, *this)("Entry '%s' of enumeration '%s' is not available.",
                                                         std::string(entry->Symbolic()).c_str(), NameText().c_str());
        }
    }
    WriteScope scope(*this);
    const Find find(*this);
    if (m_target != nullptr) {
        m_target->WriteInteger(value, verify);
    } else {
        m_own = value;
    }
    if (verify) {
        CheckErrorNodes();
    }
    m_isBusy = entry != nullptr && entry->IsSelfClearing();
    m_busyValue = value;
    if (Caching() == WriteThrough && !m_isBusy && find.IsUndisturbed()) {
        m_value = value;
        MarkCached(Cached_Value);
        MarkCached(Cached_Protected);
    }
    DeviceLog::TellWritten(*this, value);
    scope.Succeed();
}

EnumEntryNode& EnumerationNode::CurrentEntry(ReadMode mode) {
    const std::int64_t value = ReadIntValue(mode);
    EvaluationGuard::Spend(*this, m_entries.size() / 8);
    EnumEntryNode* const entry = FindValue(value);
    if (entry == nullptr) {
        throw NODE_EXCEPTION(AccessException, *this)("Enumeration '%s' has no entry for its value %" PRId64 ".",
                                                     NameText().c_str(), value);
    }
    return *entry;
}

std::int64_t EnumerationNode::ReadInteger(ReadMode mode) {
    return CurrentEntry(mode).NumericInteger();
}

double EnumerationNode::ReadFloat(ReadMode mode) {
    return CurrentEntry(mode).GetNumericValue();
}

void EnumerationNode::WriteInteger(std::int64_t value, bool verify) {
    WriteFloat(static_cast<double>(value), verify);
}

void EnumerationNode::WriteFloat(double value, bool verify) {
    EnumEntryNode* nearest = nullptr;
    for (EnumEntryNode* entry : m_entries) {
        const bool isNearer = nearest == nullptr || std::fabs(entry->GetNumericValue() - value) <
                                                        std::fabs(nearest->GetNumericValue() - value);
        if (isNearer && IsAvailable(entry->Mode())) {
            nearest = entry;
        }
    }
    if (nearest == nullptr) {
        throw NODE_EXCEPTION(AccessException, *this)("Enumeration '%s' has no available entry.", NameText().c_str());
    }
    WriteEntry(nearest, nearest->Value(), verify);
}

std::string EnumerationNode::FormatValue(ReadMode mode) {
    const std::int64_t value = ReadIntValue(mode);
    EnumEntryNode* const entry = FindValue(value);
    if (entry == nullptr) {
        throw NODE_EXCEPTION(InvalidArgumentException, *this)(
            "Enumeration '%s' has no entry for its value %" PRId64 ".", NameText().c_str(), value);
    }
    return std::string(entry->Symbolic());
}

void EnumerationNode::WriteFormatted(std::string_view text, bool verify) {
    EnumEntryNode* const entry = FindSymbolic(text);
    if (entry == nullptr) {
        FailConversion(text, "enum");
    }
    WriteEntry(entry, entry->Value(), verify);
}

std::string EnumerationNode::ErrorText() {
    const std::int64_t value = ReadIntValue({false, true});
    if (value == 0) {
        return {};
    }
    EnumEntryNode* const entry = FindValue(value);
    if (entry == nullptr) {
        return "Error " + std::to_string(value) + " of enumeration '" + NameText() + "'.";
    }
    return std::string(Description().TextOr(entry->Index(), PropertyKind::ToolTip, entry->Symbolic()));
}

void EnumerationNode::OnPollingTime() {
    if (m_isBusy && IsReadable(Mode())) {
        ReadIntValue(ReadMode());
    }
}

} // namespace GenApi
