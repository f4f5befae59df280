// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/core/BuiltinDocuments.h"

#include "BuiltinDocumentTable.h" // generated

namespace Zelmo {

bool FindBuiltinDocument(std::string_view name, std::string_view& text) {
    for (const BuiltinDocument& document : kBuiltinDocuments) {
        if (document.name == name) {
            text = document.text;
            return true;
        }
    }
    return false;
}

} // namespace Zelmo
