// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/IString.h>
#include <zelmo/Export.h>
#include <zelmo/TypedParameter.h>

namespace Zelmo {

/// What string parameters offer beside the interface of a string node.
struct ZELMO_API IStringEx : virtual public GenApi::IString, virtual public IValueEx {
    using GenApi::IString::operator=;
    IStringEx() = default;
    IStringEx(const IStringEx&) = default;
    IStringEx& operator=(const IStringEx&) = delete; // it would set nothing

    /// @return false, with nothing written, without a node and when it cannot be written now.
    /// @throws what the node throws, as for a text that is too long.
    virtual bool TrySetValue(const String_t& value) = 0;
    /// The value; @p defaultValue without a node, and when it cannot be read now.
    virtual String_t GetValueOrDefault(const String_t& defaultValue) = 0;
};

class ZELMO_API CStringParameter;
extern template class CTypedParameter<CStringParameter, IStringEx, GenApi::IString>;

/// A text feature: a view of one node. See CParameter.
class ZELMO_API CStringParameter : public CTypedParameter<CStringParameter, IStringEx, GenApi::IString> {
public:
    using CTypedParameter::CTypedParameter;

    void SetValue(const String_t& value, bool verify = true) override;
    GenApi::IString& operator=(const String_t& value) override;
    String_t GetValue(bool verify = false, bool ignoreCache = false) override;
    String_t operator()() override;
    String_t operator*() override;
    int64_t GetMaxLength() override; ///< In bytes.

    bool TrySetValue(const String_t& value) override;
    String_t GetValueOrDefault(const String_t& defaultValue) override;

private:
    friend CTypedParameter;
    static constexpr char ClassName[] = "CStringParameter";
};

} // namespace Zelmo
