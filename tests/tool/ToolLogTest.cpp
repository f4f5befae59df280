// SPDX-License-Identifier: Apache-2.0
#include "ToolLog.h"

#include <gmock/gmock.h>

namespace {

struct Case {
    const char* message;
    const char* plugin; // null: no failure
    const char* reason;
};

std::ostream& operator<<(std::ostream& stream, const Case& one) {
    return stream << one.message;
}

class PluginFailureTest : public testing::TestWithParam<Case> {};

TEST_P(PluginFailureTest, IsReadOffTheFactorysLogLine) {
    tool::PluginFailure failure;
    ASSERT_EQ(tool::ParsePluginFailure(GetParam().message, failure), GetParam().plugin != nullptr);
    if (GetParam().plugin != nullptr) {
        EXPECT_EQ(failure.plugin, GetParam().plugin);
        EXPECT_THAT(failure.reason, testing::HasSubstr(GetParam().reason));
    }
}

INSTANTIATE_TEST_SUITE_P(
    Lines, PluginFailureTest,
    testing::Values(
        Case{"Could not load TL lib '/x/libzelmo_TL_a.so' : /x/libzelmo_TL_a.so: file too short", "/x/libzelmo_TL_a.so",
             "file too short"},
        Case{"Could not find required exports in TL lib '/x/b.so'. Lib won't be used.", "/x/b.so", "GetTLInfoList"},
        Case{"Exception in GetTLInfoList of TL lib '/x/c.so': boom", "/x/c.so", "boom"},
        Case{"Trying to create TL 'Full/Name' - no driver", "Full/Name", "no driver"},
        Case{"Exception while enumerating HarlixUsb devices. Error: 'bus'", "HarlixUsb", "bus"},
        Case{"Unknown error while enumerating HarlixUsb devices.", "HarlixUsb", "unknown"},
        Case{"Device 'D' of transport layer 'T' cannot be used: no class", "T", "'D' cannot be used: no class"},
        Case{"TL lib '/x/e.so' cannot be used beside TL lib '/x/d.so': both", "/x/e.so", "'/x/d.so': both"},
        Case{"Trying to load TL lib '/x/libzelmo_TL_a.so'", nullptr, nullptr},
        Case{"Could not load TL lib '", nullptr, nullptr}, Case{"", nullptr, nullptr}));

} // namespace
