// SPDX-License-Identifier: Apache-2.0
#include <zelmo/ArrayParameter.h>

#include "ZelmoBase/parameter/TypedParameterBody.h"

namespace Zelmo {

template class CTypedParameter<CArrayParameter, IRegisterEx, GenApi::IRegister>;

void CArrayParameter::Set(const uint8_t* buffer, int64_t length, bool verify) {
    NodeFor(__func__).Set(buffer, length, verify);
}

void CArrayParameter::Get(uint8_t* buffer, int64_t length, bool verify, bool ignoreCache) {
    NodeFor(__func__).Get(buffer, length, verify, ignoreCache);
}

int64_t CArrayParameter::GetLength() {
    return NodeFor(__func__).GetLength();
}

int64_t CArrayParameter::GetAddress() {
    return NodeFor(__func__).GetAddress();
}

} // namespace Zelmo
