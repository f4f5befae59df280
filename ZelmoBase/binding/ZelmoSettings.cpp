// SPDX-License-Identifier: Apache-2.0
#include <zelmo/ZelmoSettings.h>

#include "XMLWrapperLib/WrapXml.h"
#include "ZelmoBase/core/Paths.h"

#include <zelmo/Log.h>
#include <zelmo/Utilities.h>

#include <Base/GCException.h>
#include <Base/GCSynch.h>
#include <Base/GCThreadAnnotations.h>

#include <exception>
#include <map>

namespace Zelmo {
namespace {

struct SettingsStore {
    GenICam::CLock lock;
    std::map<String_t, String_t> values GENICAM_GUARDED_BY(lock);
};

// Made at its first use, so that it outlives an application's static object that starts and ends the library.
SettingsStore& Store() {
    static SettingsStore store;
    return store;
}

unsigned long CatId() {
    static const unsigned long kId = hxlog::LogGetCatID("zelmo.base");
    return kId;
}

// Answers the file beside the library or else the one above, empty if there is none.
String_t FindSettingsFile() {
    const String_t separator = getZelmoPathSeperator();
    const String_t folder = getZelmoFolderPath(FolderType_Base) + separator;
    for (const String_t& path : {folder + "zelmo.xml", folder + ".." + separator + "zelmo.xml"}) {
        if (PathExists(path.c_str())) {
            return path;
        }
    }
    return {};
}

void ReadSetting(const CXmlNode& element, std::map<String_t, String_t>& values) {
    const CXmlNode name = element.GetAttribute("name");
    if (!name.IsAttribute() || element.GetName() != "setting") {
        return;
    }
    const CXmlNode value = element.GetFirstChild();
    if (value.IsValid()) {
        values[name.GetValue()] = value.GetValue();
    }
}

void ReadSettingsFile(const String_t& path, std::map<String_t, String_t>& values) {
    CXmlNode root;
    root.LoadFromFile(path);
    if (root.GetName() != "settings") {
        return;
    }
    for (CXmlNode element = root.GetFirstChild(); element.IsValid(); element.MoveToNextSibling()) {
        ReadSetting(element, values);
    }
}

[[noreturn]] void FailToRead(const String_t& path, const char* cause) {
    hxlog::LogTrace(CatId(), hxlog::LogLevel_Error, "Cannot read settings file %s: %s", path.c_str(), cause);
    throw RUNTIME_EXCEPTION("Failed to process zelmo setting file");
}

} // namespace

bool CZelmoSettings::GetSetting(const char* key, String_t& value) {
    SettingsStore& store = Store();
    GenICam::AutoLock lock(store.lock);
    const auto found = store.values.find(key);
    if (found == store.values.end()) {
        return false;
    }
    value = found->second;
    return true;
}

bool CZelmoSettings::SetSetting(const char* key, const String_t& value) {
    SettingsStore& store = Store();
    GenICam::AutoLock lock(store.lock);
    store.values[key] = value;
    return true;
}

void CZelmoSettings::ClearSettings() {
    SettingsStore& store = Store();
    GenICam::AutoLock lock(store.lock);
    store.values.clear();
}

void CZelmoSettings::UpdateSettings() {
    SettingsStore& store = Store();
    GenICam::AutoLock lock(store.lock);
    const String_t path = FindSettingsFile();
    if (path.empty()) {
        return;
    }
    try {
        ReadSettingsFile(path, store.values);
    } catch (const GenICam::GenericException& e) {
        FailToRead(path, e.GetDescription());
    } catch (const std::exception& e) {
        FailToRead(path, e.what());
    } catch (...) {
        FailToRead(path, "Unknown exception");
    }
}

} // namespace Zelmo
