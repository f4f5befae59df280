#pragma once

#include <GenApi/INodeMap.h>
#include <GenApi/PortImpl.h>

#include <cstdint>
#include <memory>
#include <string>

namespace Fakes {

/// What stands behind the nodes of a CRegisterNodes: numbered registers of 64 bits. Called with the node map's lock.
class IRegisters {
public:
    virtual std::int64_t ReadRegister(int number) = 0;
    virtual void WriteRegister(int number, std::int64_t value) = 0;

protected:
    ~IRegisters() = default;
};

// The text of one node over a register; nothing of it is cached.
std::string IntegerNode(const std::string& name, int number, const std::string& properties = {});
std::string BooleanNode(const std::string& name, int number, const std::string& properties = {});
std::string CommandNode(const std::string& name, int number);
std::string EnumerationNode(const std::string& name, int number, const std::string& entries);
std::string EnumEntry(const std::string& name, std::int64_t value);

/// A real node map of such nodes.
class CRegisterNodes final : private GenApi::CPortImpl {
public:
    CRegisterNodes(const std::string& nodes, IRegisters& registers);
    ~CRegisterNodes() override;

    GenApi::INodeMap* Map() const { return m_map; }

private:
    GenApi::EAccessMode GetAccessMode() const override { return GenApi::RW; }
    void Read(void* bytes, std::int64_t address, std::int64_t length) override;
    void Write(const void* bytes, std::int64_t address, std::int64_t length) override;

    IRegisters& m_registers;
    GenApi::INodeMap* m_map = nullptr; // owned
};

} // namespace Fakes
