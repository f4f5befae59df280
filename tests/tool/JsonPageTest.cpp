// SPDX-License-Identifier: Apache-2.0
#include "Description.h"
#include "Feature.h"
#include "FeatureDescription.h"
#include "MemoryImage.h"
#include "TemporaryFolder.h"
#include "ToolProcess.h"

#include <GenApi/GenApi.h>

#include <gmock/gmock.h>

#include <fstream>
#include <regex>
#include <set>
#include <unistd.h>

namespace {

using tool::Json;

/// What docs/json.md says: the keys of each object with their types. What runs of the tool write is held against it;
/// the keys that no run wrote are left in the end.
class JsonPage {
public:
    JsonPage() {
        std::ifstream file(JSON_PAGE);
        std::string object;
        for (std::string line; std::getline(file, line);) {
            std::smatch parts;
            if (line.rfind("### ", 0) == 0) {
                object = line.substr(4);
            } else if (std::regex_match(line, parts, std::regex("Has the keys of (\\w+) too.*"))) {
                m_parents[object] = parts[1];
            } else if (std::regex_match(line, parts, std::regex("\\| `(\\w+)` \\| ([^|]+) \\|.*"))) {
                m_types[object + "." + parts[1].str()] = parts[2];
                m_unseen.insert(object + "." + parts[1].str());
            }
        }
    }

    void Check(const Json& value, const std::string& type) {
        const std::size_t of = type.find(" of ");
        if (of != std::string::npos) {
            EXPECT_EQ(value.is_array(), type.substr(0, of) == "list") << type << ": " << value;
            for (const Json& item : value) {
                Check(item, type.substr(of + 4));
            }
        } else if (value.is_object()) {
            for (const auto& [key, item] : value.items()) {
                Check(item, TypeOf(type, key));
            }
        } else {
            EXPECT_TRUE(std::regex_search(type, std::regex("\\b(" + KindsOf(value) + ")\\b"))) << type << ": " << value;
        }
    }

    /// A whole document or line.
    void CheckTop(Json object, const std::string& type) {
        for (const char* key : {"schema", "type", "t"}) {
            object.erase(key);
        }
        Check(object, type);
    }

    /// Runs the tool; @p type is what its document is called on the page, or empty for a verb that streams.
    void CheckRun(const std::vector<std::string>& words, const std::string& type,
                  const ToolProcess::Settings& settings = {}) {
        std::vector<std::string> arguments = words;
        arguments.push_back("--json");
        const ToolResult result = RunTool(arguments, settings);
        if (type.empty()) {
            for (const Json& line : result.Events()) {
                CheckTop(line, words[0] + ": " + line["type"].get<std::string>());
            }
        } else {
            CheckTop(result.Document(), type);
        }
        for (const Json& line : result.Messages()) {
            CheckTop(line, line["type"]);
        }
    }

    const std::set<std::string>& GetUnseen() const { return m_unseen; }

private:
    std::string TypeOf(const std::string& object, const std::string& key) {
        for (std::string name = object; !name.empty(); name = m_parents[name]) {
            const auto found = m_types.find(name + "." + key);
            if (found != m_types.end()) {
                m_unseen.erase(found->first);
                return found->second;
            }
        }
        ADD_FAILURE() << object << "." << key << " is not on the page";
        return "";
    }

    static std::string KindsOf(const Json& value) {
        const bool isLarge = value.is_string() && value.get<std::string>().size() > 15;
        return value.is_boolean()          ? "boolean"
               : value.is_null()           ? "null"
               : value.is_number_integer() ? "integer|number"
               : value.is_number()         ? "number"
               : isLarge                   ? "integer|text" // one that a double cannot hold
                                           : "text";
    }

    std::map<std::string, std::string> m_types;
    std::map<std::string, std::string> m_parents;
    std::set<std::string> m_unseen;
};

constexpr const char* kDescription =
    R"(<RegisterDescription><Category Name="Root"><pFeature>Big</pFeature></Category>
<Integer Name="Big"><Description>d</Description><DocuURL>u</DocuURL><IsDeprecated>Yes</IsDeprecated>
 <pIsImplemented>Some</pIsImplemented><pAlias>Hex</pAlias><pCastAlias>Q</pCastAlias>
 <Value>9007199254740993</Value><Unit>s</Unit></Integer><Port Name="Device"/>
<Integer Name="Address"><Value>1</Value><Representation>IPV4Address</Representation></Integer>
<Integer Name="Some"><Value>1</Value><ValidValueSet>1;3</ValidValueSet></Integer>
<Integer Name="Hex"><Value>10</Value><Representation>HexNumber</Representation></Integer>
<String Name="Text"><Value>t</Value></String>
<Register Name="Bytes"><Address>0</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort></Register>
<SwissKnife Name="Q"><pVariable Name="X">Big</pVariable><Formula>1/(X-X)</Formula></SwissKnife>
<Enumeration Name="E"><EnumEntry Name="A"><Value>0</Value></EnumEntry><Value>0</Value></Enumeration>
</RegisterDescription>)";

/// With a rule that has all there is to a rule.
ToolProcess::Settings WithRules(const TemporaryFolder& folder) {
    std::ofstream(folder / "Rules.xml")
        << "<BindingRules type='custom'><TransportLayer name='HarlixCamEmu'><Rule><File>a.zip</File><AdditionalFile>"
           "b.zip</AdditionalFile></Rule></TransportLayer></BindingRules>";
    return WithEnvironment({{"ZELMO_CONFIG_FILE_REGISTRY_PATH", folder.Path()}});
}

/// Each command that zelmo serve takes while it runs.
ToolProcess::Settings WithCommands(const TemporaryFolder& folder) {
    ToolProcess::Settings settings;
    settings.input = folder / "commands";
    std::ofstream(settings.input) << "fault packet-loss=0.5,2@3@4:5x6\nstatus\nfaults\nreset\nquit\n";
    return settings;
}

/// Of the loopback network, and not that of another test.
std::string OwnAddress() {
    return "127.93." + std::to_string(getpid() / 250 % 250) + "." + std::to_string(2 + getpid() % 250);
}

TEST(JsonPageTest, HoldsEachKeyThatAVerbWritesAndNoOther) {
    const TemporaryFolder folder;
    std::ofstream(folder / "m.xml") << kDescription;
    const std::string settings = folder / "settings.txt";
    const std::string bad = folder / "bad.txt";
    std::ofstream(bad) << "# {05D8C294-F295-4dfb-9D01-096BD04049F4}\nWidth\t64\nNope\t1\n";
    JsonPage page;
    page.CheckRun({"list", "-v"}, "list");
    page.CheckRun({"list", "--tls"}, "list --tls");
    page.CheckRun({"list", "--watch", "--count", "3"}, "");
    page.CheckRun({"--version"}, "--version");
    page.CheckRun({"info", "0"}, "info");
    page.CheckRun({"doctor"}, "doctor");
    page.CheckRun({"binding", "0"}, "binding", WithRules(folder));
    page.CheckRun({"features", "--values", "-d", "0"}, "features");
    page.CheckRun({"get", "Width", "DeviceUserID", "Nope", "-d", "0"}, "get");
    page.CheckRun({"describe", "Width", "PixelFormat", "TestImageSelector", "AcquisitionStatusSelector", "Gain",
                   "ImageFormatControl", "DeviceUserID", "AcquisitionStatus", "AcquisitionFrameCount", "-d", "0"},
                  "describe");
    page.CheckRun({"set", "Width=64", "Width=1", "-d", "0"}, "set");
    page.CheckRun({"exec", "DeviceReset", "-d", "0"}, "exec");
    page.CheckRun({"xml", "0"}, "xml");
    page.CheckRun({"xml", "0", "--out", folder / "c.xml"}, "xml");
    page.CheckRun({"nodemap", folder / "m.xml"}, "nodemap");
    page.CheckRun({"save", settings, "-d", "0"}, "save");
    page.CheckRun({"load", bad, "-d", "0"}, "load");
    page.CheckRun({"diff", bad, "-d", "0"}, "diff");
    page.CheckRun({"grab", "-d", "0", "-n", "2", "-o", folder / "%d.png", "--progress", "always", "--set",
                   "ForceFailedBufferCount=1", "--exec", "ForceFailedBuffer"},
                  "");
    page.CheckRun({"grab", "-d", "0", "--chunks", "all", "--events", "FrameStart"}, "");
    page.CheckRun({"bench", "0", "--duration", "0.1"}, "bench");
    page.CheckRun({"serve", "--list-faults"}, "serve --list-faults");
    page.CheckRun({"serve", "--address", OwnAddress()}, "", WithCommands(folder));
    page.CheckRun({"ip"}, "ip");
    {
        ToolProcess served({"serve", "--address", OwnAddress()}, {});
        ASSERT_TRUE(served.WaitForOutput("GigE Vision clients"));
        const auto onEthernet = WithEnvironment({{"ZELMO_CAMEMU", "0"}, {"ZELMO_GIGE", OwnAddress()}});
        page.CheckRun({"list"}, "list", onEthernet);
        page.CheckRun({"ip", "show", OwnAddress()}, "ip", onEthernet);
        page.CheckRun({"ip", "persistent", OwnAddress(), "127.94.0.2/8"}, "ip", onEthernet);
        page.CheckRun({"grab"}, "", onEthernet);
        page.CheckRun({"bench", "--duration", "0.1"}, "bench", onEthernet);
    }
    // What the emulator's description does not have.
    const tool::NodeMapPtr nodeMap = tool::LoadDescription(kDescription);
    tool::MemoryImage image;
    tool::MemoryPort port(image);
    nodeMap->Connect(&port, "Device");
    for (const char* name : {"Big", "Some", "Bytes"}) {
        const tool::Feature feature = tool::Feature::FindAny(*nodeMap, name, "camera");
        page.Check(feature.GetDescription(true), "feature");
        page.Check(tool::DescribeFeature(feature), "feature_description");
    }
    page.Check(tool::DescribeFeature(tool::Feature::FindAny(*nodeMap, "Q", "camera")), "feature_description");
    // These take a camera that fails, one in a foreign subnet, and one that another process has open.
    EXPECT_THAT(page.GetUnseen(), testing::ElementsAre("device.subnet_verdict", "feature.error", "info.reason",
                                                       "ip_camera.subnet_verdict"));
}

} // namespace
