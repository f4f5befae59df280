#pragma once

#include <GenApi/INodeMap.h>
#include <GenApi/PortImpl.h>

#include <cstdint>
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
    CRegisterNodes(const std::vector<CFeature>& features, IRegisters& registers);
    ~CRegisterNodes() override;

    GenApi::INodeMap* Map() const { return m_map; }

private:
    GenApi::EAccessMode GetAccessMode() const override { return GenApi::RW; }
    void Read(void* bytes, std::int64_t address, std::int64_t length) override;
    void Write(const void* bytes, std::int64_t address, std::int64_t length) override;

    IRegisters& m_registers;
    GenApi::INodeMap* m_map; // owned
};

} // namespace Fakes
