// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gigevision/Bytes.h>
#include <gigevision/Status.h>

namespace CamEmu {
class CCamera;
}

namespace Serving {

class IStream;

/// Starts and stops camera and stream together: the stream takes frames while the camera acquires.
/// Borrows: both.
/// Threads: the control thread.
class CAcquisition {
public:
    CAcquisition(CamEmu::CCamera& camera, IStream& stream) : m_camera(camera), m_stream(stream) {}

    /// Writes to the commands of the camera. When the start fails nothing is started that was not before.
    GigEVision::Status Start(std::uint64_t address, GigEVision::Bytes value);
    GigEVision::Status Stop(std::uint64_t address, GigEVision::Bytes value);

    void Look();           ///< Ends what ended by itself, once its frames have come out.
    void GoOn() noexcept;  ///< The channel was opened or closed, which ends its frames but not the acquisition.
    void Abort() noexcept; ///< Both, whatever they do.

private:
    CamEmu::CCamera& m_camera;
    IStream& m_stream;
};

} // namespace Serving
