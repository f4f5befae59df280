// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "CameraGrab.h"
#include "GrabThread.h"

namespace tool {

class Output;

/// Retrieves the images of one camera in a session of its own, which may outlive the camera: with reconnect it waits
/// for it to come back and goes on in another session.
/// Borrows all that it is given.
class SessionRetrieval : public Retrieval {
public:
    SessionRetrieval(CameraGrab& camera, const GrabOptions& options, const StopSignals& signals, Output& output);

    void Grab() noexcept override;
    void StopIfOver() override;

private:
    void GrabUntilOver();
    void GrabUntilLost();
    bool Reconnect();
    std::chrono::milliseconds GetReconnectLimit() const;
    void StartSession();
    bool IsOver() const;
    bool TakeNext();
    bool WaitForResult(Zelmo::CGrabResultPtr& result);
    bool WaitForResultOrLoss(Zelmo::CGrabResultPtr& result, unsigned timeoutMs);

    CameraGrab& m_camera;
    Zelmo::CInstantCamera& m_session;
    CameraImages& m_images;
    const GrabOptions& m_options;
    const StopSignals& m_signals;
    Output& m_output;           // for what is told while it runs
    Zelmo::String_t m_settings; // before the start, for a camera that comes back
    bool m_isLost = false;      // with reconnect: gone, and all taken that it has sent
};

} // namespace tool
