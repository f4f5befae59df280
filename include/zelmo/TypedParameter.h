// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/Export.h>
#include <zelmo/Parameter.h>

namespace Zelmo {

/// The bases of a typed parameter. A kind whose interface is derived from further, as that of enumerations is for each
/// typed one, says so by a specialisation that shares it.
template <class InterfaceEx>
class ParameterBases : public InterfaceEx, public CParameter {};

/// What the typed parameters have in common: they attach to nodes of one kind only. See CParameter for all of it; an
/// untyped view of a node of that kind can be attached as well.
/// @tparam Parameter   the class that derives from this one
/// @tparam InterfaceEx what it offers: Interface and IValueEx, with conveniences of its own
/// @tparam Interface   what nodes of that kind offer
template <class Parameter, class InterfaceEx, class Interface>
class ZELMO_API CTypedParameter : public ParameterBases<InterfaceEx> {
public:
    CTypedParameter() = default;
    CTypedParameter(GenApi::INode* node);
    CTypedParameter(Interface* value);
    CTypedParameter(GenApi::INodeMap& map, const char* name);
    CTypedParameter(GenApi::INodeMap* map, const char* name);
    CTypedParameter(const CTypedParameter& other);
    CTypedParameter& operator=(const CTypedParameter& other);
    using InterfaceEx::operator=;

    bool Attach(GenApi::INodeMap* map, const char* name) override;
    bool Attach(GenApi::INodeMap& map, const char* name) override;
    bool Attach(GenApi::INode* node) override;
    virtual bool Attach(Interface* value);

    using ParameterBases<InterfaceEx>::Equals;
    virtual bool Equals(const Parameter& other) const;
    bool Equals(const GenApi::INode* node) const override;
    virtual bool Equals(const Interface* value) const;

    void Release() override;
    bool IsValid() const override;

    bool Attach(GenApi::IValue* value) override; // last: the places of the others are fixed

protected:
    /// The node, null when invalid.
    Interface* Node() const noexcept { return m_node; }
    /// The node, for the operation of that name: pass `__func__`. @throws GenICam::AccessException without a node,
    /// with the operation and Parameter::ClassName in its text.
    Interface& NodeFor(const char* operation) const;

private:
    bool Bind(GenApi::INode* node);

    Interface* m_node = nullptr; // the same object as the value of CParameter, or null with it
};

} // namespace Zelmo
