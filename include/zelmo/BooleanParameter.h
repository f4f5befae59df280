// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/IBoolean.h>
#include <zelmo/Export.h>
#include <zelmo/TypedParameter.h>

namespace Zelmo {

/// What boolean parameters offer beside the interface of a boolean node.
struct ZELMO_API IBooleanEx : virtual public GenApi::IBoolean, virtual public IValueEx {
    using GenApi::IBoolean::operator=;
    IBooleanEx() = default;
    IBooleanEx(const IBooleanEx&) = default;
    IBooleanEx& operator=(const IBooleanEx&) = delete; // it would set nothing

    /// @return false, with nothing written, without a node and when it cannot be written now.
    virtual bool TrySetValue(bool value) = 0;
    /// The value; @p defaultValue without a node, and when it cannot be read now.
    virtual bool GetValueOrDefault(bool defaultValue) = 0;
};

class ZELMO_API CBooleanParameter;
extern template class CTypedParameter<CBooleanParameter, IBooleanEx, GenApi::IBoolean>;

/// A feature that is true or false: a view of one node. See CParameter.
class ZELMO_API CBooleanParameter : public CTypedParameter<CBooleanParameter, IBooleanEx, GenApi::IBoolean> {
public:
    using CTypedParameter::CTypedParameter;

    void SetValue(bool value, bool verify = true) override;
    void operator=(bool value) override;
    bool GetValue(bool verify = false, bool ignoreCache = false) const override;
    bool operator()() const override;

    bool TrySetValue(bool value) override;
    bool GetValueOrDefault(bool defaultValue) override;

private:
    friend CTypedParameter;
    static constexpr char ClassName[] = "CBooleanParameter";
};

} // namespace Zelmo
