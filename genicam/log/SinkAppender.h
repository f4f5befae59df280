// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <Base/GCString.h>
#include <Log/Appender.h>

#include <cstddef>

namespace GenICam {

/// Appenders over the back end's sinks. Each line is flushed, so that a crash loses none. A line that cannot be written
/// is lost; the first such failure of an appender is told on the standard error stream.
/// The file forms make missing folders. @throws RuntimeException if the file cannot be opened,
/// InvalidArgumentException for an unknown conversion in the pattern.
AppenderPtr CreateErrorStreamAppender(const gcstring& name, const gcstring& pattern = gcstring());
AppenderPtr CreatePlainFileAppender(const gcstring& name, const gcstring& path, bool append, const gcstring& pattern);
/// Appends; beyond @p limitBytes "name.ext" becomes "name.1.ext" and so on, up to @p keptFiles old files.
AppenderPtr CreateRotatingFileAppender(const gcstring& name, const gcstring& path, std::size_t limitBytes,
                                       std::size_t keptFiles);

} // namespace GenICam
