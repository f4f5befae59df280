// SPDX-License-Identifier: Apache-2.0
#include "fakes/Failure.h"
#include "genicam/genapi/MapFixture.h"
#include <zelmo/AllKinds.h>
#include <zelmo/AllKindsClasses.h>
#include <zelmo/InstantCameraParams.h>

#include <gmock/gmock.h>

#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

using Fakes::FailureOf;
using Harlix_InstantCameraParams::CInstantCameraParams_Params;
using TestCatalogue::CAllKinds;
using tests::Node;

// Else `camera.Width = camera.Height` would compile and do nothing.
static_assert(!std::is_copy_assignable_v<Zelmo::IIntegerEx> && !std::is_copy_assignable_v<Zelmo::IFloatEx> &&
              !std::is_copy_assignable_v<Zelmo::IBooleanEx> && !std::is_copy_assignable_v<Zelmo::IStringEx> &&
              !std::is_copy_assignable_v<Zelmo::IEnumParameterT<TestCatalogue::ColorEnums>>);
static_assert(!std::is_copy_constructible_v<CAllKinds> && !std::is_copy_assignable_v<CAllKinds>);

/// The addresses that an object of a catalogue holds behind that of its block.
template <class Catalogue>
std::vector<const void*> ReferencesOf(const Catalogue& catalogue) {
    const auto* const words = reinterpret_cast<const void* const*>(&catalogue);
    return std::vector<const void*>(words + 1, words + sizeof(Catalogue) / sizeof(void*));
}

TEST(CatalogueTest, ReferencesStandInTheOrderOfTheBytesOfTheirNames) {
    const CAllKinds a;
    EXPECT_THAT(ReferencesOf(a),
                testing::ElementsAre(&a.B, &a.Color, &a.LUTAll, &a.LUT_Index, &a.Run, &a.S, &a.Width, &a.width));
    const CInstantCameraParams_Params c;
    EXPECT_THAT(ReferencesOf(c),
                testing::ElementsAre(
                    &c.AcquisitionStartStopExecutionEnable, &c.ChunkNodeMapsEnable, &c.ClearBufferModeEnable,
                    &c.GrabCameraEvents, &c.GrabLoopThreadPriority, &c.GrabLoopThreadPriorityOverride,
                    &c.GrabLoopThreadTimeout, &c.GrabLoopThreadUseTimeout, &c.InternalGrabEngineThreadPriority,
                    &c.InternalGrabEngineThreadPriorityOverride, &c.MaxNumBuffer, &c.MaxNumGrabResults,
                    &c.MaxNumQueuedBuffer, &c.MigrationModeActive, &c.MonitorModeActive, &c.NumEmptyBuffers,
                    &c.NumQueuedBuffers, &c.NumReadyBuffers, &c.OutputQueueSize, &c.StaticChunkNodeMapPoolSize));
}

class AttachedCatalogueTest : public tests::MapTest {
protected:
    AttachedCatalogueTest() {
        Load(tests::Value("Width", 8) + Node("Float", "width", "<Value>1.5</Value>") +
             Node("Boolean", "B", "<Value>1</Value>") + Node("String", "S", "<Value>text</Value>") +
             Node("Command", "Run", "<Value>0</Value><CommandValue>1</CommandValue>") +
             Node("Register", "LUTAll", tests::Place(0, 4)) + tests::Value("LUT_Index", 2) +
             Node("Enumeration", "Color",
                  Node("EnumEntry", "green", "<Value>7</Value>") + Node("EnumEntry", "Red", "<Value>1</Value>") +
                      "<Value>7</Value>"));
    }
    CAllKinds m_catalogue;
};

/// Calls @p look with each parameter of the catalogue and its name.
template <class Look>
void ForEach(CAllKinds& c, Look&& look) {
    look(c.B, "B"), look(c.Color, "Color"), look(c.LUTAll, "LUTAll"), look(c.LUT_Index, "LUT_Index"),
        look(c.Run, "Run"), look(c.S, "S"), look(c.Width, "Width"), look(c.width, "width");
}

TEST_F(AttachedCatalogueTest, EachParameterIsTheNodeOfItsName) {
    m_catalogue._Initialize(Map.get());
    ForEach(m_catalogue, [](Zelmo::IValueEx& parameter, const char* name) {
        EXPECT_EQ(parameter.GetInfo(Zelmo::ParameterInfo_Name), name);
    });
    m_catalogue.Width = 16;
    EXPECT_EQ(Int("Width").GetValue(), 16);
    EXPECT_EQ(m_catalogue.Color.GetValue(), TestCatalogue::Color_green);
    m_catalogue.Color = TestCatalogue::Color_Red;
    EXPECT_EQ(Text("Color"), "Red");
    EXPECT_EQ(std::make_pair(int(TestCatalogue::Color_Blue_2), int(TestCatalogue::Color_green)), std::make_pair(0, 2));
    m_catalogue._Initialize(nullptr);
    ForEach(m_catalogue,
            [](Zelmo::IValueEx& parameter, const char* name) { EXPECT_FALSE(parameter.IsValid()) << name; });
}

TEST_F(AttachedCatalogueTest, NodesThatAreMissingOrOfAnotherKindLeaveTheirParameterInvalid) {
    const tests::MapPtr other =
        tests::MakeMap(tests::Value("B") + tests::Value("Color") + tests::Value("LUTAll") +
                       Node("Float", "LUT_Index", "<Value>1</Value>") + tests::Value("Run") + tests::Value("width", 3));
    m_catalogue._Initialize(other.get());
    ForEach(m_catalogue,
            [](Zelmo::IValueEx& parameter, const char* name) { EXPECT_FALSE(parameter.IsValid()) << name; });
    m_catalogue._Initialize(Map.get());
    EXPECT_TRUE(m_catalogue.B.IsValid());
}

TEST(CatalogueTest, IsUsableBeforeThereIsANodeMap) {
    const CInstantCameraParams_Params camera;
    EXPECT_FALSE(camera.MaxNumBuffer.IsValid());
    EXPECT_EQ(camera.MaxNumBuffer.GetValueOrDefault(10), 10);
    EXPECT_EQ(FailureOf<GenICam::AccessException>([&] { camera.GrabCameraEvents.GetValue(); }),
              "Parameter not found in CBooleanParameter::GetValue. (No node attached.)");
}

} // namespace
