// SPDX-License-Identifier: Apache-2.0
#include "Emulator.h"

#include <zelmo/Device.h>

using namespace Emulator;

namespace {

class FeatureTest : public ::testing::Test {
protected:
    Library m_library{"1"};
    Camera m_camera;
};

void CollectFeatures(GenApi::ICategory& category, std::vector<GenApi::IValue*>& features) {
    GenApi::FeatureList_t children;
    category.GetFeatures(children);
    for (GenApi::IValue* child : children) {
        if (auto* const sub = dynamic_cast<GenApi::ICategory*>(child)) {
            CollectFeatures(*sub, features);
        } else {
            features.push_back(child);
        }
    }
}

TEST_F(FeatureTest, AllFeaturesUnderRootWorkAndExplainThemselves) {
    EXPECT_TRUE(m_camera.Device().GetNodeMap()->ParseSwissKnifes());
    std::vector<GenApi::IValue*> features;
    CollectFeatures(*m_camera.Get<GenApi::CCategoryPtr>("Root"), features);
    EXPECT_GT(features.size(), 30u);
    for (GenApi::IValue* feature : features) {
        GenApi::INode& node = *feature->GetNode();
        SCOPED_TRACE(node.GetName().c_str());
        EXPECT_FALSE(node.GetToolTip().empty());
        EXPECT_NE(node.GetDisplayName(), "");
        if (GenApi::IsReadable(feature)) {
            EXPECT_NO_THROW(feature->ToString());
        }
        if (GenApi::IsReadable(feature) && GenApi::IsWritable(feature)) {
            EXPECT_NO_THROW(feature->FromString(feature->ToString())) << "what it shows, it takes";
        }
    }
}

TEST_F(FeatureTest, SizeAndOffsetLimitEachOther) {
    for (const auto& [size, offset] : {std::pair{"Width", "OffsetX"}, std::pair{"Height", "OffsetY"}}) {
        EXPECT_EQ(m_camera.Int(size)->GetMax(), 2048);
        m_camera.Int(offset)->SetValue(1000);
        EXPECT_EQ(m_camera.Int(size)->GetMax(), 1048);
        EXPECT_THROW(m_camera.Int(size)->SetValue(1052), GenICam::OutOfRangeException);
        m_camera.Int(size)->SetValue(512);
        EXPECT_EQ(m_camera.Int(offset)->GetMax(), 1536);
        m_camera.Int(offset)->SetValue(1536);
        EXPECT_THROW(m_camera.Int(offset)->SetValue(1538), GenICam::OutOfRangeException);
    }
    m_camera.Int("OffsetX")->SetValue(2);
    EXPECT_EQ(m_camera.Int("Width")->GetMax(), 2044) << "the maximum itself can be set";
    EXPECT_NO_THROW(m_camera.Int("Width")->SetValue(2044));
    EXPECT_THROW(m_camera.Int("Width")->SetValue(1022), GenICam::OutOfRangeException);
}

TEST_F(FeatureTest, PayloadSizeFitsEveryPixelFormat) {
    m_camera.Set("Width", "68");
    m_camera.Set("Height", "7");
    GenApi::NodeList_t entries;
    const auto format = m_camera.Get<GenApi::CEnumerationPtr>("PixelFormat");
    format->GetEntries(entries);
    EXPECT_EQ(entries.size(), 17u);
    for (GenApi::INode* node : entries) {
        const GenApi::CEnumEntryPtr entry = node;
        format->SetIntValue(entry->GetValue());
        const auto type = static_cast<Zelmo::EPixelType>(entry->GetValue());
        EXPECT_EQ(static_cast<std::uint64_t>(m_camera.Int("PayloadSize")->GetValue()),
                  Zelmo::ComputeBufferSize(type, 68, 7, 0))
            << entry->GetSymbolic().c_str();
    }
}

TEST_F(FeatureTest, ExposureTimeAndLinkLimitTheFrameRate) {
    const auto resulting = m_camera.Get<GenApi::CFloatPtr>("ResultingFrameRate");
    m_camera.Set("AcquisitionFrameRate", "50");
    m_camera.Set("ExposureTime", "1000");
    EXPECT_NEAR(resulting->GetValue(), 50, 1e-9);
    m_camera.Set("ExposureTime", "100000");
    EXPECT_NEAR(resulting->GetValue(), 10, 1e-9);
    m_camera.Set("AcquisitionFrameRateEnable", "0");
    EXPECT_FALSE(GenApi::IsAvailable(resulting.operator->()));
    m_camera.Set("DeviceLinkThroughputLimitMode", "On");
    m_camera.Set("DeviceLinkThroughputLimit", "1000");
    EXPECT_DOUBLE_EQ(resulting->GetValue(), 1000.0 / (1024 * 1024));
    m_camera.Set("DeviceLinkThroughputLimit", "125000000");
    m_camera.Set("AcquisitionFrameRateEnable", "1");
    EXPECT_NEAR(resulting->GetValue(), 10, 1e-9) << "the lowest limit counts";
}

TEST_F(FeatureTest, ResetShowsTheDefaultsAtOnce) {
    m_camera.Set("PixelFormat", "RGB8");
    m_camera.Set("OffsetX", "64");
    m_camera.Set("Gain", "6");
    EXPECT_EQ(m_camera.Int("PayloadSize")->GetValue(), 3 * 1024 * 1024);
    m_camera.Execute("AcquisitionStart");
    EXPECT_EQ(m_camera.Text("AcquisitionStatus"), "1");
    EXPECT_THROW(m_camera.Int("DeviceResetReg")->SetValue(7), GenICam::OutOfRangeException);
    m_camera.Execute("DeviceReset");
    EXPECT_EQ(m_camera.Text("AcquisitionStatus"), "0");
    EXPECT_EQ(m_camera.Text("PixelFormat"), "Mono8");
    EXPECT_EQ(m_camera.Int("OffsetX")->GetValue(), 0);
    EXPECT_EQ(m_camera.Int("Width")->GetMax(), 2048);
    EXPECT_EQ(m_camera.Get<GenApi::CFloatPtr>("Gain")->GetValue(), 0);
    EXPECT_EQ(m_camera.Int("PayloadSize")->GetValue(), 1024 * 1024);
}

constexpr const char* kLockedFeatures[] = {"Width",       "Height",          "OffsetX",    "OffsetY",
                                           "PixelFormat", "AcquisitionMode", "DeviceReset"};

TEST_F(FeatureTest, FormatIsLockedWhileAGrabIsPreparedAndFreeAfterwards) {
    int changes = 0;
    const auto handle =
        GenApi::Register(m_camera.Device().GetNodeMap()->GetNode("Width"), [&](GenApi::INode*) { ++changes; });
    {
        Session session(m_camera, 1);
        session->StartStreaming();
        EXPECT_GT(changes, 0) << "whoever shows the feature learns of it";
        for (const char* name : kLockedFeatures) {
            EXPECT_FALSE(m_camera.IsWritable(name)) << name;
        }
        EXPECT_THROW(m_camera.Int("Width")->SetValue(64), GenICam::AccessException);
        EXPECT_THROW(m_camera.Int("WidthReg")->SetValue(64), GenICam::AccessException) << "the camera refuses it too";
        EXPECT_EQ(m_camera.Int("Width")->GetValue(), 1024);
        EXPECT_NO_THROW(m_camera.Set("ExposureTime", "500"));
        EXPECT_NO_THROW(m_camera.Set("TestImageSelector", "ColorBar"));
        session->StopStreaming();
        session->FinishGrab();
        for (const char* name : kLockedFeatures) {
            EXPECT_TRUE(m_camera.IsWritable(name)) << name;
        }
    }
    EXPECT_NO_THROW(m_camera.Set("Width", "64"));
    GenApi::Deregister(handle);
}

TEST_F(FeatureTest, PortNamesWhatIsWrongWithAnAccess) {
    const GenApi::CPortPtr port = m_camera.Device().GetNodeMap()->GetNode("Device");
    std::uint32_t value = 3;
    EXPECT_THROW(port->Read(&value, 0x0250, 4), GenICam::RuntimeException);
    EXPECT_THROW(port->Read(&value, -8, 4), GenICam::RuntimeException);
    EXPECT_THROW(port->Read(&value, 0x0408, 4), GenICam::AccessException);      // AcquisitionStart
    EXPECT_THROW(port->Write(&value, 0x0300, 4), GenICam::AccessException);     // SensorWidth
    EXPECT_THROW(port->Write(&value, 0x0308, 4), GenICam::OutOfRangeException); // Width
}

TEST_F(FeatureTest, DescriptionIsDeliveredAsFromDeviceMemory) {
    auto* const source = dynamic_cast<Zelmo::IDescriptionSource*>(&m_camera.Device());
    ASSERT_NE(source, nullptr);
    Zelmo::String_t url, bytes;
    source->GetDescription(url, bytes);
    unsigned long long address = 0, length = 0;
    ASSERT_EQ(std::sscanf(url.c_str(), "Local:CamEmu.xml;%llx;%llx", &address, &length), 2) << url.c_str();
    ASSERT_EQ(length, bytes.size());
    std::vector<char> read(length);
    GenApi::CPortPtr(m_camera.Device().GetNodeMap()->GetNode("Device"))
        ->Read(read.data(), static_cast<std::int64_t>(address), static_cast<std::int64_t>(length));
    EXPECT_EQ(std::string(read.begin(), read.end()), std::string(bytes.c_str(), bytes.size()));
    GenApi::INodeMap* const again = GenApi::CNodeMapFactory(bytes).CreateNodeMap();
    EXPECT_EQ(again->GetNumNodes(), m_camera.Device().GetNodeMap()->GetNumNodes());
    dynamic_cast<GenApi::IDestroy*>(again)->Destroy();
    m_camera.Device().Close();
    Zelmo::String_t closedUrl, closedBytes;
    source->GetDescription(closedUrl, closedBytes);
    EXPECT_EQ(closedUrl, url) << "it needs no node map";
    EXPECT_EQ(closedBytes, bytes) << "it needs no node map";
}

} // namespace
