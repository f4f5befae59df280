// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ZelmoBase/camera/GrabSession.h"

#include <Base/GCSynch.h>

#include <algorithm>

/// A session with as little around it as there can be, in place of a camera object.
class SessionOwner : public Zelmo::IGrabSessionOwner, public Zelmo::IGrabEngineObserver {
public:
    explicit SessionOwner(const Zelmo::CInstantCamera* camera = nullptr) : session(camera, cameraLock, *this, *this) {}
    virtual ~SessionOwner() = default;

    /// @param records result records; at most one a buffer
    void Start(Zelmo::IStreamGrabber& grabber, const Zelmo::CGrabSettings& settings = {},
               unsigned long records = 4294967295) {
        m_maxRecords = records;
        session.Start(&grabber, settings);
        try {
            session.PrepareWait(nullptr);
            session.MakeRecords(std::min(records, settings.buffers));
        } catch (...) {
            session.Stop();
            throw;
        }
    }

    Zelmo::CGrabResultData* CreateGrabResultData() override { return new Zelmo::CGrabResultData; }
    void OnGrabError(const char*) noexcept override {}
    void StopCamera() override { session.Stop(); }
    void ProcessEventsOf(const Zelmo::CSessionWait&) override {}
    long GetCameraContext() const override { return 42; }
    unsigned long GetMaxNumGrabResults() override { return m_maxRecords; }
    bool HasResultParsers() const override { return false; }
    void CompleteResult(Zelmo::CGrabResultPtr&) override {}
    const char* DescribeTimeout() noexcept override { return "Grab timed out."; }
    void NotifyImageHandlers(std::uint64_t, const Zelmo::CGrabResultPtr&) override {}
    void OnGrabCountReached() override {}

private:
    unsigned long m_maxRecords = 0;
    GenICam::CLock m_lock;

public:
    Zelmo::CCameraLock cameraLock{m_lock};
    Zelmo::CGrabSession session;
};
