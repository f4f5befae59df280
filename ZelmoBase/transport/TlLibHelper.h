// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/TransportLayer.h>

#include <string>

namespace Zelmo {

/// Owns the handle of one shared library, loaded with all its symbols bound and global. Threads: one at a time.
class CSharedLibrary {
public:
    CSharedLibrary() = default;
    CSharedLibrary(const CSharedLibrary&) = delete;
    CSharedLibrary& operator=(const CSharedLibrary&) = delete;
    ~CSharedLibrary() { Close(); }

    /// Loads the library at @p path, in which environment references are replaced, and closes the one held so far. When
    /// that fails the former one stays and GetLastError() tells why.
    void Open(std::string path);
    bool IsOpen() const { return m_handle != nullptr; }
    bool Close(); ///< @return whether it was open.

    /// Null when there is no such symbol, or no library.
    void* GetSymbol(const char* name);

    const std::string& GetLastError() const { return m_lastError; } ///< Of the last operation; empty for none.

private:
    void* m_handle = nullptr;
    std::string m_lastError;
};

/// One plug-in: its library and its three exports. Threads: all under the factory lock.
class CTlLibHelper {
public:
    /// @return false, having logged why, when the file cannot be loaded or lacks an export.
    bool Load(const String_t& path);
    const String_t& GetPath() const { return m_path; }

    /// Call the exports; what they throw passes, out of "Destroy" with a log line.
    /// @throws GenICam::LogicalErrorException when the export is missing.
    void GetTlInfoList(TlInfoList& list, bool flag);
    ITransportLayer* CreateTl(const CTlInfo& info);
    void DestroyTl(ITransportLayer* tl);

private:
    String_t m_path;
    CreateTlFunction m_createFunction = nullptr;
    DestroyTlFunction m_destroyFunction = nullptr;
    GetTlInfoListFunction m_getTlInfoListFunction = nullptr;
    CSharedLibrary m_library;
};

} // namespace Zelmo
