// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/core/Guarded.h"

#include "fakes/LogRecorder.h"

#include <gmock/gmock.h>

#include <functional>
#include <stdexcept>

namespace {

using Fakes::LogLine;
using testing::ElementsAre;

TEST(GuardedTest, FailureIsOneErrorLineWithTheTextOfItsTier) {
    hxlog::LogEnable(true);
    Fakes::LogRecorder log;
    const unsigned long category = hxlog::LogGetCatID("test");
    const std::function<void()> failures[] = {[] { throw TIMEOUT_EXCEPTION("too slow"); },
                                              [] { throw std::runtime_error("broken"); }, [] { throw 1; }};
    for (const auto& step : failures) {
        EXPECT_FALSE(Zelmo::RunLogged(category, "Camera %d: Exception in close, msg='%s'",
                                      "Camera %d: Unknown exception in close.", step, 7));
    }
    EXPECT_FALSE(Zelmo::RunLogged(category, "msg='%s'", "100 %s sure", [] { throw 1; })); // no format without arguments
    EXPECT_TRUE(Zelmo::RunLogged(category, "msg='%s'", "unused", [] {}));
    EXPECT_THAT(log.Lines(), ElementsAre(LogLine{"test", 300, "Camera 7: Exception in close, msg='too slow'"},
                                         LogLine{"test", 300, "Camera 7: Exception in close, msg='broken'"},
                                         LogLine{"test", 300, "Camera 7: Unknown exception in close."},
                                         LogLine{"test", 300, "100 %s sure"}));
}

} // namespace
