// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <Base/GCException.h>

#include <exception>
#include <new>

namespace PluginKit {

/// Runs what the library called for. Only exceptions of the GenICam family may leave a plug-in: what the standard
/// library throws goes out as one of them.
template <class Operation>
decltype(auto) AtBoundary(const char* attempt, Operation operation) {
    try {
        return operation();
    } catch (const GenICam::GenericException&) {
        throw;
    } catch (const std::bad_alloc&) {
        throw BAD_ALLOC_EXCEPTION("Cannot %s: out of memory.", attempt);
    } catch (const std::exception& e) {
        throw RUNTIME_EXCEPTION("Cannot %s: %s", attempt, e.what());
    }
}

} // namespace PluginKit
