// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/parameter/NodeAccess.h"

#include <zelmo/Parameter.h>

#include <Base/GCException.h>

namespace Zelmo {

GenApi::INode* FindNode(const GenApi::INodeMap* map, const char* name) {
    return map && name ? map->GetNode(name) : nullptr;
}

GenApi::INode* NodeBehind(GenApi::IValue* value) {
    const auto* const parameter = dynamic_cast<IValueEx*>(value);
    if (!value || (parameter && !parameter->IsValid())) { // which would throw for want of a node
        return nullptr;
    }
    return value->GetNode();
}

void FailWithoutNode(const char* className, const char* operation) {
    throw ACCESS_EXCEPTION("Parameter not found in %s::%s. (No node attached.)", className, operation);
}

} // namespace Zelmo
