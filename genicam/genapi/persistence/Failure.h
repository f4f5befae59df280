// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <Base/GCException.h>
#include <Base/GCStringVector.h>

#include <new>
#include <optional>
#include <string>
#include <vector>

namespace GenApi {

struct INodeMap;

/// @throws InvalidArgumentException on null.
INodeMap& RequireNodeMap(INodeMap* nodeMap);

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

/// Appends failures to the caller's list, or without one raises them all in one: "Not all features could be
/// <attempted>: ...". @return whether there were none.
bool ReportFailures(const std::vector<std::string>& failures, GenICam::gcstring_vector* list, const char* attempted);

} // namespace GenApi
