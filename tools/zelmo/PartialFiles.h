// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace tool {

/// The names of the files that are being written now, so that even a process that leaves from a signal handler takes
/// them with it. A fixed table without locks: a handler may not allocate or wait.
/// Threads: any, at the same time.
class PartialFiles {
public:
    /// Removes the file on destruction unless it was released. @throws ToolError with a path that is too long, or with
    /// more than 64 files at a time.
    class Entry {
    public:
        explicit Entry(const std::string& path);
        ~Entry();
        Entry(const Entry&) = delete;
        Entry& operator=(const Entry&) = delete;
        void Release() noexcept; ///< The file is complete and has its final name.

    private:
        std::size_t m_slot;
        bool m_isHeld = true;
    };

    /// Async-signal-safe.
    static void RemoveAllFromSignalHandler() noexcept;
};

/// Writes @p size bytes to @p path so that the file is there whole or not at all: under a hidden name in the same
/// folder first, then renamed; a file of that name is replaced, and where the name is a link, the file that it leads
/// to. A device, a pipe and what is open already
/// (/dev/stdout) is written to instead. @throws ToolError that names the file and the cause; nothing stays
/// behind.
void WriteFileWhole(const std::string& path, const std::uint8_t* data, std::size_t size);

/// Makes and removes a file in the folder that @p path will stand in. @throws ToolError that names the folder, the
/// cause and, when the folder is missing, how to make it.
void CheckFolderOf(const std::string& path);

} // namespace tool
