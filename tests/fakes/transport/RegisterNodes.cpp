#include "RegisterNodes.h"

#include <GenApi/IDestroy.h>
#include <GenApi/NodeMapFactory.h>

#include <cstring>

namespace Fakes {
namespace {

std::string Describe(const std::vector<CFeature>& features) {
    std::string names, nodes;
    for (const CFeature& feature : features) {
        const std::string name = feature.name;
        const std::string address = std::to_string(feature.number * 8);
        names += "<pFeature>" + name + "</pFeature>";
        nodes += std::string("<") + feature.kind + " Name='" + name + "'>" + feature.properties + "<pValue>" + name +
                 "Register</pValue></" + feature.kind + "><IntReg Name='" + name + "Register'><Address>" + address +
                 "</Address><Length>8</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>" +
                 "<Cachable>NoCache</Cachable><Sign>Signed</Sign><Endianess>LittleEndian</Endianess></IntReg>";
    }
    return "<RegisterDescription ModelName='F' VendorName='T' StandardNameSpace='None' SchemaMajorVersion='1' "
           "SchemaMinorVersion='1' SchemaSubMinorVersion='0' MajorVersion='1' MinorVersion='0' SubMinorVersion='0' "
           "ToolTip='' ProductGuid='1' VersionGuid='1' xmlns='http://www.genicam.org/GenApi/Version_1_1'>"
           "<Category Name='Root'>" +
           names + "</Category>" + nodes + "<Port Name='Device'/></RegisterDescription>";
}

} // namespace

CRegisterNodes::CRegisterNodes(const std::vector<CFeature>& features, IRegisters& registers)
    : m_registers(registers), m_map(GenApi::CNodeMapFactory(GenApi::gcstring(Describe(features))).CreateNodeMap()) {
    m_map->Connect(this);
}

CRegisterNodes::~CRegisterNodes() {
    dynamic_cast<GenApi::IDestroy&>(*m_map).Destroy();
}

void CRegisterNodes::Read(void* bytes, std::int64_t address, std::int64_t length) {
    const std::int64_t value = m_registers.ReadRegister(static_cast<int>(address / 8));
    std::memcpy(bytes, &value, static_cast<std::size_t>(length));
}

void CRegisterNodes::Write(const void* bytes, std::int64_t address, std::int64_t length) {
    std::int64_t value = 0;
    std::memcpy(&value, bytes, static_cast<std::size_t>(length));
    m_registers.WriteRegister(static_cast<int>(address / 8), value);
}

} // namespace Fakes
