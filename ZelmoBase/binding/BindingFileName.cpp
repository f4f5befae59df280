// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/binding/BindingFileName.h"

#include "ZelmoBase/core/ExpandEnvironment.h"
#include <zelmo/Utilities.h>

#include <Base/GCException.h>

#include <string>

namespace Zelmo {
namespace {

bool IsSimpleName(const std::string& name) {
    return name.find('/') == std::string::npos && name != "." && name != "..";
}

} // namespace

void ResolveBindingFileName(String_t& name) {
    std::string expanded = name.str();
    if (ExpandEnvironment(expanded, ExpandDialect_FileName) < 0) {
        throw BAD_ALLOC_EXCEPTION("Cannot expand the file name '%s': out of memory.", name.c_str());
    }
    if (!expanded.empty() && IsSimpleName(expanded)) {
        expanded.insert(0, getZelmoPathSeperator()).insert(0, getZelmoFolderPath(FolderType_CameraDescriptions));
    }
    name = expanded;
}

} // namespace Zelmo
