// SPDX-License-Identifier: Apache-2.0

// Whose description an emulated camera is opened with, by the rules of a site. Each case is a process of its own.

#include "Emulator.h"

#include <binding/RuleDocument.h>
#include <fakes/Failure.h>
#include <fakes/LogRecorder.h>
#include <fakes/TempFolder.h>
#include <zelmo/Device.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

using namespace Emulator;
using testing::HasSubstr;
using testing::StartsWith;
namespace fs = std::filesystem;

namespace {

constexpr const char* kName = "HarlixCamEmu 0815-0000";

/// A description with one feature that reads the camera's Width.
std::string Description(const std::string& feature) {
    return R"(<RegisterDescription ModelName="Site" VendorName="Site" StandardNameSpace="None" SchemaMajorVersion="1"
        SchemaMinorVersion="1" SchemaSubMinorVersion="0" MajorVersion="1" MinorVersion="0" SubMinorVersion="0"
        ProductGuid="7D1E93B4-2C68-4A5F-8E07-B36A90C4D2F2" VersionGuid="463463BB-C729-4966-8720-195B0B4C592C"
        xmlns="http://www.genicam.org/GenApi/Version_1_1">
        <Category Name="Root"><pFeature>)" +
           feature + R"(</pFeature></Category>
        <IntReg Name=")" +
           feature + R"("><Address>0x0308</Address><Length>4</Length><AccessMode>RO</AccessMode><pPort>Device</pPort>
        <Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>
        <Port Name="Device"/></RegisterDescription>)";
}

class SiteRulesTest : public testing::Test {
protected:
    SiteRulesTest() {
        fs::create_directory(m_rules);
        fs::create_directory(m_descriptions);
        setenv("ZELMO_CONFIG_FILE_REGISTRY_PATH", m_rules.c_str(), 1);
        setenv("ZELMO_DEFAULT_CDF_DIR", m_descriptions.c_str(), 1);
    }

    static void Write(const fs::path& file, const std::string& text) { std::ofstream(file, std::ios::binary) << text; }
    void WriteRule(const std::string& elements) const {
        Write(m_rules / "RulesSite.xml", "<BindingRules type='custom'><TransportLayer name='HarlixCamEmu'>" +
                                             Binding::Rule(elements) + "</TransportLayer></BindingRules>");
    }
    void WriteDescription(const std::string& file, const std::string& feature) const {
        Write(m_descriptions / file, Description(feature));
    }
    std::string PathOf(const std::string& description) const { return (m_descriptions / description).string(); }

    static std::string FailureOfOpening(const DevicePtr& device) {
        const std::string failure = Fakes::FailureOf([&] { device->Open(ForStreaming()); });
        EXPECT_FALSE(device->IsOpen());
        return failure;
    }
    static bool Has(const DevicePtr& device, const char* node) {
        return device->GetNodeMap()->GetNode(node) != nullptr;
    }
    static std::int64_t Value(const DevicePtr& device, const char* node) {
        return GenApi::CIntegerPtr(device->GetNodeMap()->GetNode(node))->GetValue();
    }
    /// Makes the next downloads of the camera's own description fail.
    static void FailDownloads(const DevicePtr& device, int downloads = 1) {
        GenApi::INodeMap& connection = *device->GetTLNodeMap();
        GenApi::CIntegerPtr(connection.GetNode("ForceFailedDownloadCount"))->SetValue(downloads);
        GenApi::CCommandPtr(connection.GetNode("ForceFailedDownload"))->Execute();
    }

    const Fakes::TempFolder m_temp;
    const fs::path m_rules = m_temp.Path() / "rules";
    const fs::path m_descriptions = m_temp.Path() / "descriptions";
};

TEST_F(SiteRulesTest, CustomFileOfEqualPriorityOverridesTheStandardRule) {
    Library library("2");
    WriteDescription("Site.xml", "SiteWidth");
    WriteRule("<SerialNumber>0815-0000</SerialNumber><Download>no</Download><File>Site.xml</File>");
    const DevicePtr bound = Create(), other = Create("0815-0001");
    bound->Open(ForStreaming());
    EXPECT_EQ(Value(bound, "SiteWidth"), 1024);
    EXPECT_FALSE(Has(bound, "Width"));
    EXPECT_FALSE(dynamic_cast<Zelmo::IZelmoDevicePrivate&>(*bound).IsChunkNodeMapDescriptionAvailable());
    EXPECT_EQ(bound->CreateChunkParser(), nullptr) << "the file has no chunks";
    other->Open(ForStreaming());
    EXPECT_TRUE(Has(other, "Width"));

    Zelmo::String_t url, own, otherOwn;
    dynamic_cast<Zelmo::IDescriptionSource&>(*bound).GetDescription(url, own);
    dynamic_cast<Zelmo::IDescriptionSource&>(*other).GetDescription(url, otherOwn);
    EXPECT_EQ(own, otherOwn) << "what the camera delivers does not depend on rules";
}

TEST_F(SiteRulesTest, StreamingDoesNotNeedTheCamerasOwnNodes) {
    Library library("1");
    WriteDescription("Site.xml", "SiteWidth");
    WriteRule("<Download>no</Download><File>Site.xml</File>");
    const DevicePtr device = Create();
    device->Open(ForStreaming());
    const Fakes::LogRecorder log;
    Zelmo::IStreamGrabber& grabber = *device->GetStreamGrabber(0);
    grabber.Open();
    GenApi::CIntegerPtr(grabber.GetNodeMap()->GetNode("MaxBufferSize"))->SetValue(1024 * 1024);
    grabber.PrepareGrab();
    grabber.FinishGrab();
    grabber.Close();
    EXPECT_EQ(log.Count("zelmo.camemu", GenICam::LogPriority_Error), 0u);
}

TEST_F(SiteRulesTest, FileServesWhereTheDownloadFails) {
    Library library("1");
    WriteDescription("Site.xml", "SiteWidth");
    WriteRule("<File>Site.xml</File>");
    const DevicePtr device = Create();
    device->Open(ForStreaming());
    EXPECT_TRUE(Has(device, "Width")) << "the download comes first";
    device->Close();
    FailDownloads(device);
    device->Open(ForStreaming());
    EXPECT_TRUE(Has(device, "SiteWidth"));
    device->Close();
    device->Open(ForStreaming());
    EXPECT_TRUE(Has(device, "Width"));
}

struct FailedOpening {
    const char* rule;
    int failedDownloads;
    const char*
        failure; // "%" stands for the folder of both rules and descriptions; what follows is the cause's own text
    friend void PrintTo(const FailedOpening& one, std::ostream* stream) { *stream << one.rule; }
};

class FailedOpeningTest : public SiteRulesTest, public testing::WithParamInterface<FailedOpening> {};

TEST_P(FailedOpeningTest, NamesWhatFailedAndLeavesNothing) {
    Library library("1");
    Write(m_descriptions / "Broken.xml", "<RegisterDescription");
    WriteRule(GetParam().rule);
    std::string expected = std::string("Cannot open device '") + kName + "': " + GetParam().failure;
    if (const auto folder = expected.find('%'); folder != std::string::npos) {
        expected.replace(folder, 1, m_temp.Path().string());
    }
    const DevicePtr device = Create();
    if (GetParam().failedDownloads > 0) {
        FailDownloads(device, GetParam().failedDownloads);
    }
    for (int attempt = 0; attempt < std::max(GetParam().failedDownloads, 1); ++attempt) {
        EXPECT_THAT(FailureOfOpening(device), StartsWith(expected));
    }
    if (GetParam().failedDownloads > 0) {
        EXPECT_NO_THROW(device->Open(ForStreaming())) << "nothing of the failed opening is left";
    }
}

INSTANTIATE_TEST_SUITE_P(
    Causes, FailedOpeningTest,
    testing::Values(
        FailedOpening{"<File>Missing.xml</File>", 1,
                      "Its own description cannot be used: ForceFailedDownload was executed. The "
                      "description file '%/descriptions/Missing.xml' cannot be used: "},
        FailedOpening{"<Name>other</Name>", 2, "Its own description cannot be used: ForceFailedDownload was executed."},
        FailedOpening{"<Download>no</Download><File>Broken.xml</File>", 0,
                      "The description file '%/descriptions/Broken.xml' cannot be used: "},
        FailedOpening{
            "<AdditionalFile>Missing.xml</AdditionalFile>", 0,
            "Its own description cannot be used: Cannot open the camera description '%/descriptions/Missing.xml'"},
        FailedOpening{"<Download>no</Download>", 0,
                      "the binding rule of %/rules/RulesSite.xml forbids the download of its description "
                      "and names no file."}));

TEST_F(SiteRulesTest, AdditionalFilesAddNodesToEitherDescription) {
    Library library("1");
    WriteDescription("Site.xml", "SiteWidth");
    WriteDescription("One.xml", "AddedOne");
    WriteDescription("Two.xml", "AddedTwo");
    WriteRule("<File>Site.xml</File><AdditionalFile>One.xml;;Two.xml</AdditionalFile>");
    const DevicePtr device = Create();
    device->Open(ForStreaming());
    EXPECT_EQ(Value(device, "AddedOne"), Value(device, "Width"));
    EXPECT_EQ(Value(device, "AddedTwo"), 1024);
    device->Close();
    FailDownloads(device);
    device->Open(ForStreaming());
    EXPECT_TRUE(Has(device, "SiteWidth") && Has(device, "AddedOne") && Has(device, "AddedTwo"));
}

TEST_F(SiteRulesTest, ChunksAreReadByTheDescriptionThatIsInForce) {
    Library library("1");
    WriteDescription("Site.xml", "SiteWidth");
    std::string chunks = Description("SiteChunk");
    chunks.replace(chunks.find("\"Root\""), 6, "\"ChunkData\"");
    Write(m_descriptions / "Chunks.xml", chunks);
    WriteRule("<File>Site.xml</File><AdditionalFile>Chunks.xml</AdditionalFile>");
    const DevicePtr device = Create();
    device->Open(ForStreaming());
    const auto text = [&device] {
        return dynamic_cast<Zelmo::IZelmoDevicePrivate&>(*device).GetChunkNodeMapDescription();
    };
    EXPECT_THAT(text().c_str(), testing::AllOf(HasSubstr("ChunkTimestamp"), HasSubstr("SiteChunk")));
    device->Close();
    FailDownloads(device);
    device->Open(ForStreaming());
    EXPECT_THAT(text().c_str(), testing::AllOf(testing::Not(HasSubstr("ChunkTimestamp")), HasSubstr("SiteChunk")));
}

TEST_F(SiteRulesTest, BrokenRuleFileStopsOpeningUntilItIsMendedButHidesNoCamera) {
    Library library("2");
    WriteRule("<Model>x</Model>");
    const Fakes::LogRecorder log;
    EXPECT_EQ(library.Devices().size(), 2u);
    EXPECT_EQ(log.Count("zelmo.base.TlFactory", GenICam::LogPriority_Error), 0u);
    const DevicePtr device = Create();
    const std::string failure = FailureOfOpening(device);
    EXPECT_THAT(failure, StartsWith(std::string("Cannot open device '") + kName + "': the binding rules "));
    EXPECT_THAT(failure, HasSubstr("unexpected element Model found."));
    EXPECT_EQ(log.Count("zelmo.base.TlFactory", GenICam::LogPriority_Error, "Cannot read rule file "), 1u);
    fs::remove(m_rules / "RulesSite.xml");
    EXPECT_NO_THROW(device->Open(ForStreaming()));
}

} // namespace
