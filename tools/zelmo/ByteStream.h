// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "OutputFile.h"

namespace tool {

class StopSignals;

/// Standard output, another open descriptor, a device or a pipe: takes image after image. Threads: one at a time.
class ByteStream {
public:
    /// Whether @p name stands for such a thing: "-", /dev/stdout, a device, a pipe.
    static bool IsNamedBy(const std::string& name);

    /// Opens it; waits for the reader of a named pipe, at most @p timeoutMs or until a signal comes.
    /// @throws ToolError when it cannot be opened, or nobody reads.
    ByteStream(const std::string& name, unsigned timeoutMs, const StopSignals& signals);

    void Write(const std::uint8_t* data, std::size_t size); ///< @throws ToolError that names it.

    const std::string& GetName() const noexcept { return m_name; }
    int GetFd() const noexcept { return m_file.GetFd(); } ///< For HasReader.
    bool IsStandardOutput() const noexcept { return m_isStandardOutput; }

private:
    static int Open(const std::string& name, unsigned timeoutMs, const StopSignals& signals);

    const std::string m_name; // for messages
    const bool m_isStandardOutput;
    OutputFile m_file;
};

} // namespace tool
