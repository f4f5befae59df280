// SPDX-License-Identifier: Apache-2.0
#include "Descriptions.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace genicam_bench {
namespace {

std::string Number(unsigned int number) {
    return std::to_string(number);
}

std::string File(const std::string& nodes) {
    return "<RegisterDescription ModelName=\"Bench\" VendorName=\"Bench\" StandardNameSpace=\"None\" "
           "SchemaMajorVersion=\"1\" SchemaMinorVersion=\"1\" SchemaSubMinorVersion=\"0\" "
           "MajorVersion=\"1\" MinorVersion=\"0\" SubMinorVersion=\"0\" ProductGuid=\"a\" VersionGuid=\"b\" "
           "xmlns=\"http://www.genicam.org/GenApi/Version_1_1\"><Port Name=\"Device\"/>" +
           nodes + "</RegisterDescription>";
}

std::string Register(const std::string& name, unsigned int address, const char* caching) {
    return "<IntReg Name=\"" + name + "\"><Address>" + Number(address) +
           "</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort><Cachable>" + caching +
           "</Cachable><Endianess>LittleEndian</Endianess></IntReg>";
}

// a locked and limited integer over a register, and a formula over both
std::string Feature(unsigned int i) {
    const std::string n = Number(i);
    return "<IntReg Name=\"Reg" + n + "\"><ToolTip>Register of feature " + n + "</ToolTip><Address>" +
           Number(0x100 + i * 4) + "</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>" +
           "<Endianess>LittleEndian</Endianess></IntReg>" + //
           "<Integer Name=\"Feature" + n + "\"><ToolTip>A feature.</ToolTip><Description>The feature of number " + n +
           ".</Description><DisplayName>Feature " + n + "</DisplayName><Visibility>Expert</Visibility>" +
           "<pIsLocked>TLParamsLocked</pIsLocked><pValue>Reg" + n + "</pValue><Min>0</Min><Max>100000</Max></Integer>" +
           "<IntSwissKnife Name=\"Knife" + n + "\"><pVariable Name=\"A\">Feature" + n +
           "</pVariable><pVariable Name=\"B\">TLParamsLocked</pVariable><Formula>(A &gt;&gt; 2) * 3 + (B = 0 ? A "
           "&amp; " +
           "0xFF : A / 7) - ((A % 5) &lt;&lt; 1)</Formula></IntSwissKnife>";
}

// a formula over three registers of its own
std::string KnifeOverRegisters(const std::string& name, unsigned int address, const char* caching) {
    std::string text;
    std::string variables;
    for (const std::string letter : {"A", "B", "C"}) {
        text += Register(name + letter, address, caching);
        variables += "<pVariable Name=\"" + letter + "\">" + name + letter + "</pVariable>";
        address += 4;
    }
    return text + "<SwissKnife Name=\"" + name + "\">" + variables +
           "<Formula>(A + B) * 0.5 + (C &gt; 7 ? C : A)</Formula></SwissKnife>";
}

std::string EnumerationOverRegister(unsigned int address) {
    std::string text = Register("FormatReg", address, "WriteThrough") +
                       "<Enumeration Name=\"Format\"><pIsLocked>TLParamsLocked</pIsLocked>";
    for (unsigned int i = 0; i < 8; ++i) {
        text += "<EnumEntry Name=\"Format" + Number(i) + "\"><Value>" + Number(i) + "</Value></EnumEntry>";
    }
    return text + "<pValue>FormatReg</pValue></Enumeration>";
}

std::string Singles() {
    return "<Integer Name=\"TLParamsLocked\"><Value>0</Value></Integer>"
           "<Integer Name=\"Plain\"><Value>1</Value></Integer>"
           "<Integer Name=\"Chain1\"><pValue>Reg7</pValue></Integer>"
           "<Integer Name=\"Chain\"><pValue>Chain1</pValue></Integer>" +
           Register("Uncached", 16, "NoCache") + EnumerationOverRegister(20) +
           KnifeOverRegisters("KnifeUncached", 32, "NoCache") + KnifeOverRegisters("KnifeCached", 48, "WriteThrough");
}

constexpr unsigned int kSingleNodes = 2 + 4 + 1 + 10 + 8; // the port and the root first

} // namespace

void MemoryPort::Read(void* buffer, int64_t address, int64_t length) {
    std::memcpy(buffer, At(address), static_cast<std::size_t>(length));
}

void MemoryPort::Write(const void* buffer, int64_t address, int64_t length) {
    std::memcpy(At(address), buffer, static_cast<std::size_t>(length));
}

GenApi::CNodeMapFactory MakeFactory(const Description& description) {
    return GenApi::CNodeMapFactory(GenApi::ContentType_Xml, description.text.data(), description.text.size());
}

Description GenerateCamera(unsigned int nodes) {
    const unsigned int features = (nodes - kSingleNodes) / 3;
    std::string text = "<Category Name=\"Root\">";
    for (unsigned int i = 0; i < features; ++i) {
        text += "<pFeature>Feature" + Number(i) + "</pFeature>";
    }
    text += "</Category>" + Singles();
    for (unsigned int i = 0; i < features; ++i) {
        text += Feature(i);
    }
    return {"generated-" + Number(nodes), File(text)};
}

Description GenerateHub(unsigned int nodes, unsigned int dependents) {
    std::string text = "<Integer Name=\"Hub\"><Value>1</Value></Integer>";
    for (unsigned int i = 0; i + 2 < nodes; ++i) {
        text += "<Integer Name=\"Node" + Number(i) + "\"><Value>1</Value>" +
                (i < dependents ? "<pMax>Hub</pMax>" : "<Max>9</Max>") + "</Integer>";
    }
    return {"hub", File(text)};
}

std::vector<Description> ReadRealDescriptions() {
    std::vector<Description> descriptions;
    const char* const folder = std::getenv("ZELMO_TEST_DESCRIPTIONS");
    if (folder == nullptr) {
        return descriptions;
    }
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        if (entry.path().extension() == ".xml") {
            std::ifstream file(entry.path(), std::ios::binary);
            descriptions.push_back({entry.path().stem(), std::string(std::istreambuf_iterator<char>(file), {})});
        }
    }
    std::sort(descriptions.begin(), descriptions.end(), [](const auto& a, const auto& b) { return a.name < b.name; });
    return descriptions;
}

} // namespace genicam_bench
