// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <Base/GCException.h>
#include <GenApi/Pointer.h>

#include <cstddef>
#include <optional>
#include <vector>

namespace GenApi {

/// How a camera class gives its members their features: see CNodeMapRefT.
struct GENICAM_API IReference {
    /// Refers to @p pBase (borrowed) from now on; null, or an object of another kind, gives a reference to nothing.
    virtual void SetReference(IBase* pBase) = 0;

protected:
    ~IReference() = default;
};

/// How a camera class tells an enumeration which entries its own enumerators stand for, after SetReference.
struct GENICAM_API IEnumReference {
    virtual void SetNumEnums(int NumEnums) = 0; ///< Forgets the names given before.
    virtual void SetEnumReference(int Index, const gcstring& Name) = 0;

protected:
    ~IEnumReference() = default;
};

/// What all references share: an interface pointer that is set later, behind an object of that interface. Copies refer
/// to the same object, which must outlive them.
/// A reference to nothing is not implemented (NI); any other use of it raises GenICam::AccessException.
template <class T>
class CBaseRef : public T, public IReference {
public:
    void SetReference(IBase* pBase) override { m_pT = dynamic_cast<T*>(pBase); }
    bool IsValid() const noexcept { return m_pT != nullptr; }

    EAccessMode GetAccessMode() const override { return m_pT ? m_pT->GetAccessMode() : NI; }

protected:
    T& Ref() const {
        if (!m_pT) {
            throw ACCESS_EXCEPTION("Feature not present (reference not valid)");
        }
        return *m_pT;
    }

private:
    T* m_pT = nullptr;
};

/// A reference to something with a value.
template <class T>
class CValueRefT : public CBaseRef<T> {
public:
    INode* GetNode() override { return Ref().GetNode(); }
    gcstring ToString(bool Verify = false, bool IgnoreCache = false) override {
        return Ref().ToString(Verify, IgnoreCache);
    }
    void FromString(const gcstring& ValueStr, bool Verify = true) override { Ref().FromString(ValueStr, Verify); }
    bool IsValueCacheValid() const override { return Ref().IsValueCacheValid(); }

protected:
    using CBaseRef<T>::Ref;
};

typedef CValueRefT<IValue> CValueRef;

/// A reference to a number, @p N being its type.
template <class T, class N, class List>
class CNumberRefT : public CValueRefT<T> {
public:
    void SetValue(N Value, bool Verify = true) override { Ref().SetValue(Value, Verify); }
    N GetValue(bool Verify = false, bool IgnoreCache = false) override { return Ref().GetValue(Verify, IgnoreCache); }
    N operator()() override { return Ref()(); }
    N operator*() override { return *Ref(); }
    N GetMin() override { return Ref().GetMin(); }
    N GetMax() override { return Ref().GetMax(); }
    EIncMode GetIncMode() override { return Ref().GetIncMode(); }
    N GetInc() override { return Ref().GetInc(); }
    List GetListOfValidValues(bool bounded = true) override { return Ref().GetListOfValidValues(bounded); }
    ERepresentation GetRepresentation() override { return Ref().GetRepresentation(); }
    void ImposeMin(N Value) override { Ref().ImposeMin(Value); }
    void ImposeMax(N Value) override { Ref().ImposeMax(Value); }

protected:
    using CValueRefT<T>::Ref;
};

class CIntegerRef : public CNumberRefT<IInteger, int64_t, int64_autovector_t> {
public:
    IInteger& operator=(int64_t Value) override { return Ref() = Value; }
    gcstring GetUnit() override { return Ref().GetUnit(); }
};

class CFloatRef : public CNumberRefT<IFloat, double, double_autovector_t> {
public:
    IFloat& operator=(double Value) override { return Ref() = Value; }
    bool HasInc() override { return Ref().HasInc(); }
    gcstring GetUnit() const override { return Ref().GetUnit(); }
    EDisplayNotation GetDisplayNotation() const override { return Ref().GetDisplayNotation(); }
    int64_t GetDisplayPrecision() const override { return Ref().GetDisplayPrecision(); }
    IInteger* GetIntAlias() const { return CFloatPtr(&Ref()).GetIntAlias(); }       ///< As in CFloatPtr.
    IEnumeration* GetEnumAlias() const { return CFloatPtr(&Ref()).GetEnumAlias(); } ///< As in CFloatPtr.
};

class CBooleanRef : public CValueRefT<IBoolean> {
public:
    void SetValue(bool Value, bool Verify = true) override { Ref().SetValue(Value, Verify); }
    // NOLINTNEXTLINE(misc-unconventional-assign-operator): the interface says void
    void operator=(bool Value) override { Ref() = Value; }
    bool GetValue(bool Verify = false, bool IgnoreCache = false) const override {
        return Ref().GetValue(Verify, IgnoreCache);
    }
    bool operator()() const override { return Ref()(); }
};

class CCommandRef : public CValueRefT<ICommand> {
public:
    void Execute(bool Verify = true) override { Ref().Execute(Verify); }
    void operator()() override { Ref()(); }
    bool IsDone(bool Verify = true) override { return Ref().IsDone(Verify); }
};

class CStringRef : public CValueRefT<IString> {
public:
    void SetValue(const gcstring& Value, bool Verify = true) override { Ref().SetValue(Value, Verify); }
    IString& operator=(const gcstring& Value) override { return Ref() = Value; }
    gcstring GetValue(bool Verify = false, bool IgnoreCache = false) override {
        return Ref().GetValue(Verify, IgnoreCache);
    }
    gcstring operator()() override { return Ref()(); }
    gcstring operator*() override { return *Ref(); }
    int64_t GetMaxLength() override { return Ref().GetMaxLength(); }
};

class CRegisterRef : public CValueRefT<IRegister> {
public:
    void Set(const uint8_t* pBuffer, int64_t Length, bool Verify = true) override {
        Ref().Set(pBuffer, Length, Verify);
    }
    void Get(uint8_t* pBuffer, int64_t Length, bool Verify = false, bool IgnoreCache = false) override {
        Ref().Get(pBuffer, Length, Verify, IgnoreCache);
    }
    int64_t GetLength() override { return Ref().GetLength(); }
    int64_t GetAddress() override { return Ref().GetAddress(); }
};

class CCategoryRef : public CValueRefT<ICategory> {
public:
    void GetFeatures(FeatureList_t& Features) const override { Ref().GetFeatures(Features); }
};

class CEnumerationRef : public CValueRefT<IEnumeration> {
public:
    void GetSymbolics(StringList_t& Symbolics) override { Ref().GetSymbolics(Symbolics); }
    void GetEntries(NodeList_t& Entries) override { Ref().GetEntries(Entries); }
    IEnumeration& operator=(const gcstring& ValueStr) override { return Ref() = ValueStr; }
    void SetIntValue(int64_t Value, bool Verify = true) override { Ref().SetIntValue(Value, Verify); }
    gcstring operator*() override { return *Ref(); }
    int64_t GetIntValue(bool Verify = false, bool IgnoreCache = false) override {
        return Ref().GetIntValue(Verify, IgnoreCache);
    }
    IEnumEntry* GetEntryByName(const gcstring& Symbolic) override { return Ref().GetEntryByName(Symbolic); }
    IEnumEntry* GetEntry(const int64_t IntValue) override { return Ref().GetEntry(IntValue); }
    IEnumEntry* GetCurrentEntry(bool Verify = false, bool IgnoreCache = false) override {
        return Ref().GetCurrentEntry(Verify, IgnoreCache);
    }
};

/// A reference to an enumeration whose entries are the enumerators 0, 1, ... of @p E, in the order told by
/// SetEnumReference. An enumerator whose entry the feature does not have, and a value that no enumerator stands for,
/// raise GenICam::InvalidArgumentException.
template <typename E>
class CEnumerationTRef : public CEnumerationRef, public IEnumReference {
public:
    void SetNumEnums(int NumEnums) override { m_enumerators.assign(CheckedIndex(NumEnums), std::nullopt); }
    void SetEnumReference(int Index, const gcstring& Name) override {
        const std::size_t index = CheckedIndex(Index);
        if (index >= m_enumerators.size()) {
            m_enumerators.resize(index + 1);
        }
        IEnumEntry* const entry = IsValid() ? GetEntryByName(Name) : nullptr;
        m_enumerators[index] = entry ? std::optional(Enumerator{entry, entry->GetValue()}) : std::nullopt;
    }

    void SetValue(E Value, bool Verify = true) { SetIntValue(NumberOf(Value), Verify); }
    E GetValue(bool Verify = false, bool IgnoreCache = false) {
        IEnumEntry* const current = GetCurrentEntry(Verify, IgnoreCache);
        std::optional<E> found; // entries may share a value: the current one comes first
        for (std::size_t index = 0; current && index < m_enumerators.size(); ++index) {
            const std::optional<Enumerator>& each = m_enumerators[index];
            if (each && each->Value == current->GetValue() && (!found || each->Entry == current)) {
                found = static_cast<E>(index);
            }
        }
        if (!found) {
            throw INVALID_ARGUMENT_EXCEPTION("No enumerator stands for the value %lld",
                                             static_cast<long long>(GetIntValue()));
        }
        return *found;
    }
    CEnumerationTRef& operator=(E Value) {
        SetValue(Value);
        return *this;
    }
    using CEnumerationRef::operator=;
    E operator()() { return GetValue(); }
    IEnumEntry* GetEntry(const E Value) { return CEnumerationRef::GetEntry(NumberOf(Value)); }
    using CEnumerationRef::GetEntry;

private:
    struct Enumerator {
        const IEnumEntry* Entry; // only compared
        int64_t Value;
    };
    static std::size_t CheckedIndex(int index) {
        constexpr int limit = 0x10000;
        if (index < 0 || index > limit) {
            throw INVALID_ARGUMENT_EXCEPTION("An enumeration has no enumerator %d", index);
        }
        return static_cast<std::size_t>(index);
    }
    int64_t NumberOf(E value) const {
        (void)Ref();
        const auto index = static_cast<std::size_t>(value);
        if (index >= m_enumerators.size() || !m_enumerators[index]) {
            throw INVALID_ARGUMENT_EXCEPTION("The feature has no entry for the enumerator %zu", index);
        }
        return m_enumerators[index]->Value;
    }

    std::vector<std::optional<Enumerator>> m_enumerators; // nothing where there is no entry
};

class CPortRef : public CBaseRef<IPort> {
public:
    void Read(void* pBuffer, int64_t Address, int64_t Length) override { Ref().Read(pBuffer, Address, Length); }
    void Write(const void* pBuffer, int64_t Address, int64_t Length) override { Ref().Write(pBuffer, Address, Length); }
};

/// A reference to any node.
class CNodeRef : public CBaseRef<INode> {
public:
    gcstring GetName(bool FullQualified = false) const override { return Ref().GetName(FullQualified); }
    ENameSpace GetNameSpace() const override { return Ref().GetNameSpace(); }
    EVisibility GetVisibility() const override { return Ref().GetVisibility(); }
    void InvalidateNode() override { Ref().InvalidateNode(); }
    bool IsCachable() const override { return Ref().IsCachable(); }
    EYesNo IsAccessModeCacheable() const override { return Ref().IsAccessModeCacheable(); }
    ECachingMode GetCachingMode() const override { return Ref().GetCachingMode(); }
    int64_t GetPollingTime() const override { return Ref().GetPollingTime(); }
    gcstring GetToolTip() const override { return Ref().GetToolTip(); }
    gcstring GetDescription() const override { return Ref().GetDescription(); }
    gcstring GetDisplayName() const override { return Ref().GetDisplayName(); }
    gcstring GetDeviceName() const override { return Ref().GetDeviceName(); }
    void GetChildren(NodeList_t& Children, ELinkType LinkType = ctReadingChildren) const override {
        Ref().GetChildren(Children, LinkType);
    }
    void GetParents(NodeList_t& Parents) const override { Ref().GetParents(Parents); }
    CallbackHandleType RegisterCallback(CNodeCallback* pCallback) override { return Ref().RegisterCallback(pCallback); }
    bool DeregisterCallback(CallbackHandleType hCallback) override { return Ref().DeregisterCallback(hCallback); }
    INodeMap* GetNodeMap() const override { return Ref().GetNodeMap(); }
    gcstring GetEventID() const override { return Ref().GetEventID(); }
    bool IsStreamable() const override { return Ref().IsStreamable(); }
    void GetPropertyNames(gcstring_vector& PropertyNames) const override { Ref().GetPropertyNames(PropertyNames); }
    bool GetProperty(const gcstring& PropertyName, gcstring& ValueStr, gcstring& AttributeStr) override {
        return Ref().GetProperty(PropertyName, ValueStr, AttributeStr);
    }
    void ImposeAccessMode(EAccessMode ImposedAccessMode) override { Ref().ImposeAccessMode(ImposedAccessMode); }
    void ImposeVisibility(EVisibility ImposedVisibility) override { Ref().ImposeVisibility(ImposedVisibility); }
    INode* GetAlias() const override { return Ref().GetAlias(); }
    INode* GetCastAlias() const override { return Ref().GetCastAlias(); }
    gcstring GetDocuURL() const override { return Ref().GetDocuURL(); }
    bool IsDeprecated() const override { return Ref().IsDeprecated(); }
    EInterfaceType GetPrincipalInterfaceType() const override { return Ref().GetPrincipalInterfaceType(); }
    bool IsFeature() const override { return Ref().IsFeature(); }
};

} // namespace GenApi
