// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Descriptor.h"

#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <thread>

namespace tool {

/// A stream to standard error as it is when this object is made, whatever takes its place afterwards.
class ErrorStream : public std::ostream {
public:
    ErrorStream();
    ~ErrorStream() override;
    ErrorStream(const ErrorStream&) = delete;
    ErrorStream& operator=(const ErrorStream&) = delete;

private:
    std::unique_ptr<std::streambuf> m_buffer;
};

/// For as long as it lives, hands over line by line what anything in this process writes to standard error by itself, a
/// plug-in or the C library say, instead of letting it through.
/// Threads: the lines come on a thread of its own. Those that were not read yet when the process dies are lost.
class ErrorLines {
public:
    /// @throws ToolError out of descriptors; standard error is as it was then.
    explicit ErrorLines(std::function<void(const std::string& line)> onLine);
    ~ErrorLines(); ///< What was written before has been handed over then.
    ErrorLines(const ErrorLines&) = delete;
    ErrorLines& operator=(const ErrorLines&) = delete;

private:
    void Run();

    LineReader m_reader;
    Descriptor m_original; // standard error as it was
    Pipe m_lines;
    Pipe m_stop; // closing its write end ends the thread
    std::thread m_thread;
};

} // namespace tool
