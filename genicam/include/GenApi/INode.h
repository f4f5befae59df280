// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/Container.h>
#include <GenApi/IBase.h>

namespace GenApi {

class CNodeCallback;
struct INodeMap;

/// What all nodes have in common: names, relations and callbacks.
/// Threads: any, at the same time; each call takes the lock of the node map where it evaluates anything.
/// Nodes belong to their node map and live as long as it does.
struct GENICAM_API INode : virtual public IBase {
    /// The name, unique in the node map; with @p FullQualified "Std::" or "Cust::" stands before it.
    virtual gcstring GetName(bool FullQualified = false) const = 0;
    virtual ENameSpace GetNameSpace() const = 0;
    virtual EVisibility GetVisibility() const = 0;
    /// Drops what is cached of this node and of all that depend on it, and fires their callbacks.
    virtual void InvalidateNode() = 0;
    virtual bool IsCachable() const = 0;
    virtual EYesNo IsAccessModeCacheable() const = 0;
    virtual ECachingMode GetCachingMode() const = 0;
    virtual int64_t GetPollingTime() const = 0; ///< In milliseconds; -1 for none.
    virtual gcstring GetToolTip() const = 0;
    virtual gcstring GetDescription() const = 0;
    virtual gcstring GetDisplayName() const = 0; ///< The name where the description gives no display name.
    virtual gcstring GetDeviceName() const = 0;  ///< Of the node map.
    virtual void GetChildren(NodeList_t& Children, ELinkType LinkType = ctReadingChildren) const = 0;
    virtual void GetParents(NodeList_t& Parents) const = 0; ///< The nodes that become invalid with this one.
    /// Takes @p pCallback over and gives it back through its Destroy(). The callback does not fire at once.
    /// A callback inside the lock (cbPostInsideLock) must not take a lock that others hold while they use the node map,
    /// or two threads wait for each other for good. Operations of a camera object take such a lock, all but IsGrabbing;
    /// a callback outside the lock (cbPostOutsideLock) may call them.
    virtual CallbackHandleType RegisterCallback(CNodeCallback* pCallback) = 0;
    /// Ends a registration and destroys the callback. @return false when the handle is unknown here.
    virtual bool DeregisterCallback(CallbackHandleType hCallback) = 0;
    virtual INodeMap* GetNodeMap() const = 0;
    virtual gcstring GetEventID() const = 0;
    virtual bool IsStreamable() const = 0;
    virtual void GetPropertyNames(gcstring_vector& PropertyNames) const = 0;
    /// What the description says of this node under an element's name. Lists are separated by tabs.
    /// "Element", which GetPropertyNames does not list, asks for the name of the node's own element, such as "IntReg".
    /// @return false when the node has no such property.
    virtual bool GetProperty(const gcstring& PropertyName, gcstring& ValueStr, gcstring& AttributeStr) = 0;
    virtual void ImposeAccessMode(EAccessMode ImposedAccessMode) = 0; ///< Narrows the access mode further.
    virtual void ImposeVisibility(EVisibility ImposedVisibility) = 0; ///< Narrows the visibility further.
    virtual INode* GetAlias() const = 0;     ///< The same thing in other units or form; null without.
    virtual INode* GetCastAlias() const = 0; ///< The same feature with another interface; null without.
    virtual gcstring GetDocuURL() const = 0;
    virtual bool IsDeprecated() const = 0;
    virtual EInterfaceType GetPrincipalInterfaceType() const = 0;
    virtual bool IsFeature() const = 0; ///< Whether categories lead to it from the node "Root".
};

} // namespace GenApi
