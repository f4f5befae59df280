// SPDX-License-Identifier: Apache-2.0
#include <zelmo/CommandParameter.h>

#include "ZelmoBase/parameter/TypedParameterBody.h"

namespace Zelmo {

template class CTypedParameter<CCommandParameter, ICommandEx, GenApi::ICommand>;

void CCommandParameter::Execute(bool verify) {
    NodeFor(__func__).Execute(verify);
}

void CCommandParameter::operator()() {
    NodeFor(__func__)();
}

bool CCommandParameter::IsDone(bool verify) {
    return NodeFor(__func__).IsDone(verify);
}

bool CCommandParameter::TryExecute() {
    if (!GenApi::IsWritable(Node())) {
        return false;
    }
    Node()->Execute(true);
    return true;
}

} // namespace Zelmo
