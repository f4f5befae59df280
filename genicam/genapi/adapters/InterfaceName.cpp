// SPDX-License-Identifier: Apache-2.0
#include <GenApi/IBase.h>

#include <GenApi/EnumClasses.h>
#include <GenApi/INode.h>

namespace GenApi {

gcstring GetInterfaceName(IBase* object) {
    const auto* const node = dynamic_cast<INode*>(object);
    if (!node) {
        return "IBase";
    }
    constexpr size_t prefixLength = 4; // "intf"
    return EInterfaceTypeClass::ToString(node->GetPrincipalInterfaceType()).substr(prefixLength);
}

} // namespace GenApi
