// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace Serving {

/// Notes on what others can bring about as often as they like: one a minute is told, the rest are counted.
/// Threads: one at a time.
class CRareNotes {
public:
    using CSink = std::function<void(const std::string&)>;

    explicit CRareNotes(CSink sink) : m_sink(std::move(sink)) {}

    void Note(const std::string& text, std::int64_t nowNs) {
        constexpr std::int64_t minuteNs = 60'000'000'000;
        if (m_lastNs && nowNs - *m_lastNs < minuteNs) {
            ++m_untold;
            return;
        }
        m_sink(m_untold == 0 ? text : text + " (" + std::to_string(m_untold) + " more notes in between)");
        m_lastNs = nowNs;
        m_untold = 0;
    }

private:
    CSink m_sink;
    std::optional<std::int64_t> m_lastNs;
    std::uint64_t m_untold = 0;
};

} // namespace Serving
