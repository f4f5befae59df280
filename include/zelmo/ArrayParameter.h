// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/IRegister.h>
#include <zelmo/Export.h>
#include <zelmo/TypedParameter.h>

#include <cstdint>

namespace Zelmo {

/// What array parameters offer beside the interface of a register node: nothing yet.
struct ZELMO_API IRegisterEx : virtual public GenApi::IRegister, virtual public IValueEx {};

class ZELMO_API CArrayParameter;
extern template class CTypedParameter<CArrayParameter, IRegisterEx, GenApi::IRegister>;

/// A block of bytes of the device, such as a look-up table: a view of one register node. See CParameter.
/// Lengths and addresses are in bytes.
class ZELMO_API CArrayParameter : public CTypedParameter<CArrayParameter, IRegisterEx, GenApi::IRegister> {
public:
    using CTypedParameter::CTypedParameter;

    void Set(const uint8_t* buffer, int64_t length, bool verify = true) override;
    void Get(uint8_t* buffer, int64_t length, bool verify = false, bool ignoreCache = false) override;
    int64_t GetLength() override;
    int64_t GetAddress() override;

private:
    friend CTypedParameter;
    static constexpr char ClassName[] = "CArrayParameter";
};

} // namespace Zelmo
