// SPDX-License-Identifier: Apache-2.0
#include <GenApi/NodeCallback.h>

#include <Base/GCException.h>

namespace GenApi {

// A handle is the address of its callback: that is how the node is found.
void Deregister(CallbackHandleType pCallbackInfo) {
    if (pCallbackInfo == 0) {
        return;
    }
    INode* const node = reinterpret_cast<CNodeCallback*>(pCallbackInfo)->GetNode();
    if (!node) {
        throw INVALID_ARGUMENT_EXCEPTION("Cannot deregister a callback that knows no node");
    }
    node->DeregisterCallback(pCallbackInfo);
}

} // namespace GenApi
