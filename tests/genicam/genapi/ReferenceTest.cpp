// SPDX-License-Identifier: Apache-2.0
#include "MapFixture.h"

#include <functional>

namespace {

using namespace GenApi;
using tests::Node;

/// As a generator of camera classes would write it.
struct CameraClass : CGeneric_XMLLoaderParams {
    CIntegerRef Width;
    void _Initialize(INodeMap* map) override { Width.SetReference(map->GetNode("Width")); }
};

TEST(NodeMapRefTest, GivesTheCameraClassItsFeaturesAndHoldsOneMap) {
    CNodeMapRefT<CameraClass> camera("Cam");
    EXPECT_FALSE(IsImplemented(camera.Width) || camera.Width.IsValid());
    EXPECT_THROW(camera._GetNode("Width"), GenICam::AccessException);
    camera._LoadXMLFromString(tests::Description(tests::Value("Width", 640)).c_str());
    CNodeMapRefT<CameraClass> copy = camera;
    camera._Destroy();
    EXPECT_EQ(camera._Ptr(), nullptr);
    EXPECT_EQ(copy.Width(), 640);
    EXPECT_EQ(copy._GetNode("Width")->GetDeviceName(), "Cam");
    EXPECT_THROW(copy._LoadXMLFromString("<x/>"), GenICam::RuntimeException);
}

TEST(NodeMapRefTest, AsksAMapThatBelongsToAnother) {
    const tests::MapPtr map =
        tests::MakeMap(tests::Value("Width", 640) + Node("IntSwissKnife", "S", "<Formula>1+</Formula>"));
    EXPECT_THROW(CNodeMapRef(static_cast<INodeMap*>(nullptr))._GetModelName(), GenICam::AccessException);
    {
        CNodeMapRefT<CameraClass> camera(map.get());
        EXPECT_EQ(camera.Width.GetNode(), map->GetNode("Width"));
        EXPECT_EQ(&camera._GetLock(), &map->GetLock());
        EXPECT_EQ(camera._GetNumNodes(), 2u);
        gcstring_vector errors;
        EXPECT_FALSE(camera._ParseSwissKnifes(&errors));
        EXPECT_EQ(errors.size(), 1u);
        EXPECT_EQ(camera._GetVendorName() + camera._GetModelName() + camera._GetToolTip() +
                      camera._GetStandardNameSpace() + camera._GetDeviceName(),
                  "VendorModelNoneDevice");
        Version_t version{}, ours{};
        uint16_t build = 0;
        camera._GetSchemaVersion(version);
        EXPECT_EQ(version, (Version_t{1, 1, 0}));
        camera._GetDeviceVersion(version);
        EXPECT_EQ(version, (Version_t{1, 2, 3}));
        camera._GetGenApiVersion(ours, build);
        EXPECT_GT(ours.Major, 0);
        EXPECT_NE(camera._GetProductGuid(), camera._GetVersionGuid());
    }
    EXPECT_EQ(map->GetNumNodes(), 2u) << "the map stays with its owner";
}

enum EMode { Mode_Off, Mode_Dim, Mode_On, Mode_Auto };

class ReferenceTest : public tests::MapTest {};

TEST_F(ReferenceTest, ForwardsToWhatItRefersToAndRaisesBefore) {
    Load(Node("Category", "Root", "<pFeature>Width</pFeature>") + tests::Value("Width", 5) +
         Node("Float", "Gain", "<Value>1.5</Value>") + Node("Boolean", "Flip", "<Value>0</Value>") +
         Node("String", "Name", "<Value>a</Value>") + Node("Register", "Lut", tests::Place(8, 4)) +
         tests::Above("Command", "Go", "Width", "<CommandValue>7</CommandValue>") +
         Node("Enumeration", "Mode",
              Node("EnumEntry", "Off", "<Value>10</Value>") +
                  Node("EnumEntry", "Dim", "<pIsImplemented>Never</pIsImplemented><Value>20</Value>") +
                  Node("EnumEntry", "On", "<Value>20</Value>") + Node("EnumEntry", "New", "<Value>30</Value>") +
                  "<Value>10</Value>") +
         tests::Value("Never"));
    CIntegerRef width;
    CFloatRef gain;
    CBooleanRef flip;
    CStringRef name;
    CCommandRef go;
    CRegisterRef lut;
    CCategoryRef root;
    CNodeRef node;
    CPortRef port;
    CEnumerationTRef<EMode> mode;
    uint8_t bytes[4] = {1, 2, 3, 4};
    FeatureList_t features;
    const auto modeOn = [&] {
        int index = 0;
        for (const char* const entry : {"Off", "Dim", "On", "Auto"}) {
            mode.SetEnumReference(index++, entry);
        }
        mode = Mode_On;
    };
    const struct {
        IReference& reference;
        const char* target;
        std::function<void()> use;
    } cases[] = {{width, "Width", [&] { width = 6; }},
                 {gain, "Gain", [&] { gain.SetValue(2.5); }},
                 {flip, "Flip", [&] { flip = true; }},
                 {name, "Name", [&] { name = "b"; }},
                 {go, "Go", [&] { go.Execute(); }},
                 {lut, "Lut", [&] { lut.Set(bytes, 4); }},
                 {node, "Width", [&] { node.GetName(); }},
                 {root, "Root", [&] { root.GetFeatures(features); }},
                 {port, "Device", [&] { port.Read(bytes, 8, 1); }},
                 {mode, "Mode", modeOn}};
    for (const auto& [reference, target, use] : cases) {
        EXPECT_THROW(use(), GenICam::AccessException) << target;
        reference.SetReference(Map->GetNode(target));
        EXPECT_NO_THROW(use()) << target;
    }
    EXPECT_EQ(name() + gain.ToString() + node.GetName() + width.ToString() + Text("Mode").c_str(), "b2.5Width7On");
    EXPECT_TRUE(flip());
    EXPECT_EQ(features.size(), 1);
    EXPECT_TRUE(IsWritable(gain));
    EXPECT_EQ(Port.Memory[11], 4);
    EXPECT_EQ(mode(), Mode_On);
    EXPECT_EQ(mode.GetEntry(Mode_Off)->GetSymbolic(), "Off");
    EXPECT_THROW(mode = Mode_Auto, GenICam::InvalidArgumentException) << "the feature has no such entry";
    mode = "New";
    EXPECT_THROW(mode(), GenICam::InvalidArgumentException) << "no enumerator stands for it";
}

} // namespace
