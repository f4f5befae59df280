// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <Base/GCException.h>

#include <GenApi/IBoolean.h>
#include <GenApi/ICategory.h>
#include <GenApi/IChunkPort.h>
#include <GenApi/ICommand.h>
#include <GenApi/IDeviceInfo.h>
#include <GenApi/IEnumEntry.h>
#include <GenApi/IEnumeration.h>
#include <GenApi/IFloat.h>
#include <GenApi/IInteger.h>
#include <GenApi/INodeMap.h>
#include <GenApi/IPortConstruct.h>
#include <GenApi/IPortRecorder.h>
#include <GenApi/IRegister.h>
#include <GenApi/ISelector.h>
#include <GenApi/IString.h>
#include <GenApi/IUserData.h>

#include <memory>
#include <type_traits>
#include <typeinfo>

namespace GenApi {

/// What an invalid pointer says when it is used; for CPointer only.
namespace PointerError {

using Cause = std::shared_ptr<const gcstring>; ///< null: nothing is known

GENICAM_API Cause NoSuchNode(INodeMap* pNodeMap, const gcstring& name) noexcept;
GENICAM_API Cause WrongKind(INode* pNode) noexcept; ///< null without a node
[[noreturn]] GENICAM_API void Raise(const std::type_info& wanted, const Cause& cause);

} // namespace PointerError

/// A borrowed pointer to the interface @p T of an object that is known as a @p B. An object without that interface
/// gives an invalid pointer; using an invalid one raises GenICam::LogicalErrorException, which says as far as it is
/// known what was looked for: the interface; the node that lacks it; the name that no node has, if the pointer was made
/// from a node map and a name.
template <class T, class B = IBase>
class CPointer {
public:
    CPointer() noexcept = default;
    CPointer(B* pB) { Point(pB); }
    /// The node of that name; invalid if there is none, or no node map.
    CPointer(INodeMap* pNodeMap, const gcstring& name) {
        INode* const node = pNodeMap ? pNodeMap->GetNode(name) : nullptr;
        Point(node);
        if (!node) {
            m_cause = PointerError::NoSuchNode(pNodeMap, name);
        }
    }
    CPointer(INodeMap& nodeMap, const gcstring& name) : CPointer(&nodeMap, name) {}

    CPointer& operator=(B* pB) {
        m_cause.reset();
        Point(pB);
        return *this;
    }

    operator T*() const { return Checked(); }
    T& operator*() const { return *Checked(); }
    T& operator()() const { return *Checked(); }
    T* operator->() const { return Checked(); }

    bool IsValid() const noexcept { return m_pT != nullptr; }
    /// To bool and to nothing that a bool becomes: else NULL, an integer, would be compared as a number, not as a
    /// pointer.
    template <class Bool, std::enable_if_t<std::is_same<Bool, bool>::value, int> = 0>
    operator Bool() const noexcept {
        return IsValid();
    }

    // with NULL, 0 and nullptr too
    bool operator==(const CPointer& other) const noexcept { return m_pT == other.m_pT; }
    bool operator==(T* pT) const noexcept { return m_pT == pT; }
    bool operator!=(const CPointer& other) const noexcept { return m_pT != other.m_pT; }
    bool operator!=(T* pT) const noexcept { return m_pT != pT; }
    friend bool operator==(T* pT, const CPointer& pointer) noexcept { return pointer == pT; }
    friend bool operator!=(T* pT, const CPointer& pointer) noexcept { return pointer != pT; }

protected:
    T* m_pT = nullptr;

private:
    template <class Object>
    void Point(Object* object) {
        m_pT = dynamic_cast<T*>(object);
        if (!m_pT && object) { // told now: the object may be gone when the pointer is used
            m_cause = PointerError::WrongKind(dynamic_cast<INode*>(object));
        }
    }
    T* Checked() const {
        if (!m_pT) {
            PointerError::Raise(typeid(T), m_cause);
        }
        return m_pT;
    }

    PointerError::Cause m_cause; // of an invalid pointer
};

/// Questions about the access mode of what a pointer points to; an invalid one is nothing of all that.
template <class T, class B>
inline bool IsReadable(const CPointer<T, B>& pointer) {
    return pointer.IsValid() && IsReadable(pointer->GetAccessMode());
}
template <class T, class B>
inline bool IsWritable(const CPointer<T, B>& pointer) {
    return pointer.IsValid() && IsWritable(pointer->GetAccessMode());
}
template <class T, class B>
inline bool IsImplemented(const CPointer<T, B>& pointer) {
    return pointer.IsValid() && IsImplemented(pointer->GetAccessMode());
}
template <class T, class B>
inline bool IsAvailable(const CPointer<T, B>& pointer) {
    return pointer.IsValid() && IsAvailable(pointer->GetAccessMode());
}

typedef CPointer<IBase> CBasePtr;
typedef CPointer<INode> CNodePtr;
typedef CPointer<IValue> CValuePtr;
typedef CPointer<ICategory> CCategoryPtr;
typedef CPointer<IBoolean> CBooleanPtr;
typedef CPointer<IInteger> CIntegerPtr;
typedef CPointer<IString> CStringPtr;
typedef CPointer<IRegister> CRegisterPtr;
typedef CPointer<IEnumeration> CEnumerationPtr;
typedef CPointer<IEnumEntry> CEnumEntryPtr;
typedef CPointer<IPort> CPortPtr;
typedef CPointer<IPortReplay> CPortReplayPtr;
typedef CPointer<IPortRecorder> CPortRecorderPtr;
typedef CPointer<IPortConstruct> CPortConstructPtr;
typedef CPointer<IPortWriteList> CPortWriteListPtr;
typedef CPointer<IChunkPort> CChunkPortPtr;
typedef CPointer<ISelector> CSelectorPtr;
typedef CPointer<ICommand> CCommandPtr;
typedef CPointer<IUserData> CNodeUserDataPtr;
typedef CPointer<INodeMap, INodeMap> CNodeMapPtr;
typedef CPointer<IDeviceInfo, INodeMap> CDeviceInfoPtr;
typedef CPointer<IUserData, INodeMap> CNodeMapUserDataPtr;

/// A pointer to a floating-point feature, which may be the same feature as an integer or an enumeration.
class CFloatPtr : public CPointer<IFloat> {
public:
    using CPointer<IFloat>::CPointer;
    using CPointer<IFloat>::operator=;

    IInteger* GetIntAlias() const { return CastAlias<IInteger>(); }          ///< Null without such an alias.
    IEnumeration* GetEnumAlias() const { return CastAlias<IEnumeration>(); } ///< Null without such an alias.

private:
    template <class T>
    T* CastAlias() const {
        INode* const node = (*this)->GetNode();
        return node ? dynamic_cast<T*>(node->GetCastAlias()) : nullptr;
    }
};

} // namespace GenApi
