// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "TempFolder.h"

#include <gtest/gtest.h>
#include <zip.h>

#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

namespace Fakes {

/// A zip archive of texts by their names.
inline std::string Zipped(const std::vector<std::pair<std::string, std::string>>& entries) {
    const TempFolder folder;
    const std::filesystem::path path = folder.Path() / "description.zip";
    zip_t* archive = zip_open(path.c_str(), ZIP_CREATE | ZIP_TRUNCATE, nullptr);
    for (const auto& [name, text] : entries) {
        zip_file_add(archive, name.c_str(), zip_source_buffer(archive, text.data(), text.size(), 0), ZIP_FL_OVERWRITE);
    }
    EXPECT_EQ(zip_close(archive), 0);
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

} // namespace Fakes
