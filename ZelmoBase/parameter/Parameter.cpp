// SPDX-License-Identifier: Apache-2.0
#include <zelmo/Parameter.h>

#include <Base/GCException.h>

#include "ZelmoBase/parameter/NodeAccess.h"

namespace Zelmo {

namespace {

GenApi::IValue& Required(GenApi::IValue* value, const char* operation) {
    if (!value) {
        FailWithoutNode("CParameter", operation);
    }
    return *value;
}

GenApi::INode* NodeOf(GenApi::IValue* value) {
    return value ? value->GetNode() : nullptr;
}

String_t InfoOf(const GenApi::INode& node, EParameterInfo info) {
    switch (info) {
    case ParameterInfo_Name:
        return node.GetName(false);
    case ParameterInfo_DisplayName:
        return node.GetDisplayName();
    case ParameterInfo_ToolTip:
        return node.GetToolTip();
    case ParameterInfo_Description:
        return node.GetDescription();
    }
    throw INVALID_ARGUMENT_EXCEPTION("Invalid value %d for EParameterInfo passed.", static_cast<int>(info));
}

} // namespace

CParameter::CParameter(GenApi::INode* node) : m_value(dynamic_cast<GenApi::IValue*>(node)) {}
CParameter::CParameter(GenApi::IValue* value) : CParameter(NodeBehind(value)) {}
CParameter::CParameter(GenApi::INodeMap& map, const char* name) : CParameter(FindNode(&map, name)) {}
CParameter::CParameter(GenApi::INodeMap* map, const char* name) : CParameter(FindNode(map, name)) {}
CParameter::CParameter(const CParameter& other) : CParameter(other.m_value) {}

CParameter& CParameter::operator=(const CParameter& other) {
    if (this != &other) {
        Attach(other.m_value); // the typed class's, of which this may be the base
    }
    return *this;
}

CParameter::~CParameter() = default;

GenApi::EAccessMode CParameter::GetAccessMode() const {
    return m_value ? m_value->GetAccessMode() : GenApi::NI;
}

GenApi::INode* CParameter::GetNode() {
    return Required(m_value, __func__).GetNode();
}

String_t CParameter::ToString(bool verify, bool ignoreCache) {
    return Required(m_value, __func__).ToString(verify, ignoreCache);
}

void CParameter::FromString(const String_t& value, bool verify) {
    Required(m_value, __func__).FromString(value, verify);
}

bool CParameter::IsValueCacheValid() const {
    return Required(m_value, __func__).IsValueCacheValid();
}

bool CParameter::IsReadable() const {
    try {
        return GenApi::IsReadable(m_value);
    } catch (...) { // a node that cannot tell cannot be read
        return false;
    }
}

bool CParameter::IsWritable() const {
    try {
        return GenApi::IsWritable(m_value);
    } catch (...) {
        return false;
    }
}

bool CParameter::IsValid() const {
    return m_value != nullptr;
}

String_t CParameter::GetInfo(EParameterInfo info) {
    const GenApi::INode* const node = NodeOf(m_value);
    if (!node) {
        FailWithoutNode("CParameter", __func__);
    }
    return InfoOf(*node, info);
}

String_t CParameter::GetInfoOrDefault(EParameterInfo info, String_t defaultInfo) {
    const GenApi::INode* const node = NodeOf(m_value);
    return node ? InfoOf(*node, info) : defaultInfo;
}

String_t CParameter::ToStringOrDefault(const String_t& defaultValue) {
    return GenApi::IsReadable(m_value) ? ToString(false, false) : defaultValue;
}

bool CParameter::Attach(GenApi::INodeMap* map, const char* name) {
    return Attach(FindNode(map, name));
}

bool CParameter::Attach(GenApi::INodeMap& map, const char* name) {
    return Attach(FindNode(&map, name));
}

bool CParameter::Attach(GenApi::INode* node) {
    m_value = dynamic_cast<GenApi::IValue*>(node);
    return IsValid();
}

bool CParameter::Attach(GenApi::IValue* value) {
    return Attach(NodeBehind(value));
}

bool CParameter::Equals(const CParameter& other) const {
    return m_value == other.m_value;
}

bool CParameter::Equals(const GenApi::INode* node) const {
    if (!m_value || !node) {
        return !m_value && !node;
    }
    return m_value == dynamic_cast<const GenApi::IValue*>(node);
}

bool CParameter::Equals(const GenApi::IValue* value) const {
    return m_value == value;
}

void CParameter::Release() {
    m_value = nullptr;
}

} // namespace Zelmo
