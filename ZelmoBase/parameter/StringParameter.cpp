// SPDX-License-Identifier: Apache-2.0
#include <zelmo/StringParameter.h>

#include "ZelmoBase/parameter/NodeAccess.h"
#include "ZelmoBase/parameter/TypedParameterBody.h"

namespace Zelmo {

template class CTypedParameter<CStringParameter, IStringEx, GenApi::IString>;

void CStringParameter::SetValue(const String_t& value, bool verify) {
    NodeFor(__func__).SetValue(value, verify);
}

GenApi::IString& CStringParameter::operator=(const String_t& value) {
    NodeFor(__func__) = value;
    return *this;
}

String_t CStringParameter::GetValue(bool verify, bool ignoreCache) {
    return NodeFor(__func__).GetValue(verify, ignoreCache);
}

String_t CStringParameter::operator()() {
    return NodeFor(__func__)();
}

String_t CStringParameter::operator*() {
    return *NodeFor(__func__);
}

int64_t CStringParameter::GetMaxLength() {
    return NodeFor(__func__).GetMaxLength();
}

bool CStringParameter::TrySetValue(const String_t& value) {
    return TrySetValueOf(Node(), value);
}

String_t CStringParameter::GetValueOrDefault(const String_t& defaultValue) {
    return ValueOrDefault(Node(), defaultValue);
}

} // namespace Zelmo
