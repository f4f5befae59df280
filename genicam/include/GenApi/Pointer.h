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

namespace GenApi {

/// A borrowed pointer to the interface @p T of an object that is known as a @p B. An object without that interface
/// gives an invalid pointer; using an invalid one raises GenICam::LogicalErrorException.
template <class T, class B = IBase>
class CPointer {
public:
    CPointer() noexcept = default;
    CPointer(B* pB) : m_pT(dynamic_cast<T*>(pB)) {}

    CPointer& operator=(B* pB) {
        m_pT = dynamic_cast<T*>(pB);
        return *this;
    }

    operator T*() const { return Checked(); }
    T& operator*() const { return *Checked(); }
    T& operator()() const { return *Checked(); }
    T* operator->() const { return Checked(); }

    bool IsValid() const noexcept { return m_pT != nullptr; }
    operator bool() const noexcept { return IsValid(); }

    bool operator==(const CPointer& other) const noexcept { return m_pT == other.m_pT; }
    bool operator==(T* pT) const noexcept { return m_pT == pT; }
    bool operator==(int nullPtr) const noexcept { return nullPtr == 0 && !IsValid(); }
    bool operator==(long nullPtr) const noexcept { return nullPtr == 0 && !IsValid(); } // NULL is a long
    bool operator==(std::nullptr_t) const noexcept { return !IsValid(); }
    bool operator!=(const CPointer& other) const noexcept { return !(*this == other); }
    bool operator!=(T* pT) const noexcept { return !(*this == pT); }
    bool operator!=(int nullPtr) const noexcept { return !(*this == nullPtr); }
    bool operator!=(long nullPtr) const noexcept { return !(*this == nullPtr); }
    bool operator!=(std::nullptr_t) const noexcept { return IsValid(); }

protected:
    T* m_pT = nullptr;

private:
    T* Checked() const {
        if (!m_pT) {
            throw LOGICAL_ERROR_EXCEPTION("NULL pointer dereferenced");
        }
        return m_pT;
    }
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
