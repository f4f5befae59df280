// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/GenApi.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace genicam_bench {

/// A device of plain memory, which stands at all addresses over and over; an access takes at most half of it.
class MemoryPort final : public GenApi::CPortImpl {
public:
    GenApi::EAccessMode GetAccessMode() const override { return GenApi::RW; }
    void Read(void* buffer, int64_t address, int64_t length) override;
    void Write(const void* buffer, int64_t address, int64_t length) override;

private:
    static constexpr std::size_t kSize = 1 << 20;
    std::uint8_t* At(std::int64_t address) { return &m_memory[static_cast<std::uint64_t>(address) % (kSize / 2)]; }

    std::vector<std::uint8_t> m_memory = std::vector<std::uint8_t>(kSize);
};

struct DestroyMap {
    void operator()(GenApi::INodeMap* map) const { dynamic_cast<GenApi::IDestroy&>(*map).Destroy(); }
};
using MapPtr = std::unique_ptr<GenApi::INodeMap, DestroyMap>;

struct Description {
    std::string name;
    std::string text;
};

GenApi::CNodeMapFactory MakeFactory(const Description& description); ///< borrows the text

/// A camera of many locked and limited features over registers, with a formula for each; and, once each, what the
/// accesses that are measured need.
Description GenerateCamera(unsigned int nodes);

/// A hub that @p dependents nodes take their maximum from, among other nodes that have nothing to do with it.
Description GenerateHub(unsigned int nodes, unsigned int dependents);

/// The real descriptions in the folder that ZELMO_TEST_DESCRIPTIONS names, by name; none if it is not set.
std::vector<Description> ReadRealDescriptions();

} // namespace genicam_bench
