// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <list>
#include <unordered_map>

namespace Serving {

/// How much is answered to those who do not have control. Whose address stands in a command may never have sent it, so
/// that answers are bounded for each address and in all.
/// Threads: one at a time.
class CAnswerBudget {
public:
    static constexpr double kSourceBurst = 1 << 20, kSourceBytesPerS = 256 << 10;
    static constexpr double kTotalBurst = 4 << 20, kTotalBytesPerS = 1 << 20;
    static constexpr std::size_t kSources = 1024; ///< that are known at once; the one idle for longest is forgotten

    /// Whether @p bytes may go to the address @p source; false is counted. @p nowNs never falls.
    bool Take(std::uint32_t source, std::size_t bytes, std::int64_t nowNs);
    std::uint64_t Refused() const { return m_refused; } ///< answers

private:
    struct CBucket {
        double bytes = 0;
        std::int64_t atNs = 0;

        void Fill(double bytesPerS, double burst, std::int64_t nowNs);
    };
    struct CSource {
        std::uint32_t address = 0;
        CBucket bucket;
    };

    CBucket& BucketOf(std::uint32_t source, std::int64_t nowNs);

    CBucket m_total{kTotalBurst, 0};
    std::list<CSource> m_sources; // the one heard of last in front
    std::unordered_map<std::uint32_t, std::list<CSource>::iterator> m_index;
    std::uint64_t m_refused = 0;
};

} // namespace Serving
