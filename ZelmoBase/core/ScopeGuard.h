// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <type_traits>
#include <utility>

namespace Zelmo {

/// Runs an undo step when the scope is left, unless it was dismissed.
/// The undo step must not throw: it may run while an exception is on its way.
template <typename Undo>
class [[nodiscard]] ScopeGuard {
public:
    explicit ScopeGuard(Undo undo) noexcept(std::is_nothrow_move_constructible_v<Undo>) : m_undo(std::move(undo)) {}
    ~ScopeGuard() {
        if (m_armed) {
            m_undo();
        }
    }
    ScopeGuard(const ScopeGuard&) = delete;
    ScopeGuard& operator=(const ScopeGuard&) = delete;

    void Dismiss() noexcept { m_armed = false; } ///< What was done stays done.

private:
    Undo m_undo;
    bool m_armed = true;
};

} // namespace Zelmo
