// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "EventSource.h"
#include "Faults.h"
#include "FrameStream.h"
#include "RegisterBank.h"
#include "common/Mutex.h"

#include <cstdint>
#include <string>

namespace CamEmu {

/// What buffers are made for.
struct CLockedFormat {
    CImageFormat format;
    std::size_t payloadSize = 0;
};

/// The simulated camera: a bank of registers with what writing them does, and a stream of images. Any number of front
/// ends may read and write registers; one at a time may stream.
/// Threads: any.
/// Locks:   m_lock guards the registers; the stream's own lock is taken inside it, never the other way round.
class CCamera {
public:
    /// @p number is the camera's, from 0; serial number and identity derive from it.
    explicit CCamera(std::uint32_t number);

    std::uint32_t Number() const { return m_number; }

    /// Byte-addressed access. Reading may span registers; writing stays within one, takes effect at once, and changes
    /// nothing unless the answer is Ok. To start the acquisition reads image files, if they are to be shown.
    /// @throws std::runtime_error, which names the file and the cause, and std::bad_alloc, when they cannot be read;
    /// then the acquisition is as it was.
    EAccessResult Read(std::uint64_t address, void* bytes, std::size_t length);
    EAccessResult Write(std::uint64_t address, const void* bytes, std::size_t length);

    std::string Text(std::uint32_t address); ///< of one of the text registers
    std::size_t PayloadSize();               ///< of one image under the present settings, with its chunks, in bytes

    /// Freezes all that decides the size and number of images, until UnlockFormat; the stream is started between them.
    /// With chunks the region may still become smaller, and move.
    CLockedFormat LockFormat();
    void UnlockFormat();

    CFrameStream& Stream() { return m_stream; }
    CEventSource& Events() { return m_events; }
    CFaults& Faults() { return m_faults; }
    CRemovalSettings RemovalSettings();
    void Reset(); ///< As writing DeviceReset; not while the format is locked.

private:
    void SetDefaults() PLUGIN_REQUIRES(m_lock);
    void SetText(std::uint32_t address, const std::string& text) PLUGIN_REQUIRES(m_lock);
    bool IsValid(const CRegister& written, const void* value) const PLUGIN_REQUIRES(m_lock);
    bool IsValidGeometry(const CRegister& written, std::uint32_t value) const PLUGIN_REQUIRES(m_lock);
    void TakeEffect(const CRegister& written) PLUGIN_REQUIRES(m_lock);
    bool TakeFaultEffect(const CRegister& written) PLUGIN_REQUIRES(m_lock);
    bool TakeTriggerEffect(const CRegister& written) PLUGIN_REQUIRES(m_lock);
    bool TakeEventEffect(const CRegister& written) PLUGIN_REQUIRES(m_lock);
    void SimulateEvents() PLUGIN_REQUIRES(m_lock);
    void ApplyNotifications() PLUGIN_REQUIRES(m_lock);
    void LookAtStream() PLUGIN_REQUIRES(m_lock);
    void StartAcquisition() PLUGIN_REQUIRES(m_lock);
    std::string TextAt(std::uint32_t address) const PLUGIN_REQUIRES(m_lock);
    void UpdateComputed() PLUGIN_REQUIRES(m_lock);
    CImageFormat Format() const PLUGIN_REQUIRES(m_lock);
    CChunkSettings ChunkSettings() const PLUGIN_REQUIRES(m_lock);
    CLocks Locks() const PLUGIN_REQUIRES(m_lock);
    CFrameSettings Settings() const PLUGIN_REQUIRES(m_lock);
    CTriggerSettings TriggerSettings() const PLUGIN_REQUIRES(m_lock);
    std::uint64_t FramesOfAcquisition() const PLUGIN_REQUIRES(m_lock);

    template <typename T>
    T Get(std::uint32_t address) const PLUGIN_REQUIRES(m_lock);
    template <typename T>
    void Set(std::uint32_t address, T value) PLUGIN_REQUIRES(m_lock);

    const std::uint32_t m_number;
    PluginKit::CMutex m_lock;
    CRegisterBank m_bank PLUGIN_GUARDED_BY(m_lock);
    bool m_formatLocked PLUGIN_GUARDED_BY(m_lock) = false;
    CImageFormat m_lockedFormat PLUGIN_GUARDED_BY(m_lock); // while m_formatLocked
    CEventSource m_events;
    CFrameStream m_stream;
    CFaults m_faults;
};

} // namespace CamEmu
