// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/binding/RuleFolder.h"

#include <zelmo/Utilities.h>

#include <boost/filesystem.hpp>

#include <algorithm>
#include <strings.h>

namespace Zelmo {
namespace {

namespace fs = boost::filesystem;

// Links are not followed: one that leads nowhere is a file that fails to load.
bool IsRuleFile(const fs::directory_entry& entry) {
    static constexpr char kPrefix[] = "Rules";
    boost::system::error_code gone;
    const fs::file_type type = entry.symlink_status(gone).type();
    const fs::path& path = entry.path();
    return (type == fs::regular_file || type == fs::symlink_file) &&
           strcasecmp(path.extension().c_str(), ".xml") == 0 &&
           strncasecmp(path.filename().c_str(), kPrefix, sizeof kPrefix - 1) == 0;
}

} // namespace

CRuleFolder ListRuleFolder() {
    CRuleFolder folder;
    folder.path = getZelmoFolderPath(FolderType_ConfigFileRegistry);
    boost::system::error_code error;
    const fs::directory_iterator entries(folder.path, error);
    if (error) {
        folder.obstacle = error.message();
        return folder;
    }
    for (const fs::directory_entry& entry : entries) {
        if (IsRuleFile(entry)) {
            folder.files.push_back(entry.path().string());
        }
    }
    std::sort(folder.files.begin(), folder.files.end());
    return folder;
}

} // namespace Zelmo
