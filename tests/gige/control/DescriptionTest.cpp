// SPDX-License-Identifier: Apache-2.0
#include "control/Description.h"

#include "control/KnownDevices.h"
#include "fakes/TempFolder.h"
#include "gige/control/ScriptedDevice.h"

#include <GenApi/DescriptionUrl.h>
#include <GenApi/NodeMapFactory.h>

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

namespace Gige {
namespace {

using testing::HasSubstr;

constexpr std::uint32_t kText = 0xC000; // where the device has its description
const std::string kDescription = R"(<?xml version="1.0"?><RegisterDescription ModelName="Model" VendorName="Vendor"
 StandardNameSpace="None" SchemaMajorVersion="1" SchemaMinorVersion="1" SchemaSubMinorVersion="0" MajorVersion="1"
 MinorVersion="0" SubMinorVersion="0" ProductGuid="a" VersionGuid="b"><Port Name="Device"/></RegisterDescription>)";

/// With the description at kText, and a folder of descriptions on the host.
class DescriptionTest : public testing::Test {
protected:
    DescriptionTest() {
        setenv("ZELMO_DEFAULT_CDF_DIR", kFolder.Path().c_str(), 1);
        std::ofstream(kFolder.Path() / "File.xml") << "of the host";
        std::error_code isThere;
        std::filesystem::create_directory(kFolder.Path() / "Folder.xml");
        std::filesystem::create_symlink("/dev/zero", kFolder.Path() / "zero", isThere);
        std::ofstream(kFolder.Path() / "Empty.xml");
    }
    CDescription Read(const std::string& first, const std::string& second = {},
                      const std::function<void(const CDescription&)>& use = {}) {
        m_device = std::make_unique<CScriptedDevice>(
            m_script, std::map<std::uint32_t, std::uint32_t>{{Register::kGvcpCapability, m_capability}});
        m_device->SetText(Register::kFirstUrl, first);
        m_device->SetText(Register::kSecondUrl, second);
        m_device->SetText(kText, kDescription);
        m_device->SetText(0x9000, std::string("\x08\0\0\0\0\0\0\0", 8)); // a manifest of two
        m_device->SetText(0x9008, std::string("\x04\0\x40\x01\0\0\x02\0\x04\0\x40\x01\0\0\xb0\0", 16));
        m_device->SetText(0xB000, Local());
        m_host = std::make_unique<CHost>();
        m_host->connection.Open(m_device->Route(), {});
        return ReadDescription(m_host->connection, use);
    }
    static std::string Local(const char* format = "Local:Camera.xml;%zx;%zx") {
        char text[100];
        std::snprintf(text, sizeof text, format, std::size_t{kText}, kDescription.size());
        return text;
    }

    static inline const Fakes::TempFolder kFolder; // the library looks once a process where it is
    CScriptedDevice::CScript m_script;
    std::uint32_t m_capability = 0;
    std::unique_ptr<CScriptedDevice> m_device;
    std::unique_ptr<CHost> m_host;
};

TEST_F(DescriptionTest, IsReadFromWhereTheUrlSays) {
    for (const char* const format : {"Local:Camera.xml;%zx;%zx", "LOCAL:///Camera.ZIP; 0x%zX; %zX",
                                     " local:a b.xml;%zx ;%zx?SchemaVersion=1.1.0"}) {
        EXPECT_EQ(Read(Local(format)).bytes, kDescription) << format;
    }
    for (const char* const url : {"File:///opt/maker/File.xml", "file:File.xml",
                                  "FILE:..\\..\\File.xml?SchemaVersion=1.0", "File:%2e%2e%2fFile.xml"}) {
        EXPECT_EQ(Read(url).bytes, "of the host") << url;
    }
}

TEST_F(DescriptionTest, WhatCannotBeHadIsRefusedAndSaysWhyForEachUrl) {
    const struct {
        std::string url;
        const char* why;
    } rows[] = {
        {"", "begins neither with"},
        {"gopher:a", "begins neither with"},
        {"Local:a.xml;zz;10", "hexadecimal numbers"},
        {"Local:a.xml;C000;0", "length of 0 bytes"},
        {"Local:a.xml;C000;100000000", "length of 4294967296 bytes"},
        {"Local:a.xml;C000;4000001", "length of 67108865 bytes"},
        {"Local:a.xml;FFFFFFFF;2", "last address"},
        {"Local:a.xml;100000000;2", "last address"},
        {"http://somewhere/a.zip", "Nothing is fetched from the network"},
        {"File:///dev/zero", "no regular file"}, // of that name, in the folder
        {"File:///etc/passwd", "passwd', where it would have to be"},
        {"File:$(HOME)/.profile", ".profile', where it would have to be"},
        {"File:Folder.xml", "no regular file"},
        {"File:Empty.xml", "has 0 bytes"},
        {"File:..", "names no file"},
        {"File:a%00b", "names no file"},
        {std::string(512, '\xff'), "begins neither with"},
    };
    for (const auto& row : rows) {
        const std::string text = FailureOf<GenICam::RuntimeException>([&] { Read(row.url, "File:Missing.xml"); });
        EXPECT_THAT(text, HasSubstr(row.why)) << row.url;
        EXPECT_THAT(text, HasSubstr("Missing.xml")) << row.url;
        EXPECT_EQ(Read(row.url, "File:File.xml").bytes, "of the host") << row.url;
    }
}

TEST_F(DescriptionTest, WhatCannotBeUsedIsNotTheLastWord) {
    const auto load = [](const CDescription& one) {
        GenApi::CNodeMapFactory(GenApi::CDescriptionUrl::GetContentType(one.bytes.c_str()), one.bytes.data(),
                                one.bytes.size())
            .LoadAndInject();
    };
    std::ofstream(kFolder.Path() / "Cut.zip") << "PK\x03\x04 and no more";
    EXPECT_EQ(Read("File:Cut.zip", Local(), load).bytes, kDescription);
    EXPECT_THAT(FailureOf<GenICam::RuntimeException>([&] { Read("File:Cut.zip", "File:File.xml", load); }),
                HasSubstr("Cannot unpack"));
    m_capability = GigEVision::GvcpCapability::kManifest;
    EXPECT_EQ(Read("File:Cut.zip", "File:File.xml", load).bytes, kDescription) << "by the manifest's second entry";
}

TEST_F(DescriptionTest, ADeviceThatStopsInTheMiddleIsNotWaitedForWithoutEnd) {
    m_script = [](CScriptedDevice& device, const CScriptedDevice::CRequest& request) {
        if (request.address < kText + 512) {
            return false;
        }
        device.Pend(request, 0xFFFF);
        return true;
    };
    const std::int64_t beginNs = MonotonicNs();
    EXPECT_EQ(Read("Local:a.xml;C000;4000000", "File:File.xml").bytes, "of the host");
    EXPECT_LT(MonotonicNs() - beginNs, 30 * kSecond);
}

TEST(KnownDevicesTest, ExceptionsGoByMakerAndModel) {
    const auto known =
        ParseKnownDevices("# nothing\n\n Maker ; Model-1* ; register-commands # why\nmaker;*x*y;register-commands");
    const struct {
        const char *manufacturer, *model;
        bool isException;
    } rows[] = {
        {"Maker", "Model-1", true},   {"MAKER", "model-12", true}, {"Maker", "Model-2", false}, {"Maker", "", false},
        {"Makers", "Model-1", false}, {"Maker", "axbxcy", true},   {"Maker", "yx", false},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(FindExceptions(known, row.manufacturer, row.model).usesRegisterCommands, row.isException)
            << row.model;
    }
    EXPECT_FALSE(FindExceptions("Harlix", "Emulation").usesRegisterCommands)
        << "and the table that is built in is sound";
    for (const char* const bad : {"a;b", "a;;register-commands", "\na;b;other", "a;b;register-commands,"}) {
        EXPECT_THROW(ParseKnownDevices(bad), GenICam::RuntimeException) << bad;
    }
}

} // namespace
} // namespace Gige
