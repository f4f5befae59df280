// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/EnumParameter.h>

#include <cstdint>

namespace Zelmo {

// GetValue() gives the enumerator here; that of the base, which gives the text, is meant to be hidden.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Woverloaded-virtual"

/// An enumeration whose values are the enumerators of a C++ type. What is refused as text is refused here: GetValue()
/// gives the enumerator, ToString() the text.
template <typename EnumT>
struct IEnumParameterT : virtual public IEnumerationEx {
    using IEnumerationEx::CanSetValue;
    using IEnumerationEx::GetEntry;
    using IEnumerationEx::GetValueOrDefault;
    using IEnumerationEx::SetValue;
    using IEnumerationEx::TrySetValue;
    using IEnumerationEx::operator=;
    IEnumParameterT() = default;
    IEnumParameterT(const IEnumParameterT&) = default;
    IEnumParameterT& operator=(const IEnumParameterT&) = delete; // it would set nothing

    /// @throws GenICam::AccessException for an enumerator that is none of the type's, without a node, and when it
    ///         cannot be written now; GenICam::InvalidArgumentException for an entry that the camera does not have.
    virtual void SetValue(EnumT value, bool verify = true) = 0;
    virtual IEnumParameterT& operator=(EnumT value) = 0;
    /// @throws GenICam::AccessException for an entry of the camera that the type does not have.
    virtual EnumT GetValue(bool verify = false, bool ignoreCache = false) = 0;
    virtual EnumT operator()() = 0;
    virtual GenApi::IEnumEntry* GetEntry(EnumT value) = 0; ///< Null when the camera or the type does not have it.
    virtual EnumT GetValueOrDefault(EnumT defaultValue) = 0;
    virtual bool TrySetValue(EnumT value) = 0; ///< False for an entry that is not available, too.
    virtual bool CanSetValue(EnumT value) = 0;
};

/// The view of an enumeration node by the enumerators of @p EnumT; base of one class for each enumeration. The
/// interface is the second base because g++ 12 takes calls on objects of these classes for unreachable when it is the
/// first.
template <typename EnumT>
class CEnumParameterT : public CEnumParameter, public IEnumParameterT<EnumT> {
public:
    CEnumParameterT() = default;
    using CEnumParameter::CanSetValue;
    using CEnumParameter::CEnumParameter;
    using CEnumParameter::GetEntry;
    using CEnumParameter::GetValueOrDefault;
    using CEnumParameter::SetValue;
    using CEnumParameter::TrySetValue;
    using CEnumParameter::operator=;
    CEnumParameterT(const CEnumParameterT& other) : CEnumParameter(other) {}
    CEnumParameterT& operator=(const CEnumParameterT& other) { ///< Attaches to the node of @p other, if any.
        CEnumParameter::operator=(other);
        return *this;
    }
    ~CEnumParameterT() override = default;

    void SetValue(EnumT value, bool verify = true) override {
        CEnumParameter::SetValue(GetTable(), Index(value), verify);
    }
    IEnumParameterT<EnumT>& operator=(EnumT value) override {
        SetValue(value, true);
        return *this;
    }
    EnumT GetValue(bool verify = false, bool ignoreCache = false) override {
        return static_cast<EnumT>(CEnumParameter::GetValue(GetTable(), verify, ignoreCache));
    }
    EnumT operator()() override { return GetValue(false, false); }
    GenApi::IEnumEntry* GetEntry(EnumT value) override { return CEnumParameter::GetEntry(GetTable(), Index(value)); }
    EnumT GetValueOrDefault(EnumT defaultValue) override {
        return this->IsReadable() ? GetValue(false, false) : defaultValue;
    }
    bool TrySetValue(EnumT value) override {
        if (!this->IsWritable() || !CanSetValue(value)) {
            return false;
        }
        SetValue(value, true);
        return true;
    }
    bool CanSetValue(EnumT value) override { return CEnumParameter::CanSetValue(GetTable(), Index(value)); }

    virtual const Table_t& GetTable() const = 0; ///< Of the names, in the order of the enumerators.

private:
    static unsigned long Index(EnumT value) noexcept { return static_cast<unsigned long>(value); }
};

#pragma GCC diagnostic pop

} // namespace Zelmo
