// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/core/Paths.h"

#include <zelmo/Utilities.h>

#include "ZelmoBase/core/Mutex.h"

#include <Base/GCAllocating.h>
#include <Base/GCException.h>

#include <boost/filesystem.hpp>

#include <atomic>
#include <cstddef>
#include <cstring>
#include <dlfcn.h>
#include <string>

namespace Zelmo {
namespace {

constexpr size_t kMaxPathBytes = 4096;

/// A path that is found out once. An empty path is no final answer: it is found out again the next time.
class CCachedPath {
public:
    /// What the cache holds or else what @p find gives, which may run on several threads at once: the first one wins.
    template <typename Find>
    const char* Get(const char* tooLongMessage, Find&& find) {
        if (!m_isFilled.load(std::memory_order_acquire)) {
            Fill(GenICam::Allocating(find), tooLongMessage);
        }
        // the last byte is always zero: the empty text, which nobody overwrites
        return m_isFilled.load(std::memory_order_acquire) ? m_text : m_text + kMaxPathBytes - 1;
    }

private:
    void Fill(const std::string& path, const char* tooLongMessage) {
        if (path.size() >= kMaxPathBytes) {
            throw GENERIC_EXCEPTION("%s", tooLongMessage);
        }
        CLockGuard guard(m_lock);
        if (!path.empty() && !m_isFilled.load(std::memory_order_relaxed)) {
            std::memcpy(m_text, path.c_str(), path.size() + 1);
            m_isFilled.store(true, std::memory_order_release);
        }
    }

    CMutex m_lock; // serialises the one write
    std::atomic<bool> m_isFilled = false;
    char m_text[kMaxPathBytes] = {}; // constant once filled
};

/// Any address inside this library; unlike that of an exported function it is never one of the program.
const char kGAnchor = 0;

std::string FindBaseFolder() {
    Dl_info info;
    if (dladdr(&kGAnchor, &info) == 0) {
        throw RUNTIME_EXCEPTION("Failed to determine the directory of zelmo base.");
    }
    return boost::filesystem::path(info.dli_fname).parent_path().string();
}

std::string FindByEnvironment(const char* variable) {
    String_t value;
    return GetValueOfEnvironmentVariable(variable, value) ? value.c_str() : getZelmoFolderPath(FolderType_BaseAlias);
}

std::string FindConfigFileRegistry() {
    String_t value;
    if (GetValueOfEnvironmentVariable("ZELMO_CONFIG_FILE_REGISTRY_PATH", value)) {
        return value.c_str();
    }
    const std::string base = getZelmoFolderPath(FolderType_Base);
    for (const char* steps : {"/", "/../", "/../../"}) {
        std::string candidate = base + steps + "/share/zelmo/ConfigFileRegistry";
        if (PathExists(candidate)) {
            return candidate;
        }
    }
    return base + "//share/zelmo/ConfigFileRegistry";
}

} // namespace

bool PathExists(const std::string& path) {
    boost::system::error_code error;
    const auto type = boost::filesystem::status(path, error).type();
    return type != boost::filesystem::status_error && type != boost::filesystem::file_not_found;
}

const char* getZelmoFolderPath(eFolderType type) {
    static CCachedPath base;
    static CCachedPath cameraDescriptions;
    static CCachedPath configFileRegistry;
    static CCachedPath transportLayers;
    // both kinds of folder report the transport layers' words
    static const char kTlPathTooLong[] = "ZelmoTL path too long";
    switch (type) {
    case FolderType_Base:
        return base.Get("Zelmo base directory path too long", FindBaseFolder);
    case FolderType_CameraDescriptions:
        return cameraDescriptions.Get(kTlPathTooLong, [] { return FindByEnvironment("ZELMO_DEFAULT_CDF_DIR"); });
    case FolderType_BaseAlias:
        return getZelmoFolderPath(FolderType_Base);
    case FolderType_ConfigFileRegistry:
        return configFileRegistry.Get("ZelmoConfigFileRegistry path too long", FindConfigFileRegistry);
    case FolderType_TransportLayers:
        return transportLayers.Get(kTlPathTooLong, [] { return FindByEnvironment("ZELMO_TL_PATH"); });
    case FolderType_SecondBaseAlias:
        return getZelmoFolderPath(FolderType_BaseAlias);
    }
    throw GENERIC_EXCEPTION("Unknown path type ");
}

const char* getZelmoPathSeperator() {
    return "/";
}

const char* getZelmoPathListDelimiter() {
    return ":";
}

} // namespace Zelmo
