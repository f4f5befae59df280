#include "ZelmoBase/core/Guarded.h"
#include "ZelmoBase/core/ScopeGuard.h"

#include "fakes/LogRecorder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>

namespace {

using testing::ElementsAre;

struct FailureCase {
    const char* name;
    std::function<void()> step;
    const char* line;
};

void PrintTo(const FailureCase& c, std::ostream* stream) {
    *stream << c.name;
}

class GuardedTest : public testing::TestWithParam<FailureCase> {
protected:
    GuardedTest() { hxlog::LogEnable(true); }

    const int m_camera = 7;
    Fakes::LogRecorder m_log;
};

TEST_P(GuardedTest, FailureIsOneErrorLineWithTheTextOfItsTier) {
    EXPECT_FALSE(Zelmo::RunLogged(hxlog::LogGetCatID("test"), "Camera %d: Exception in close, msg='%s'",
                                  "Camera %d: Unknown exception in close.", GetParam().step, m_camera));
    EXPECT_THAT(m_log.Lines(), ElementsAre(Fakes::LogLine{"test", 300, GetParam().line}));
}

INSTANTIATE_TEST_SUITE_P(Tiers, GuardedTest,
                         testing::Values(FailureCase{"GenICam", [] { throw TIMEOUT_EXCEPTION("too slow"); },
                                                     "Camera 7: Exception in close, msg='too slow'"},
                                         FailureCase{"Standard", [] { throw std::runtime_error("broken"); },
                                                     "Camera 7: Exception in close, msg='broken'"},
                                         FailureCase{"Other", [] { throw 1; },
                                                     "Camera 7: Unknown exception in close."}),
                         [](const auto& tier) { return tier.param.name; });

TEST_F(GuardedTest, TextsWithoutArgumentsAreNotReadAsFormats) {
    const unsigned long category = hxlog::LogGetCatID("test");
    EXPECT_FALSE(Zelmo::RunLogged(category, "msg='%s'", "100 %s sure", [] { throw 1; }));
    EXPECT_TRUE(Zelmo::RunLogged(category, "msg='%s'", "unused", [] {}));
    EXPECT_THAT(m_log.Lines(), ElementsAre(Fakes::LogLine{"test", 300, "100 %s sure"}));
}

TEST(ScopeGuardTest, UndoesOnEveryPathUnlessDismissed) {
    int undone = 0;
    try {
        Zelmo::ScopeGuard undo([&undone] { ++undone; });
        throw 1;
    } catch (int) {
    }
    EXPECT_EQ(undone, 1);
    {
        Zelmo::ScopeGuard undo([&undone] { ++undone; });
        undo.Dismiss();
    }
    EXPECT_EQ(undone, 1);
}

} // namespace
