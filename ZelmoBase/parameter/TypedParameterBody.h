// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/TypedParameter.h>

#include "ZelmoBase/parameter/NodeAccess.h"

// The bodies of CTypedParameter, for the one unit of each kind that instantiates it.

namespace Zelmo {

template <class Parameter, class InterfaceEx, class Interface>
CTypedParameter<Parameter, InterfaceEx, Interface>::CTypedParameter(GenApi::INode* node) {
    Bind(node);
}

template <class Parameter, class InterfaceEx, class Interface>
CTypedParameter<Parameter, InterfaceEx, Interface>::CTypedParameter(Interface* value)
    : CTypedParameter(NodeBehind(value)) {}

template <class Parameter, class InterfaceEx, class Interface>
CTypedParameter<Parameter, InterfaceEx, Interface>::CTypedParameter(GenApi::INodeMap& map, const char* name)
    : CTypedParameter(FindNode(&map, name)) {}

template <class Parameter, class InterfaceEx, class Interface>
CTypedParameter<Parameter, InterfaceEx, Interface>::CTypedParameter(GenApi::INodeMap* map, const char* name)
    : CTypedParameter(FindNode(map, name)) {}

template <class Parameter, class InterfaceEx, class Interface>
CTypedParameter<Parameter, InterfaceEx, Interface>::CTypedParameter(const CTypedParameter& other)
    : CTypedParameter(other.m_node) {}

template <class Parameter, class InterfaceEx, class Interface>
auto CTypedParameter<Parameter, InterfaceEx, Interface>::operator=(const CTypedParameter& other) -> CTypedParameter& {
    if (this != &other) {
        Attach(other.m_node);
    }
    return *this;
}

template <class Parameter, class InterfaceEx, class Interface>
bool CTypedParameter<Parameter, InterfaceEx, Interface>::Attach(GenApi::INodeMap* map, const char* name) {
    return Bind(FindNode(map, name));
}

template <class Parameter, class InterfaceEx, class Interface>
bool CTypedParameter<Parameter, InterfaceEx, Interface>::Attach(GenApi::INodeMap& map, const char* name) {
    return Bind(FindNode(&map, name));
}

template <class Parameter, class InterfaceEx, class Interface>
bool CTypedParameter<Parameter, InterfaceEx, Interface>::Attach(GenApi::INode* node) {
    return Bind(node);
}

template <class Parameter, class InterfaceEx, class Interface>
bool CTypedParameter<Parameter, InterfaceEx, Interface>::Attach(Interface* value) {
    return Bind(NodeBehind(value));
}

template <class Parameter, class InterfaceEx, class Interface>
bool CTypedParameter<Parameter, InterfaceEx, Interface>::Attach(GenApi::IValue* value) {
    return Bind(NodeBehind(value));
}

template <class Parameter, class InterfaceEx, class Interface>
bool CTypedParameter<Parameter, InterfaceEx, Interface>::Equals(const Parameter& other) const {
    return CParameter::Equals(static_cast<const CParameter&>(other));
}

template <class Parameter, class InterfaceEx, class Interface>
bool CTypedParameter<Parameter, InterfaceEx, Interface>::Equals(const GenApi::INode* node) const {
    return CParameter::Equals(node);
}

template <class Parameter, class InterfaceEx, class Interface>
bool CTypedParameter<Parameter, InterfaceEx, Interface>::Equals(const Interface* value) const {
    return CParameter::Equals(static_cast<const GenApi::IValue*>(value));
}

template <class Parameter, class InterfaceEx, class Interface>
void CTypedParameter<Parameter, InterfaceEx, Interface>::Release() {
    Bind(nullptr);
}

template <class Parameter, class InterfaceEx, class Interface>
bool CTypedParameter<Parameter, InterfaceEx, Interface>::IsValid() const {
    return m_node && CParameter::IsValid();
}

template <class Parameter, class InterfaceEx, class Interface>
Interface& CTypedParameter<Parameter, InterfaceEx, Interface>::NodeFor(const char* operation) const {
    if (!m_node) {
        FailWithoutNode(Parameter::ClassName, operation);
    }
    return *m_node;
}

template <class Parameter, class InterfaceEx, class Interface>
bool CTypedParameter<Parameter, InterfaceEx, Interface>::Bind(GenApi::INode* node) {
    m_node = dynamic_cast<Interface*>(node);
    this->PointTo(m_node);
    return m_node != nullptr;
}

} // namespace Zelmo
