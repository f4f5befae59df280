// SPDX-License-Identifier: Apache-2.0
#include "AnswerBudget.h"

#include <algorithm>

namespace Serving {

void CAnswerBudget::CBucket::Fill(double bytesPerS, double burst, std::int64_t nowNs) {
    const double seconds = static_cast<double>(nowNs - atNs) / 1e9;
    bytes = std::min(burst, bytes + seconds * bytesPerS);
    atNs = nowNs;
}

CAnswerBudget::CBucket& CAnswerBudget::BucketOf(std::uint32_t source, std::int64_t nowNs) {
    const auto known = m_index.find(source);
    if (known != m_index.end()) {
        m_sources.splice(m_sources.begin(), m_sources, known->second);
    } else {
        if (m_sources.size() == kSources) {
            m_index.erase(m_sources.back().address);
            m_sources.pop_back();
        }
        m_sources.push_front({source, {kSourceBurst, nowNs}});
        m_index[source] = m_sources.begin();
    }
    return m_sources.front().bucket;
}

bool CAnswerBudget::Take(std::uint32_t source, std::size_t bytes, std::int64_t nowNs) {
    CBucket& bucket = BucketOf(source, nowNs);
    bucket.Fill(kSourceBytesPerS, kSourceBurst, nowNs);
    m_total.Fill(kTotalBytesPerS, kTotalBurst, nowNs);
    const auto wanted = static_cast<double>(bytes);
    if (bucket.bytes < wanted || m_total.bytes < wanted) {
        ++m_refused;
        return false;
    }
    bucket.bytes -= wanted;
    m_total.bytes -= wanted;
    return true;
}

} // namespace Serving
