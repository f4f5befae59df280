// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ExitCode.h"

#include <stdexcept>
#include <string>

namespace GenICam {
class GenericException;
}

namespace tool {

/// A failure as the user sees it: the message for people, the code for programs, the exit code for scripts.
/// The message says what was attempted, on what, what was found, what is permitted and what to do next.
class ToolError : public std::runtime_error {
public:
    /// @param code the word that stands as "code" in JSON, such as "no_device".
    ToolError(ExitCode exitCode, std::string code, const std::string& message, std::string feature = {})
        : std::runtime_error(message), m_exitCode(exitCode), m_code(std::move(code)), m_feature(std::move(feature)) {}

    ExitCode GetExitCode() const noexcept { return m_exitCode; }
    const std::string& GetCode() const noexcept { return m_code; }
    const std::string& GetFeature() const noexcept { return m_feature; } ///< Empty unless one feature is at fault.

private:
    ExitCode m_exitCode;
    std::string m_code;
    std::string m_feature;
};

ToolError UsageError(const std::string& message);
ToolError HostError(const std::string& message);
ToolError FeatureError(const std::string& feature, std::string code, const std::string& message);

/// The failure that an exception of the library stands for while @p attempted was under way ("Opening camera 0815").
ToolError FromLibrary(const GenICam::GenericException& error, const std::string& attempted);

/// The same of whatever is being handled; a ToolError as it is.
ToolError FromCurrentException(const std::string& attempted);

} // namespace tool
