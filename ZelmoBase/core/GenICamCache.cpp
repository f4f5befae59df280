// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/core/GenICamCache.h"

#include <zelmo/Log.h>

#include <cerrno>
#include <cstdlib>
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

bool IsThere(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0;
}

/// Whether the folder, which is not there, could be made with its parents: the nearest of them that is there decides.
bool CanBeMade(const std::string& path) {
    std::string parent = path;
    do {
        const size_t end = parent.find_last_not_of('/');
        const size_t slash = parent.rfind('/', end);
        parent = slash == std::string::npos ? "." : slash == 0 ? "/" : parent.substr(0, slash);
    } while (!IsThere(parent) && errno == ENOENT);
    return access((parent + "/.").c_str(), W_OK | X_OK) == 0; // a file that has this name is no folder
}

/// @return whether the modules may use the folder without a further look: nothing of that name is there, but it can be
/// made. It is left to them to make it once there is something to keep, as most processes never have anything.
bool SetUpDefault(const std::string& folder) {
    if (setenv(kVariable, folder.c_str(), 1) != 0) {
        hxlog::LogTrace(catId(), hxlog::LogLevel_Warn, "Could not set GENICAM_CACHE_V3_1 to '%s'", folder.c_str());
        return false;
    }
    if (IsThere(folder)) {
        return false;
    }
    if (CanBeMade(folder)) {
        return true;
    }
    hxlog::LogTrace(catId(), hxlog::LogLevel_Warn, "Could not create directory '%s'. GenICam cache won't be used.",
                    folder.c_str());
    return false;
}

bool IsUsableFolder(const char* path) {
    struct stat status {};
    return stat(path, &status) == 0 && S_ISDIR(status.st_mode) && access(path, R_OK | W_OK) == 0;
}

} // namespace

void SetUpGenICamCache() {
    const char* const given = std::getenv(kVariable);
    const std::string home = HomeFolder();
    const std::string standard = home.empty() ? home : home + "/genicam_xml_cache";
    if (given == nullptr && standard.empty()) {
        hxlog::LogTrace(catId(), hxlog::LogLevel_Warn,
                        "Could not build default GenICam cache directory name. "
                        "GenICam cache won't be used.");
        return;
    }
    const std::string folder = given != nullptr ? given : standard;
    // A former start, or the process that started this one, may have named the default without making it.
    if (folder == standard && !standard.empty() && SetUpDefault(folder)) {
        return;
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
