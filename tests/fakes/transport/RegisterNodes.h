// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/IDestroy.h>
#include <GenApi/NodeMapFactory.h>
#include <GenApi/PortImpl.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace Fakes {

/// What stands behind the nodes of a CRegisterNodes: numbered registers of 64 bits. Called with the node map's lock.
class IRegisters {
public:
    virtual std::int64_t ReadRegister(int number) = 0;
    virtual void WriteRegister(int number, std::int64_t value) = 0;

protected:
    ~IRegisters() = default;
};

/// A feature over a register; nothing of it is cached.
struct CFeature {
    const char* kind; ///< the element, such as Integer
    const char* name;
    int number;             ///< of its register
    std::string properties; ///< further elements
};

/// A real node map of such features.
class CRegisterNodes final : private GenApi::CPortImpl {
public:
    CRegisterNodes(const std::vector<CFeature>& features, IRegisters& registers)
        : m_registers(registers), m_map(GenApi::CNodeMapFactory(GenApi::gcstring(Describe(features))).CreateNodeMap()) {
        m_map->Connect(this);
    }
    ~CRegisterNodes() override { dynamic_cast<GenApi::IDestroy&>(*m_map).Destroy(); }

    GenApi::INodeMap* Map() const { return m_map; }

private:
    static std::string Describe(const std::vector<CFeature>& features) {
        std::string names, nodes;
        for (const auto& [kind, name, number, properties] : features) {
            const std::string reg = std::string(name) + "Register";
            names += std::string("<pFeature>") + name + "</pFeature>";
            nodes += std::string("<") + kind + " Name='" + name + "'>" + properties + "<pValue>" + reg + "</pValue></" +
                     kind + "><IntReg Name='" + reg + "'><Address>" + std::to_string(number * 8) +
                     "</Address><Length>8</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>" +
                     "<Cachable>NoCache</Cachable><Sign>Signed</Sign><Endianess>LittleEndian</Endianess></IntReg>";
        }
        return "<RegisterDescription ModelName='F' VendorName='T' StandardNameSpace='None' SchemaMajorVersion='1' "
               "SchemaMinorVersion='1' SchemaSubMinorVersion='0' MajorVersion='1' MinorVersion='0' "
               "SubMinorVersion='0' ToolTip='' ProductGuid='1' VersionGuid='1' "
               "xmlns='http://www.genicam.org/GenApi/Version_1_1'><Category Name='Root'>" +
               names + "</Category>" + nodes + "<Port Name='Device'/></RegisterDescription>";
    }

    GenApi::EAccessMode GetAccessMode() const override { return GenApi::RW; }
    void Read(void* bytes, std::int64_t address, std::int64_t length) override {
        const std::int64_t value = m_registers.ReadRegister(static_cast<int>(address / 8));
        std::memcpy(bytes, &value, static_cast<std::size_t>(length));
    }
    void Write(const void* bytes, std::int64_t address, std::int64_t length) override {
        std::int64_t value = 0;
        std::memcpy(&value, bytes, static_cast<std::size_t>(length));
        m_registers.WriteRegister(static_cast<int>(address / 8), value);
    }

    IRegisters& m_registers;
    GenApi::INodeMap* m_map; // owned
};

} // namespace Fakes
