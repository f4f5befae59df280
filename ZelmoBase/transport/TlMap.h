// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/TransportLayer.h>

#include <map>
#include <unordered_map>

namespace Zelmo {

class CTlLibHelper;

/// The live transport layers, each with the plug-in that made it; owns neither. The full name that a transport layer
/// had when it was added is kept, since it never changes. Threads: all under the factory lock.
class CTlMap {
public:
    CTlMap() = default;
    CTlMap(const CTlMap&) = delete;
    CTlMap& operator=(const CTlMap&) = delete;

    /// Destroys what is still referenced, with a warning. What a plug-in throws meanwhile ends the process.
    ~CTlMap();

    /// Null is ignored. @throws GenICam::LogicalErrorException when there is one with the same full name.
    void Add(ITransportLayer* tl, CTlLibHelper* library);
    void Remove(ITransportLayer* tl);

    ITransportLayer* FindByFullName(const String_t& name) const; ///< Null when there is none.
    CTlLibHelper* GetLib(ITransportLayer* tl) const;             ///< Null when it is not in the map.

private:
    struct Entry {
        CTlLibHelper* library;
        String_t fullName;
    };

    std::map<ITransportLayer*, Entry> m_entries;
    std::unordered_map<String_t, ITransportLayer*> m_byFullName;
};

} // namespace Zelmo
