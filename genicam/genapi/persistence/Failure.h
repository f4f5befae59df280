#pragma once

#include <new>
#include <optional>
#include <string>

#include <Base/GCException.h>

namespace GenApi {

/// Runs @p action. @return what went wrong, nothing when all went well; a lack of memory passes through.
template <class Action>
std::optional<std::string> FailureOf(Action action) {
    try {
        action();
        return std::nullopt;
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const GenICam::BadAllocException&) {
        throw;
    } catch (const GenICam::GenericException& failure) {
        return std::string(failure.GetDescription());
    } catch (const std::exception& failure) {
        return std::string(failure.what());
    }
}

} // namespace GenApi
