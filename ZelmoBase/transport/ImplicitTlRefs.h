// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/TransportLayer.h>

#include <unordered_set>
#include <vector>

namespace Zelmo {

/// The references by which the factory keeps transport layers alive that enumerated or made a device, one each.
/// Threads: all under the factory lock.
class ImplicitTlRefs {
public:
    ImplicitTlRefs();
    ImplicitTlRefs(const ImplicitTlRefs&) = delete;
    ImplicitTlRefs& operator=(const ImplicitTlRefs&) = delete;
    ~ImplicitTlRefs(); ///< Releases what is left, with a warning.

    void Add(ITransportLayer* tl);    ///< Null, and one that is held already, is ignored.
    void Forget(ITransportLayer* tl); ///< It is gone: one without a counter does not outlive its first release.
    void ReleaseAll();                ///< In the order in which they were added.

private:
    std::vector<ITransportLayer*> m_tls;
    std::unordered_set<ITransportLayer*> m_held; // the same, to look up
};

} // namespace Zelmo
