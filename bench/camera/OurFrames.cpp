// SPDX-License-Identifier: Apache-2.0
#include "Frames.h"

#include "ZelmoBase/camera/GrabSession.h"
#include "fakes/transport/NullTransport.h"

#include <zelmo/GrabResultPtr.h>

#include <Base/GCSynch.h>

#include <algorithm>
#include <stdexcept>

namespace camera_bench {
namespace {

using Pace = Fakes::CNullStreamGrabber::EPace;

Pace PaceOf(const Flow& flow) {
    return flow.pace == EPace::Free ? Pace::Free : flow.pace == EPace::Sleeping ? Pace::Sleeping : Pace::Told;
}

class OurFrames final : public IFrames, private Zelmo::IGrabSessionOwner, private Zelmo::IGrabEngineObserver {
public:
    explicit OurFrames(const Flow& flow)
        : m_grabber(PaceOf(flow), flow.width, flow.height), m_session(nullptr, m_lock, *this, *this) {
        Zelmo::CGrabSettings settings;
        settings.strategy = flow.strategy;
        settings.maxNumBuffer = flow.buffers;
        settings.maxNumQueuedBuffer = std::max(flow.buffers, 50U);
        settings.priority = kEnginePriority;
        m_session.GetEngine().SetOutputQueueSize(flow.outputQueueSize);
        m_session.Start(&m_grabber, settings);
    }

    std::uint64_t Take() override {
        if (!m_session.Retrieve(kTimeoutMs, m_result, Zelmo::TimeoutHandling_Return)) {
            throw std::runtime_error("no image came");
        }
        return static_cast<std::uint64_t>(m_result->GetID());
    }
    void Complete(unsigned frames) override { m_grabber.Complete(frames); }
    std::uint64_t GetReady() const override { return m_session.GetEngine().GetNumReadyBuffers(); }

private:
    Zelmo::CGrabResultData* CreateGrabResultData() override { return new Zelmo::CGrabResultData; }
    void OnGrabError(const char*) noexcept override {}
    void StopGrabbing() override { m_session.Stop(); }
    void OnGrabCountReached() override {}

    GenICam::CLock m_lock;
    Fakes::CNullStreamGrabber m_grabber;
    Zelmo::CGrabSession m_session;
    Zelmo::CGrabResultPtr m_result; // used again and again
};

} // namespace

std::unique_ptr<IFrames> StartOurFrames(const Flow& flow) {
    return std::make_unique<OurFrames>(flow);
}

} // namespace camera_bench
