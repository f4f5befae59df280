// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/parameter/NodeMapFromResource.h"

#include "ZelmoBase/core/BuiltinDocuments.h"

#include <GenApi/NodeMapFactory.h>

namespace Zelmo {

GenApi::INodeMap* CreateNodeMapFromResource(const char* name) {
    std::string_view document;
    if (name == nullptr || !FindBuiltinDocument(name, document)) {
        return nullptr;
    }
    GenApi::CNodeMapFactory factory(GenApi::ContentType_Xml, document.data(), document.size(),
                                    GenApi::CacheUsage_Automatic, false);
    return factory.CreateNodeMap("Device", true);
}

} // namespace Zelmo
