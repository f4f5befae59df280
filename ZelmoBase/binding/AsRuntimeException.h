// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <Base/GCException.h>

#include <exception>

namespace Zelmo {

/// Runs @p step. An exception of the standard library goes on as a GenICam one with the same text.
template <typename Step>
decltype(auto) AsRuntimeException(Step&& step) {
    try {
        return step();
    } catch (const GenICam::GenericException&) {
        throw;
    } catch (const std::exception& e) {
        throw RUNTIME_EXCEPTION("%s", e.what());
    }
}

} // namespace Zelmo
