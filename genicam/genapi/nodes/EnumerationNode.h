// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "genicam/genapi/nodes/NodeBase.h"

#include <GenApi/IEnumEntry.h>
#include <GenApi/IEnumeration.h>

namespace GenApi {

/// One entry of an enumeration; all but its access mode is constant.
class EnumEntryNode final : public ValueNode, public IEnumEntry {
public:
    using ValueNode::ValueNode;

    int64_t GetValue() override { return m_value; }
    gcstring GetSymbolic() const override { return gcstring(Symbolic()); }
    double GetNumericValue() override { return m_hasNumeric ? m_numeric : static_cast<double>(m_value); }
    bool IsSelfClearing() override { return m_isSelfClearing; }
    gcstring GetDisplayName() const override;
    EInterfaceType GetPrincipalInterfaceType() const override { return intfIEnumEntry; }

    std::string_view Symbolic() const noexcept { return m_symbolic.empty() ? Name() : m_symbolic; }
    std::int64_t Value() const noexcept { return m_value; }
    std::int64_t NumericInteger(); ///< rounded. @throws GenICam::RuntimeException beyond 64 bits

    ValueType Type() const noexcept override { return ValueType::Integer; }
    std::int64_t ReadInteger(ReadMode) override { return m_value; }
    double ReadFloat(ReadMode) override { return GetNumericValue(); }

protected:
    void BindProperty(const Property& property) override;
    EAccessMode OwnMode() override { return RO; }
    std::string FormatValue(ReadMode) override { return std::string(Symbolic()); }
    void WriteFormatted(std::string_view text, bool verify) override;

private:
    std::int64_t m_value = 0;
    double m_numeric = 0;
    bool m_hasNumeric = false;
    bool m_isSelfClearing = false;
    std::string_view m_symbolic; // in the model; empty if neither it nor the name inside the enumeration is given
};

/// Enumeration: an integer, of its own or of another node, whose values have names.
class EnumerationNode final : public ValueNode, public IEnumeration {
public:
    using ValueNode::ValueNode;

    void GetSymbolics(StringList_t& Symbolics) override;
    void GetEntries(NodeList_t& Entries) override;
    IEnumeration& operator=(const gcstring& ValueStr) override;
    void SetIntValue(int64_t Value, bool Verify = true) override;
    gcstring operator*() override { return ToString(); }
    int64_t GetIntValue(bool Verify = false, bool IgnoreCache = false) override;
    IEnumEntry* GetEntryByName(const gcstring& Symbolic) override;
    IEnumEntry* GetEntry(const int64_t IntValue) override;
    IEnumEntry* GetCurrentEntry(bool Verify = false, bool IgnoreCache = false) override;
    gcstring ToString(bool Verify = false, bool IgnoreCache = false) override;
    EInterfaceType GetPrincipalInterfaceType() const override { return intfIEnumeration; }

    ValueType Type() const noexcept override { return ValueType::Enumeration; }
    std::int64_t ReadInteger(ReadMode mode) override; ///< numeric value of the current entry, rounded
    double ReadFloat(ReadMode mode) override;         ///< numeric value of the current entry
    bool ReadTruth(ReadMode mode) override { return ReadIntValue(mode) != 0; }
    void WriteInteger(std::int64_t value, bool verify) override;
    void WriteFloat(double value, bool verify) override; ///< the available entry with the nearest numeric value
    std::string ErrorText() override;
    bool IsValueCached() override { return !m_isBusy && NodeBase::IsValueCached(); }
    void OnPollingTime() override;

    EnumEntryNode* FindSymbolic(std::string_view symbolic) const noexcept; ///< null if there is none
    /// The entry that a value stands for; of several that share it, one that can be chosen. @return null if there is
    /// none.
    EnumEntryNode* FindValue(std::int64_t value);

protected:
    void BindProperty(const Property& property) override;
    EAccessMode OwnMode() override;
    bool IsOwnModeCacheable() override;
    ECachingMode ComputeCaching() override { return CachingOver(m_target); }
    std::string FormatValue(ReadMode mode) override;
    void WriteFormatted(std::string_view text, bool verify) override;

private:
    template <typename Read>
    auto ReadPublic(const char* method, Read&& read);
    std::int64_t ReadIntValue(ReadMode mode);
    bool HasSharedValues();
    void WriteIntValue(std::int64_t value, bool verify);
    void WriteEntry(EnumEntryNode* entry, std::int64_t value, bool verify); ///< null: the value has none
    EnumEntryNode& CurrentEntry(ReadMode mode); ///< @throws GenICam::AccessException for a value without entry

    std::vector<EnumEntryNode*> m_entries;
    NodeBase* m_target = nullptr;
    std::int64_t m_own = 0; // without a target
    std::int64_t m_value = 0;
    bool m_isBusy = false; // a self-clearing value was written and stands yet
    std::int64_t m_busyValue = 0;
    std::uint8_t m_hasSharedValues = _UndefinedYesNo; // until computed
};

} // namespace GenApi
