// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/parameter/EnumAccess.h"

#include <GenApi/IEnumEntry.h>
#include <GenApi/IString.h>

namespace Zelmo {
namespace {

bool TrySetText(GenApi::IValue* node, const char* name) {
    if (auto* const enumeration = dynamic_cast<GenApi::IEnumeration*>(node)) {
        return TrySetEnumeration(enumeration, name);
    }
    if (auto* const text = dynamic_cast<GenApi::IString*>(node)) {
        text->SetValue(name, true);
        return true;
    }
    return false;
}

} // namespace

bool TrySetEnumeration(GenApi::IEnumeration* node, const String_t& name) {
    if (!GenApi::IsWritable(node) || !GenApi::IsAvailable(node->GetEntryByName(name))) {
        return false;
    }
    node->FromString(name, true);
    return true;
}

unsigned SetFirstOf(GenApi::IValue* node, const char* const* names) {
    for (unsigned i = 0; names[i] != nullptr; ++i) {
        if (TrySetText(node, names[i])) {
            return i + 1;
        }
    }
    return 0;
}

} // namespace Zelmo
