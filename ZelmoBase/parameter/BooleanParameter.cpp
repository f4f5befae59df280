// SPDX-License-Identifier: Apache-2.0
#include <zelmo/BooleanParameter.h>

#include "ZelmoBase/parameter/NodeAccess.h"
#include "ZelmoBase/parameter/TypedParameterBody.h"

namespace Zelmo {

template class CTypedParameter<CBooleanParameter, IBooleanEx, GenApi::IBoolean>;

void CBooleanParameter::SetValue(bool value, bool verify) {
    NodeFor(__func__).SetValue(value, verify);
}

void CBooleanParameter::operator=(bool value) {
    NodeFor(__func__) = value;
}

bool CBooleanParameter::GetValue(bool verify, bool ignoreCache) const {
    return NodeFor(__func__).GetValue(verify, ignoreCache);
}

bool CBooleanParameter::operator()() const {
    return NodeFor(__func__)();
}

bool CBooleanParameter::TrySetValue(bool value) {
    return TrySetValueOf(Node(), value);
}

bool CBooleanParameter::GetValueOrDefault(bool defaultValue) {
    return ValueOrDefault(Node(), defaultValue);
}

} // namespace Zelmo
