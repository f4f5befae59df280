// SPDX-License-Identifier: Apache-2.0
#include <zelmo/EnumParameter.h>

#include "ZelmoBase/parameter/EnumAccess.h"
#include "ZelmoBase/parameter/TypedParameterBody.h"

#include <GenApi/Container.h>
#include <GenApi/IEnumEntry.h>

#include <Base/GCException.h>

#include <string_view>

namespace Zelmo {

template class CTypedParameter<CEnumParameter, IEnumerationEx, GenApi::IEnumeration>;

namespace {

using Table = CEnumParameter::Table_t;

void RequireList(const char** values) {
    if (values == nullptr) {
        throw INVALID_ARGUMENT_EXCEPTION("The passed parameter list must not be NULL.");
    }
}

/// The names of the entries of which @p isWanted says so, in the order of the node.
template <class Wanted>
void CollectNames(GenApi::IEnumeration& node, Wanted&& isWanted, StringList_t& names) {
    names.clear();
    GenApi::NodeList_t entries;
    node.GetEntries(entries);
    for (GenApi::INode* const entry : entries) {
        auto* const asEntry = dynamic_cast<GenApi::IEnumEntry*>(entry);
        if (asEntry != nullptr && isWanted(*entry)) {
            names.push_back(asEntry->GetSymbolic());
        }
    }
}

bool IsName(const Table::Entry& entry, std::string_view name) {
    return entry.sizeBytes > 1 && std::string_view(entry.name, entry.sizeBytes - 1) == name;
}

} // namespace

void CEnumParameter::GetSymbolics(StringList_t& symbolics) {
    NodeFor(__func__).GetSymbolics(symbolics);
}

void CEnumParameter::GetEntries(GenApi::NodeList_t& entries) {
    NodeFor(__func__).GetEntries(entries);
}

GenApi::IEnumeration& CEnumParameter::operator=(const String_t& value) {
    NodeFor(__func__) = value;
    return *this;
}

void CEnumParameter::SetIntValue(int64_t value, bool verify) {
    NodeFor(__func__).SetIntValue(value, verify);
}

String_t CEnumParameter::operator*() {
    return *NodeFor(__func__);
}

int64_t CEnumParameter::GetIntValue(bool verify, bool ignoreCache) {
    return NodeFor(__func__).GetIntValue(verify, ignoreCache);
}

GenApi::IEnumEntry* CEnumParameter::GetEntryByName(const String_t& symbolic) {
    return NodeFor(__func__).GetEntryByName(symbolic);
}

GenApi::IEnumEntry* CEnumParameter::GetEntry(int64_t value) {
    return NodeFor(__func__).GetEntry(value);
}

GenApi::IEnumEntry* CEnumParameter::GetCurrentEntry(bool verify, bool ignoreCache) {
    return NodeFor(__func__).GetCurrentEntry(verify, ignoreCache);
}

String_t CEnumParameter::GetValueOrDefault(const String_t& defaultValue) {
    return GenApi::IsReadable(Node()) ? Node()->ToString(false, false) : defaultValue;
}

bool CEnumParameter::TrySetValue(const String_t& value) {
    return TrySetEnumeration(Node(), value);
}

void CEnumParameter::SetValue(const char** values) {
    RequireList(values);
    GenApi::IEnumeration& node = NodeFor(__func__);
    if (SetFirstOf(&node, values) == 0) {
        throw ACCESS_EXCEPTION("Invalid enumeration values passed for %s.", node.GetNode()->GetName(false).c_str());
    }
}

bool CEnumParameter::TrySetValue(const char** values) {
    RequireList(values);
    if (!GenApi::IsWritable(Node())) {
        return false;
    }
    SetValue(values);
    return true;
}

bool CEnumParameter::CanSetValue(const String_t& value) {
    try {
        return GenApi::IsWritable(Node()) && GenApi::IsAvailable(Node()->GetEntryByName(value));
    } catch (...) { // a node that cannot tell cannot be set
        return false;
    }
}

void CEnumParameter::SetValue(const String_t& value) {
    NodeFor(__func__).FromString(value, true);
}

String_t CEnumParameter::GetValue() {
    return NodeFor(__func__).ToString(false, false);
}

void CEnumParameter::GetSettableValues(StringList_t& values) {
    CollectNames(
        NodeFor(__func__), [](const GenApi::INode& entry) { return GenApi::IsAvailable(entry); }, values);
}

void CEnumParameter::GetAllValues(StringList_t& values) {
    CollectNames(
        NodeFor(__func__), [](const GenApi::INode& entry) { return GenApi::IsImplemented(entry); }, values);
}

CParameter CEnumParameter::GetEntryByNameAsParameter(const String_t& value) {
    return CParameter(NodeFor(__func__).GetEntryByName(value));
}

CParameter CEnumParameter::GetCurrentEntryAsParameter() {
    return CParameter(NodeFor(__func__).GetCurrentEntry(false, false));
}

void CEnumParameter::SetValue(const Table_t& table, unsigned long index, bool verify) {
    if (index >= table.count) {
        throw ACCESS_EXCEPTION("Enum index %d is invalid. Valid values range from 0 to %d", static_cast<int>(index),
                               table.count > 0 ? static_cast<int>(table.count) - 1 : 0);
    }
    FromString(table.entries[index].name, verify);
}

unsigned long CEnumParameter::GetValue(const Table_t& table, bool verify, bool ignoreCache) {
    const GenApi::IEnumEntry* const entry = GetCurrentEntry(verify, ignoreCache);
    if (entry == nullptr) {
        throw RUNTIME_EXCEPTION("Internal error. GetCurrentEntry returned NULL.");
    }
    const String_t symbolic = entry->GetSymbolic();
    for (unsigned long index = 0; index < table.count; ++index) {
        if (IsName(table.entries[index], {symbolic.c_str(), symbolic.length()})) {
            return index;
        }
    }
    throw ACCESS_EXCEPTION("EnumEntry %s not found in table.", symbolic.c_str());
}

GenApi::IEnumEntry* CEnumParameter::GetEntry(const Table_t& table, unsigned long index) {
    return index < table.count ? GetEntryByName(table.entries[index].name) : nullptr;
}

bool CEnumParameter::CanSetValue(const Table_t& table, unsigned long index) {
    return index < table.count && GenApi::IsWritable(Node()) &&
           GenApi::IsAvailable(GetEntryByName(table.entries[index].name));
}

} // namespace Zelmo
