// SPDX-License-Identifier: Apache-2.0
#include "ArrayRetrieval.h"

#include <algorithm>

namespace tool {

using namespace std::chrono;

// The array

class CameraArray::Member : public ImageCamera {
public:
    explicit Member(CameraArray& array) : m_array(array) {}

    void Connect(CameraGrab& camera) noexcept { m_camera = &camera; }

    using CInstantCamera::StartGrabbing;
    void StartGrabbing(Zelmo::EGrabStrategy strategy, Zelmo::EGrabLoop grabLoop) override {
        m_array.WorkOn(*m_camera, [&] {
            m_camera->StartSession([&] { CInstantCamera::StartGrabbing(strategy, grabLoop); });
            return true;
        });
    }

    bool RetrieveResult(unsigned timeoutMs, Zelmo::CGrabResultPtr& result, Zelmo::ETimeoutHandling handling) override {
        return m_array.WorkOn(*m_camera, [&] { return ImageCamera::RetrieveResult(timeoutMs, result, handling); });
    }

private:
    CameraArray& m_array;
    CameraGrab* m_camera = nullptr;
};

Zelmo::CInstantCamera* CameraArray::CreateInstantCamera() {
    return new Member(*this);
}

ImageCamera& CameraArray::GetCamera(std::size_t index) {
    return static_cast<Member&>((*this)[index]);
}

void CameraArray::Connect(std::size_t index, CameraGrab& camera) {
    static_cast<Member&>((*this)[index]).Connect(camera);
}

// The grab

ArrayRetrieval::ArrayRetrieval(CameraArray& array, const CameraGrabs& cameras, const GrabOptions& options,
                               const StopSignals& signals)
    : m_array(array), m_options(options), m_signals(signals), m_timeout(options.timeoutMs),
      m_takesTurns(options.strategy == Zelmo::GrabStrategy_UpcomingImage) {
    for (std::size_t index = 0; index < cameras.size(); ++index) {
        m_members.push_back({cameras[index].get(), {}});
        array.Connect(index, *cameras[index]);
    }
}

void ArrayRetrieval::Grab() noexcept {
    try {
        Start();
        while (TakeNext()) {
        }
    } catch (...) {
        CameraGrab* const failed = m_array.GetFailed();
        CameraGrab& teller = failed != nullptr ? *failed : *m_members.front().camera;
        teller.Fail(FromCurrentException(failed != nullptr
                                             ? "Grabbing from camera " + failed->GetName()
                                             : "Grabbing from " + std::to_string(m_members.size()) + " cameras"));
    }
    double heldSeconds = 0; // of the thread, which waits for all
    for (const Member& member : m_members) {
        member.camera->GetImages().End();
        member.camera->StopTrigger();
        heldSeconds += member.camera->GetImages().GetHeldSeconds();
    }
    m_array.StopGrabbing();
    for (const Member& member : m_members) {
        member.camera->Conclude(heldSeconds);
    }
}

/// While the array starts it is left alone: to stop it then would be a failure of the start.
void ArrayRetrieval::StopIfOver() {
    const auto isExhausted = [](const Member& member) { return member.camera->IsExhausted(); };
    m_stops = m_stops || m_signals.StopRequested() || std::any_of(m_members.begin(), m_members.end(), isExhausted);
    if (m_stops && m_array.IsGrabbing()) {
        m_array.StopGrabbing();
    }
}

void ArrayRetrieval::Start() {
    for (const Member& member : m_members) {
        m_array.WorkOn(*member.camera, [&] {
            member.camera->SetUp();
            return true;
        });
    }
    m_array.StartGrabbing(m_options.strategy);
    for (Member& member : m_members) {
        member.since = Clock::now();
    }
}

bool ArrayRetrieval::TakeNext() {
    Retire(Clock::now());
    if (IsOver()) {
        return false;
    }
    WaitForRoom(); // first: an image that is taken later is a newer one, with strategies that skip
    const Clock::time_point now = Clock::now();
    TriggerAsked(now);
    Zelmo::CGrabResultPtr result;
    if (m_array.RetrieveResult(GetWaitMs(now), result, Zelmo::TimeoutHandling_Return)) {
        Take(*result.GetPtr());
    }
    CheckForSilence(Clock::now());
    EndTurn();
    return m_array.IsGrabbing();
}

void ArrayRetrieval::Retire(Clock::time_point now) {
    for (Member& member : m_members) {
        if (!member.isRetired && member.camera->IsOver(now)) {
            member.isRetired = true;
            member.camera->Retire();
        }
    }
}

bool ArrayRetrieval::IsOver() const {
    const auto hasFailed = [](const Member& member) { return member.camera->GetImages().HasFailed(); };
    const auto isRetired = [](const Member& member) { return member.isRetired; };
    return m_stops || m_signals.StopRequested() || std::any_of(m_members.begin(), m_members.end(), hasFailed) ||
           std::all_of(m_members.begin(), m_members.end(), isRetired);
}

void ArrayRetrieval::WaitForRoom() {
    for (const Member& member : m_members) {
        if (!member.isRetired) {
            member.camera->GetImages().WaitForRoom();
        }
    }
}

/// The cameras of which the next call may bring an image.
std::span<ArrayRetrieval::Member> ArrayRetrieval::GetAsked() {
    return m_takesTurns ? std::span(m_members).subspan(m_turn, 1) : std::span(m_members);
}

void ArrayRetrieval::TriggerAsked(Clock::time_point now) {
    for (Member& member : GetAsked()) {
        if (member.isRetired || member.isTriggered) {
            continue;
        }
        member.isTriggered = m_array.WorkOn(*member.camera, [&] { return member.camera->Trigger(0); });
        if (member.isTriggered) {
            member.since = now;
        }
    }
}

/// Until something else than an image is due; 0 where none is wanted.
unsigned ArrayRetrieval::GetWaitMs(Clock::time_point now) {
    Clock::duration wait = m_timeout;
    bool isWanted = false;
    for (const Member& member : GetAsked()) {
        if (!member.isRetired) {
            wait = std::min(wait, GetLimit(member, now));
            isWanted = true;
        }
    }
    return isWanted ? static_cast<unsigned>(ceil<milliseconds>(std::max(wait, Clock::duration::zero())).count()) : 0;
}

steady_clock::duration ArrayRetrieval::GetLimit(const Member& member, Clock::time_point now) const {
    if (!member.isTriggered) {
        return 1ms; // it is asked again then whether it is ready
    }
    const Clock::duration left = member.since + m_timeout - now;
    const double secondsLeft = member.camera->GetSecondsLeft(now);
    return secondsLeft < duration<double>(left).count() ? ceil<milliseconds>(duration<double>(secondsLeft)) : left;
}

/// What a retired camera has sent too much is dropped.
void ArrayRetrieval::Take(const Zelmo::CGrabResultData& result) {
    Member& member = m_members[static_cast<std::size_t>(result.GetCameraContext())];
    if (member.isRetired) {
        return;
    }
    m_array.WorkOn(*member.camera, [&] {
        member.camera->GetImages().Take(result);
        return true;
    });
    member.isTriggered = false;
    member.since = Clock::now();
}

/// Others may keep the thread busy all the time, so an image may have come that was not taken yet.
void ArrayRetrieval::CheckForSilence(Clock::time_point now) {
    for (const Member& member : GetAsked()) {
        CameraGrab& camera = *member.camera;
        if (!member.isRetired && member.since + m_timeout <= now &&
            !camera.GetSession().GetGrabResultWaitObject().Wait(0)) {
            m_array.WorkOn(camera, [&]() -> bool { throw member.isTriggered ? camera.TimedOut() : camera.NotReady(); });
        }
    }
}

void ArrayRetrieval::EndTurn() {
    m_turn = m_turn + 1 < m_members.size() ? m_turn + 1 : 0;
}

} // namespace tool
