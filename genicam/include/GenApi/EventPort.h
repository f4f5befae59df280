// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/PortImpl.h>

#include <vector>

namespace GenApi {

/// The port implementation behind one EventID: gives the bytes of the last event with that id, of which it keeps a
/// copy. Address 0 is the event's first byte. Event adapters own theirs; everything is called under the lock of the
/// node map.
class GENICAM_API CEventPort : public CPortImpl {
public:
    CEventPort();
    ~CEventPort() override;

    EAccessMode GetAccessMode() const override; ///< NA before the first event, then RO.
    /// @throws GenICam::AccessException before the first event, GenICam::RuntimeException outside of its bytes.
    void Read(void* pBuffer, int64_t Address, int64_t Length) override;
    void Write(const void* pBuffer, int64_t Address,
               int64_t Length) override; ///< @throws GenICam::AccessException always.

    void ReserveEvent(size_t Length); ///< @throws std::bad_alloc, with nothing changed.
    /// Takes a copy, for which ReserveEvent has made room, in place of the event before.
    void AttachEvent(const uint8_t* pEvent, size_t Length) noexcept;

private:
    bool m_hasEvent = false;
    std::vector<uint8_t> m_event; // keeps its room from event to event
};

} // namespace GenApi
