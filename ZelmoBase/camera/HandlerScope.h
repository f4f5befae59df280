// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace Zelmo {

/// Marks that the calling thread is inside a handler of some camera object, from construction to the end of the scope.
class CHandlerScope {
public:
    CHandlerScope() noexcept { ++Depth(); }
    ~CHandlerScope() { --Depth(); }
    CHandlerScope(const CHandlerScope&) = delete;
    CHandlerScope& operator=(const CHandlerScope&) = delete;

    static bool IsInside() noexcept { return Depth() != 0; }

private:
    static unsigned& Depth() noexcept {
        thread_local unsigned depth = 0;
        return depth;
    }
};

} // namespace Zelmo
