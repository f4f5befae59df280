// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/transport/TlLibraries.h"

#include "ZelmoBase/core/Guarded.h"
#include "ZelmoBase/core/ScopeGuard.h"
#include "ZelmoBase/transport/TlFactoryLog.h"
#include "ZelmoBase/transport/TlSearch.h"
#include <zelmo/Utilities.h>

#include <algorithm>
#include <unordered_map>
#include <utility>

namespace Zelmo {
namespace {

/// A plug-in's entries: none when it throws, so that it does not hide the others.
TlInfoList ReadInfos(CTlLibHelper& library) {
    TlInfoList infos;
    const bool complete = RunLogged(
        TlFactoryCatId(), "Exception in GetTLInfoList of TL lib '%s': %s",
        "Exception in GetTLInfoList of TL lib '%s': Unknown exception", [&] { library.GetTlInfoList(infos, true); },
        library.GetPath().c_str());
    return complete ? std::move(infos) : TlInfoList();
}

void AppendEntries(CTlLibHelper& library, std::vector<CTlEntry>& entries) {
    TlInfoList infos = ReadInfos(library);
    for (CTlInfo& info : infos) {
        entries.push_back({std::move(info), &library});
    }
}

} // namespace

void CTlLibraries::Search(std::vector<CTlEntry>& entries) {
    m_isSearching = true;
    ScopeGuard found([this] { m_isSearching = false; });
    for (const std::string& path : FindTlLibraries(getZelmoFolderPath(FolderType_TransportLayers))) {
        auto library = std::make_unique<CTlLibHelper>();
        if (!library->Load(path.c_str())) {
            continue;
        }
        AppendEntries(*library, entries);
        m_libraries.push_back(std::move(library));
    }
    Settle(entries);
}

void CTlLibraries::ReadEntries(std::vector<CTlEntry>& entries) {
    for (const auto& library : m_libraries) {
        AppendEntries(*library, entries);
    }
    Settle(entries);
}

/// One plug-in after the other is compared with those before it. So a plug-in with a million entries, of one name or of
/// many, costs a look-up for each.
void CTlLibraries::Settle(std::vector<CTlEntry>& entries) {
    std::unordered_multimap<String_t, const CTlEntry*> earlier;
    for (auto begin = entries.begin(); begin != entries.end();) {
        CTlLibHelper* const library = begin->library;
        const auto end = std::find_if(begin, entries.end(), [&](const CTlEntry& e) { return e.library != library; });
        for (auto entry = begin; entry != end; ++entry) {
            const auto [from, to] = earlier.equal_range(entry->info.GetFullName());
            if (from == to) {
                continue;
            }
            ReportSharedName(from->first, *from->second->library, *library);
            const auto same = std::find_if(from, to, [&](const auto& e) { return e.second->info == entry->info; });
            if (same != to) {
                entry->library = same->second->library;
            }
        }
        for (; begin != end; ++begin) {
            earlier.emplace(begin->info.GetFullName(), &*begin);
        }
    }
}

void CTlLibraries::ReportSharedName(const String_t& fullName, const CTlLibHelper& first, const CTlLibHelper& second) {
    if (m_sharedNames.insert(fullName).second) {
        hxlog::LogTrace(TlFactoryCatId(), hxlog::LogLevel_Warn,
                        "TL lib '%s' cannot be used beside TL lib '%s': both have a transport layer of the name '%s'",
                        second.GetPath().c_str(), first.GetPath().c_str(), fullName.c_str());
    }
}

CTlLibHelper* CTlLibraries::FindLibrary(const CTlInfo& info) {
    for (const auto& library : m_libraries) {
        const TlInfoList infos = ReadInfos(*library);
        if (std::find(infos.begin(), infos.end(), info) != infos.end()) {
            return library.get();
        }
    }
    return nullptr;
}

bool CTlLibraries::FindEntry(const String_t& deviceClass, CTlInfo& info) {
    for (const auto& library : m_libraries) {
        const TlInfoList infos = ReadInfos(*library);
        const auto found = std::find_if(infos.begin(), infos.end(), [&](const CTlInfo& entry) {
            return entry.IsDeviceClassAvailable() && entry.GetDeviceClass() == deviceClass;
        });
        if (found != infos.end()) {
            info = *found;
            return true;
        }
    }
    return false;
}

} // namespace Zelmo
