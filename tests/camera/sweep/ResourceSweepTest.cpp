// SPDX-License-Identifier: Apache-2.0
#include "ScarceResources.h"
#include "SweepSession.h"

#include "fakes/LogRecorder.h"
#include "fakes/transport/NullTransport.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <memory>
#include <optional>
#include <string>

namespace {

/// Name of the call and its error.
using Scarce = std::pair<std::string, int>;

std::vector<Scarce> AllScarce() {
    std::vector<Scarce> all{{"new", 0}};
    for (const auto& call : ScarceResources::SystemCalls()) {
        for (const int error : call.errors) {
            all.emplace_back(call.name, error);
        }
    }
    return all;
}

class ResourceSweep : public testing::TestWithParam<std::tuple<Scarce, Zelmo::EGrabStrategy>> {
protected:
    /// From the making of the session object to its end.
    Outcome RunLife(Zelmo::IStreamGrabber& grabber, std::unique_ptr<SweepSession>& session) {
        try {
            if (session == nullptr) {
                session = std::make_unique<SweepSession>(SettingsFor(std::get<1>(GetParam()), 50));
            }
            return session->Run(grabber);
        } catch (const std::exception& e) {
            return {false, 0, e.what()};
        }
    }

    Fakes::CNullStreamGrabber m_grabber{Fakes::CNullStreamGrabber::EPace::Free};
};

TEST_P(ResourceSweep, LackOfAnyResourceIsToldAndNothingIsLeftBehind) {
    const auto& [call, error] = std::get<0>(GetParam());
    std::unique_ptr<SweepSession> session;
    ASSERT_EQ(RunLife(m_grabber, session).images, kImages);
    session.reset();
    const ProcessResources before;
    int lives = 0;
    for (const bool isFirstSession : {true, false}) {
        bool struck = true;
        for (unsigned long n = 1; struck; n += kSweepStep) {
            SCOPED_TRACE(call + " number " + std::to_string(n) + " in a " + (isFirstSession ? "first" : "second") +
                         " session");
            session.reset();
            if (!isFirstSession) {
                ASSERT_EQ(RunLife(m_grabber, session).images, kImages);
            }
            ScarceResources::Arm({call, error, n});
            const Outcome outcome = RunLife(m_grabber, session);
            struck = ScarceResources::Disarm();
            ++lives;
            if (!struck || error == EINTR) { // interrupted calls are nobody's business
                ASSERT_EQ(outcome.failure, "");
            }
            ASSERT_TRUE(outcome.images == kImages || !outcome.failure.empty()) << outcome.images;
            ASSERT_TRUE(session == nullptr || session->IsIdle());
            const Outcome next = RunLife(m_grabber, session);
            ASSERT_EQ(next.failure, "");
            ASSERT_EQ(next.images, kImages);
            ASSERT_EQ(session->BuffersAlive(), 0);
            session.reset();
            ASSERT_TRUE(ProcessResources::AreBackTo(before));
        }
    }
    RecordProperty("lives", lives);
}

INSTANTIATE_TEST_SUITE_P(Resources, ResourceSweep,
                         testing::Combine(testing::ValuesIn(AllScarce()),
                                          testing::Values(Zelmo::GrabStrategy_OneByOne,
                                                          Zelmo::GrabStrategy_LatestImages,
                                                          Zelmo::GrabStrategy_UpcomingImage)));

} // namespace
