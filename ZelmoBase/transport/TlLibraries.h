// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ZelmoBase/transport/TlLibHelper.h"

#include <memory>
#include <unordered_set>
#include <vector>

namespace Zelmo {

/// One entry of a plug-in's list, and the plug-in.
struct CTlEntry {
    CTlInfo info;
    CTlLibHelper* library;
};

/// All plug-ins loaded so far, in load order. None before the first search; once there is one, no further search is
/// made and none is unloaded until the whole list goes. Threads: all under the factory lock.
class CTlLibraries {
public:
    /// A plug-in that is asked for its entries by a search and comes back sees those loaded before it.
    bool NeedsSearch() const { return m_libraries.empty() && !m_isSearching; }

    /// Loads the plug-ins of the transport layer folders and appends their entries as it goes. Of plug-ins with the
    /// same entry the first one stands in each, as it makes the transport layer; equal full names are warned of once.
    void Search(std::vector<CTlEntry>& entries);

    /// Appends the entries of all plug-ins that are loaded; the same holds.
    void ReadEntries(std::vector<CTlEntry>& entries);

    /// The first plug-in with an entry equal to @p info, null when there is none.
    CTlLibHelper* FindLibrary(const CTlInfo& info);

    /// Sets @p info to the first entry of a device class. @return false when there is none.
    bool FindEntry(const String_t& deviceClass, CTlInfo& info);

private:
    void Settle(std::vector<CTlEntry>& entries);
    void ReportSharedName(const String_t& fullName, const CTlLibHelper& first, const CTlLibHelper& second);

    std::vector<std::unique_ptr<CTlLibHelper>> m_libraries;
    std::unordered_set<String_t> m_sharedNames; // of which it was warned
    bool m_isSearching = false;
};

} // namespace Zelmo
