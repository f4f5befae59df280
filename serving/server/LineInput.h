// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>

namespace Serving {

class CEventLoop;

/// Reads lines from standard input as they come, until it ends. A line of more than 4,096 bytes is handed over cut.
/// Borrows: the loop.
/// Threads: the control thread.
class CLineInput {
public:
    /// Nothing is read while the terminal belongs to another job, which would stop this process.
    CLineInput(CEventLoop& loop, std::function<void(const std::string&)> onLine);
    ~CLineInput();
    CLineInput(const CLineInput&) = delete;
    CLineInput& operator=(const CLineInput&) = delete;

private:
    void Read();
    void Take(const char* bytes, std::size_t count);
    void End();

    CEventLoop& m_loop;
    std::function<void(const std::string&)> m_onLine;
    std::string m_line;
    bool m_isOpen = true;
};

} // namespace Serving
