// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "genicam/genapi/nodes/NodeBase.h"

#include <GenApi/IBoolean.h>

namespace GenApi {

/// Boolean: true while the number behind it, its own or another node's, is the on value.
class BooleanNode final : public ValueNode, public IBoolean {
public:
    using ValueNode::ValueNode;

    void SetValue(bool Value, bool Verify = true) override;
    void operator=(bool Value) override { SetValue(Value); }
    bool GetValue(bool Verify = false, bool IgnoreCache = false) const override;
    EInterfaceType GetPrincipalInterfaceType() const override { return intfIBoolean; }

    ValueType Type() const noexcept override { return ValueType::Boolean; }
    std::int64_t ReadInteger(ReadMode mode) override { return ReadTruth(mode) ? 1 : 0; }
    double ReadFloat(ReadMode mode) override { return ReadTruth(mode) ? 1 : 0; }
    bool ReadTruth(ReadMode mode) override;
    void WriteInteger(std::int64_t value, bool verify) override { WriteTruth(value != 0, verify); }
    void WriteFloat(double value, bool verify) override { WriteTruth(value != 0, verify); }

protected:
    void BindProperty(const Property& property) override;
    EAccessMode OwnMode() override { return m_target != nullptr ? m_target->Mode() : RW; }
    bool IsOwnModeCacheable() override { return m_target == nullptr || m_target->IsModeCacheable(); }
    ECachingMode ComputeCaching() override { return CachingOver(m_target); }
    std::string FormatValue(ReadMode mode) override;
    void WriteFormatted(std::string_view text, bool verify) override;

private:
    void WriteTruth(bool value, bool verify);

    NodeBase* m_target = nullptr;
    std::int64_t m_own = 0; // without a target
    std::int64_t m_on = 1;
    std::int64_t m_off = 0;
    bool m_value = false;
};

} // namespace GenApi
