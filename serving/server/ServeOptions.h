// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <serving/Faults.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Serving {

struct CServeOptions {
    std::optional<std::uint32_t> cameras;
    std::vector<std::uint32_t> addresses;
    std::optional<std::string> interface; ///< without: the loopback interface
    std::uint64_t rateBytesPerS = 125'000'000;
    std::vector<CFaultOrder> faults;
    std::uint32_t seed = 1;
    bool isSchema11 = true; ///< of the description; else 1.0
    bool manageAddresses = false, allowRedirect = false;
    bool listFaults = false;
    bool json = false, quiet = false;

    static constexpr std::uint32_t kMaxCameras = 1000;
};

/// What the tool passes on, or somebody types. @return nullopt when @p help was asked for and is told instead.
/// @throws CServeError that names what is wrong.
std::optional<CServeOptions> ParseServeOptions(int argc, const char* const* argv, std::string& help);

} // namespace Serving
