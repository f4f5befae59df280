// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Json.h"

#include <zelmo/DeviceInfo.h>
#include <zelmo/GigEVisionNetwork.h>

#include <string>

namespace Zelmo {
class ITransportLayer;
}

namespace tool {

class Output;

inline constexpr const char* kGigEDeviceClass = "HarlixGigE";

bool IsGigECamera(const Zelmo::CDeviceInfo& info);

/// Why it cannot be opened from this host; empty when it can be.
std::string GetSubnetVerdict(const Zelmo::CDeviceInfo& info);

/// How it is reached, as columns of a table and keys of an object know it. Empty texts where that is not told.
struct GigEPlace {
    std::string address; ///< Of the camera; likewise the next ones.
    std::string mask;
    std::string mac;
    std::string hostAddress;
    std::string interface; ///< That it was found on.
    std::string verdict;

    Json ToJson() const;            ///< Keys of "device"; the verdict only where there is one.
    std::string GetAddress() const; ///< "192.168.7.20/24"
};
GigEPlace GetGigEPlace(const Zelmo::CDeviceInfo& info);

/// A note for each camera that cannot be opened because of its address.
void TellVerdicts(const Zelmo::DeviceInfoList& devices, Output& output);

/// What GigE Vision has beyond the contract of transport layers, as long as this lives.
class GigENetwork {
public:
    /// @throws ToolError when no plug-in offers it.
    GigENetwork();
    ~GigENetwork();
    GigENetwork(const GigENetwork&) = delete;
    GigENetwork& operator=(const GigENetwork&) = delete;

    Zelmo::IGigEVisionNetwork* operator->() const noexcept { return m_network; }

private:
    Zelmo::ITransportLayer* m_layer;
    Zelmo::IGigEVisionNetwork* m_network;
};

} // namespace tool
