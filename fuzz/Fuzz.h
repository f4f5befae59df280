// SPDX-License-Identifier: Apache-2.0
#pragma once

// What the fuzz targets share. A target may end any call with an exception of the standard's kinds; whatever else
// happens (a crash, another exception, a limit of time or memory) is a finding.

#include <GenApi/GenApi.h>

#include <fuzzer/FuzzedDataProvider.h>

#include <array>
#include <cstdint>
#include <memory>
#include <string_view>
#include <utility>

namespace Fuzz {

typedef FuzzedDataProvider Choices; ///< The input as a row of choices; when it is used up, all are zero.

inline int failures = 0; ///< of calls by Try; they cost most of the time

/// Makes each call, whatever becomes of those before.
template <typename... Calls>
void Try(Calls&&... calls) {
    (
        [](auto& call) {
            try {
                call();
            } catch (const GenICam::GenericException&) {
                ++failures;
            }
        }(calls),
        ...);
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

MapPtr Load(std::string_view description); ///< @return null for one that is refused as it should be.
MapPtr MakeMapOfAllKinds();                ///< of corpus/descriptions/all_kinds; all share its model
void UseNode(GenApi::INode& node);         ///< Asks for all that it can answer, and writes what it answered.
void UseMap(GenApi::INodeMap& map); ///< Uses each node over a device, until much has failed or some time has passed.

} // namespace Fuzz
