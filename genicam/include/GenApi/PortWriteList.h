// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/IPortRecorder.h>

#include <vector>

namespace GenApi {

/// The stock list of writes: holds a copy of every write and carries them out in their order.
/// Threads: one at a time.
class GENICAM_API CPortWriteList : public IPortWriteList {
public:
    CPortWriteList();
    virtual ~CPortWriteList();

    /// @throws GenICam::InvalidArgumentException when @p Length is negative or @p pBuffer null.
    void Write(const void* pBuffer, int64_t Address, int64_t Length) override;
    /// A failed write ends the replay; its exception is passed on. @throws GenICam::InvalidArgumentException on null.
    void Replay(IPort* pPort) override;
    void SetCookie(const int64_t Value) override;
    int64_t GetCookie() override;

private:
    struct CEntry {
        int64_t Address;
        std::vector<uint8_t> Data;
    };

    std::vector<CEntry> m_entries;
    int64_t m_cookie = 0;
};

} // namespace GenApi
