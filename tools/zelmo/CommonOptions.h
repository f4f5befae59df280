// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Options.h"

#include <CLI/CLI.hpp>

namespace tool {

/// -d, --nodemap and what belongs to it, of the feature verbs.
void DefineDeviceOptions(CLI::App& command, DeviceOptions& options);

/// The device as the argument of a verb.
void DefineDeviceArgument(CLI::App& command, std::string& device);

/// A check that refuses an empty text, as a variable that is not set leaves it behind: it must not pass for an option
/// that was left out.
CLI::Validator NotEmpty();

/// A check for whole numbers from @p lowest to @p highest.
CLI::Validator WholeNumber(unsigned lowest, unsigned highest);

/// A number of milliseconds from 1 to an hour.
CLI::Option* DefineMilliseconds(CLI::App& command, const std::string& name, unsigned& valueMs, const std::string& text);

/// A number of seconds above 0, fractions allowed.
CLI::Option* DefineSeconds(CLI::App& command, const std::string& name, std::optional<double>& seconds,
                           const std::string& text);

/// Words with commas between; the option may stand several times.
CLI::Option* DefineList(CLI::App& command, const std::string& name, std::vector<std::string>& words,
                        const std::string& text);

/// A word out of @p choices, which stand in help and completion.
CLI::Option* DefineChoice(CLI::App& command, const std::string& name, std::string& value,
                          const std::vector<std::string>& choices, const std::string& text);

} // namespace tool
