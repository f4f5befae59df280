// SPDX-License-Identifier: Apache-2.0
#include "Errors.h"

#include <Base/GCException.h>

namespace tool {

ToolError UsageError(const std::string& message) {
    return {ExitCode::Usage, "usage", message};
}

ToolError HostError(const std::string& message) {
    return {ExitCode::Failed, "host", message};
}

ToolError FeatureError(const std::string& feature, std::string code, const std::string& message) {
    return {ExitCode::Feature, std::move(code), message, feature};
}

ToolError FromLibrary(const GenICam::GenericException& error, const std::string& attempted) {
    const std::string message = attempted + " failed: " + error.GetDescription();
    if (dynamic_cast<const GenICam::TimeoutException*>(&error) != nullptr) {
        return {ExitCode::Timeout, "timeout", message};
    }
    if (dynamic_cast<const GenICam::AccessException*>(&error) != nullptr) {
        return {ExitCode::Access, "access_denied", message};
    }
    const bool host = dynamic_cast<const GenICam::BadAllocException*>(&error) != nullptr;
    return {ExitCode::Failed, host ? "host" : "device", message};
}

ToolError FromCurrentException(const std::string& attempted) {
    try {
        throw;
    } catch (const ToolError& error) {
        return error;
    } catch (const GenICam::GenericException& error) {
        return FromLibrary(error, attempted);
    } catch (const std::exception& error) {
        return HostError(attempted + " failed: " + error.what());
    }
}

} // namespace tool
