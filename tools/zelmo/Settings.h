// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Errors.h"
#include "Json.h"

#include <GenApi/Persistence.h>

#include <string>
#include <vector>

namespace tool {

class Camera;
class Output;

/// One feature that could not be stored, set or compared.
struct SettingFailure {
    std::string feature;
    std::string reason;
};

/// The lines "<name>: <reason>" that feature bags collect.
std::vector<SettingFailure> ToFailures(const GenApi::gcstring_vector& errors);

/// @throws ToolError that names the file and what is wrong with it.
GenApi::CFeatureBag ReadSettings(const std::string& path);

/// Prints each failure as "Gain: it could not be <attempted> on camera <name>: <reason>". @return the exit code: the
/// feature's, or that of a removed camera, which explains them all; Done without failures.
ExitCode ReportFailures(const std::vector<SettingFailure>& failures, const std::string& attempted, const Camera& camera,
                        Output& output);

Json ToJson(const std::vector<SettingFailure>& failures);

} // namespace tool
