#pragma once

// What the fuzz targets share. A target may end any call with an exception of the standard's kinds; whatever else
// happens (a crash, another exception, a limit of time or memory) is a finding.

#include <array>
#include <cstdint>
#include <memory>
#include <string_view>
#include <utility>

#include <fuzzer/FuzzedDataProvider.h>

#include <GenApi/GenApi.h>

namespace Fuzz {

/// The input as a row of choices; when it is used up, all are zero.
typedef FuzzedDataProvider Choices;

template <typename Call>
void Try(Call&& call) {
    try {
        std::forward<Call>(call)();
    } catch (const GenICam::GenericException&) {
    }
}

/// Ends the process, and thereby makes a finding of the input, unless this holds.
void Require(bool holds, const char* what);

struct DestroyMap {
    void operator()(GenApi::INodeMap* map) const { dynamic_cast<GenApi::IDestroy&>(*map).Destroy(); }
};
typedef std::unique_ptr<GenApi::INodeMap, DestroyMap> MapPtr;

struct Memory {
    std::array<std::uint8_t, 256> bytes;
};
typedef GenApi::CTestPortStruct<Memory> Device; ///< refuses whatever is outside its bytes

/// Loads a description, by content text or archive. @return null for one that is refused as it should be.
MapPtr Load(std::string_view description);

/// Asks a node for all that it can answer, and writes what it answered.
void UseNode(GenApi::INode& node);

/// Does so with each node over a device, in turn, until some time has passed.
void UseMap(GenApi::INodeMap& map);

} // namespace Fuzz
