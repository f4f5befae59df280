// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/core/GenICamCache.h"

#include <zelmo/Log.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <pwd.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace Zelmo {
namespace {

constexpr char kVariable[] = "GENICAM_CACHE_V3_1";

unsigned long catId() {
    static const unsigned long kId = hxlog::LogGetCatID("zelmo.base");
    return kId;
}

std::string HomeFolder() {
    if (const char* home = std::getenv("HOME")) {
        return home;
    }
    const passwd* user = getpwuid(getuid());
    return user != nullptr && user->pw_dir != nullptr ? user->pw_dir : "";
}

/// The folder and its parents. @return whether it was made or something of that name was there already.
bool CreateFolders(const char* path) noexcept {
    const std::unique_ptr<char, decltype(&std::free)> copy(strdup(path), &std::free);
    if (!copy) {
        return false;
    }
    char* text = copy.get();
    const size_t length = std::strlen(text);
    if (length > 0 && text[length - 1] == '/') {
        text[length - 1] = '\0';
    }
    char* part = *text == '/' ? text + 1 : text;
    while ((part = std::strchr(part, '/')) != nullptr) {
        *part = '\0';
        mkdir(text, 0777); // the last one tells whether all went well
        *part++ = '/';
    }
    return mkdir(text, 0777) == 0 || errno == EEXIST;
}

void SetUpDefault(const std::string& folder) {
    if (setenv(kVariable, folder.c_str(), 1) != 0) {
        hxlog::LogTrace(catId(), hxlog::LogLevel_Warn, "Could not set GENICAM_CACHE_V3_1 to '%s'", folder.c_str());
        return;
    }
    if (!CreateFolders(folder.c_str())) {
        hxlog::LogTrace(catId(), hxlog::LogLevel_Warn, "Could not create directory '%s'. GenICam cache won't be used.",
                        folder.c_str());
    }
}

bool IsUsableFolder(const char* path) {
    struct stat status {};
    return stat(path, &status) == 0 && S_ISDIR(status.st_mode) && access(path, R_OK | W_OK) == 0;
}

} // namespace

void SetUpGenICamCache() {
    std::string folder;
    if (const char* given = std::getenv(kVariable)) {
        folder = given;
    } else {
        folder = HomeFolder();
        if (folder.empty()) {
            hxlog::LogTrace(catId(), hxlog::LogLevel_Warn,
                            "Could not build default GenICam cache directory name. "
                            "GenICam cache won't be used.");
            return;
        }
        folder += "/genicam_xml_cache";
        SetUpDefault(folder);
    }
    if (!IsUsableFolder(folder.c_str())) {
        hxlog::LogTrace(catId(), hxlog::LogLevel_Warn,
                        "Directory '%s' from GENICAM_CACHE_V3_1 does not exist. Removing GENICAM_CACHE_V3_1 from "
                        "environment.",
                        folder.c_str());
        unsetenv(kVariable);
    }
}

} // namespace Zelmo
