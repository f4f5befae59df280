// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace tool {

/// What the process ends with. Scripts rely on these numbers: they only grow.
enum class ExitCode : int {
    Done = 0,
    Failed = 1,        ///< The device or the host failed: input/output, a full disk.
    Usage = 2,         ///< Wrong usage.
    NoDevice = 3,      ///< No device, or more than one, matches.
    Access = 4,        ///< Access denied, or in use.
    Timeout = 5,       ///< A wait reached its limit.
    Quality = 6,       ///< More data was lost than --max-lost permits.
    Feature = 7,       ///< A feature is unknown or not available, or a value or format was refused.
    Plugin = 8,        ///< A plug-in could not be loaded.
    Removed = 9,       ///< The device was removed while it was used.
    Interrupted = 130, ///< SIGINT, by the custom of shells: 128 + signal number.
    Terminated = 143,  ///< SIGTERM.
};

} // namespace tool
