// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace Zelmo {

/// The operating system in one line: "<distribution>, <kernel> <release>, <machine>".
/// May run a command of the system where the file of the distribution's name is missing.
std::string DescribeOperatingSystem();

/// The value of PRETTY_NAME in a file like /etc/os-release, without its quotes. @return false without one.
bool ReadPrettyName(const char* fileName, std::string& name);

/// What a shell command writes to its output, without the last newline.
/// @return false when it cannot be run, fails or writes nothing.
bool ReadCommandOutput(const std::string& command, std::string& output);

} // namespace Zelmo
