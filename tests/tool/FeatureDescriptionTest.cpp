// SPDX-License-Identifier: Apache-2.0
#include "FeatureDescription.h"

#include "Feature.h"

#include <GenApi/GenApi.h>

#include <gmock/gmock.h>

namespace {

using tool::Json;

struct SleepingPort : GenApi::CPortImpl {
    GenApi::EAccessMode GetAccessMode() const override { return GenApi::RW; }
    void Read(void*, std::int64_t, std::int64_t) override { throw TIMEOUT_EXCEPTION("The device is asleep"); }
    void Write(const void*, std::int64_t, std::int64_t) override {}
};

TEST(FeatureDescriptionTest, WhatTheDeviceDoesNotAnswerStandsUnderErrorsAndStopsNothing) {
    const GenICam::gcstring text(
        R"(<RegisterDescription><Integer Name="F"><ToolTip>Tip</ToolTip><pIsLocked>Lock</pIsLocked><pValue>R</pValue>
</Integer><Integer Name="Lock"><pValue>R</pValue></Integer><IntReg Name="R"><pAddress>At</pAddress><Length>2</Length>
<AccessMode>RW</AccessMode><pPort>Device</pPort><pIsAvailable>At</pIsAvailable></IntReg><IntReg Name="At"><Address>0</Address><Length>2</Length>
<AccessMode>RW</AccessMode><pPort>Device</pPort></IntReg><Port Name="Device"/></RegisterDescription>)");
    GenApi::CNodeMapRef map;
    map._LoadXMLFromString(text);
    SleepingPort port;
    map._Connect(&port);
    const tool::Feature feature = tool::Feature::FindAny(*map._Ptr(), "F", "camera");
    const Json json = tool::DescribeFeature(feature);
    EXPECT_EQ(json["tooltip"], "Tip");
    EXPECT_EQ(json["locked_by"][0]["name"], "Lock");
    EXPECT_EQ(json["errors"]["access"], "The device is asleep");
    EXPECT_THAT([&] { feature.GetText(); },
                testing::ThrowsMessage<tool::ToolError>(testing::StartsWith("F: reading the access")));
}

} // namespace
