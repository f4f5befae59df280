// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "genicam/genapi/nodes/NodeBase.h"

#include <GenApi/IString.h>

namespace GenApi {

/// The public side of text nodes.
class StringBase : public ValueNode, public IString {
public:
    using ValueNode::ValueNode;

    void SetValue(const gcstring& Value, bool Verify = true) override;
    IString& operator=(const gcstring& Value) override;
    gcstring GetValue(bool Verify = false, bool IgnoreCache = false) override;
    gcstring operator()() override { return GetValue(); }
    gcstring operator*() override { return GetValue(); }
    int64_t GetMaxLength() override;
    EInterfaceType GetPrincipalInterfaceType() const override { return intfIString; }

    ValueType Type() const noexcept override { return ValueType::Text; }
    std::string ReadText(ReadMode mode) override;
    void WriteText(const std::string& value, bool verify) override;

protected:
    std::string FormatValue(ReadMode mode) override { return ReadText(mode); }
    void WriteFormatted(std::string_view text, bool verify) override { WriteText(std::string(text), verify); }
    virtual std::string Evaluate(ReadMode mode) = 0;
    virtual void Store(const std::string& value, bool verify) = 0;
    virtual bool KeepsOwnValue() { return true; }

private:
    std::string m_value;
};

/// String.
class StringNode final : public StringBase {
public:
    using StringBase::StringBase;

    std::int64_t MaxTextLength() override;

protected:
    void BindProperty(const Property& property) override;
    EAccessMode OwnMode() override { return m_target != nullptr ? m_target->Mode() : RW; }
    bool IsOwnModeCacheable() override { return m_target == nullptr || m_target->IsModeCacheable(); }
    ECachingMode ComputeCaching() override { return m_target != nullptr ? m_target->Caching() : WriteThrough; }
    std::string Evaluate(ReadMode mode) override { return m_target != nullptr ? m_target->ReadText(mode) : m_text; }
    void Store(const std::string& value, bool verify) override;

private:
    NodeBase* m_target = nullptr;
    std::string m_text; // without a target
};

} // namespace GenApi
