// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/INodeMap.h>
#include <GenApi/IValue.h>

namespace Zelmo {

// What all parameters do with nodes, each thing once.

/// The node to attach to; null when there is none.
GenApi::INode* FindNode(const GenApi::INodeMap* map, const char* name);
/// The same for a value: a node, or a parameter, which gives the node behind it.
GenApi::INode* NodeBehind(GenApi::IValue* value);

/// Fails an operation that needs a node and has none. Names are those of class and operation as written in the code.
[[noreturn]] void FailWithoutNode(const char* className, const char* operation);

/// Sets the value of a node that can be written now. What the node throws passes, also from its access mode.
/// @return whether it was set.
template <class Node, class Value>
bool TrySetValueOf(Node* node, const Value& value) {
    if (!GenApi::IsWritable(node)) {
        return false;
    }
    node->SetValue(value, true);
    return true;
}

/// The value of a node that can be read now, else the default. What the node throws passes, as above.
template <class Node, class Value>
Value ValueOrDefault(Node* node, const Value& defaultValue) {
    return GenApi::IsReadable(node) ? node->GetValue(false, false) : defaultValue;
}

} // namespace Zelmo
