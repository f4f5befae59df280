// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "plugins/OpenCamera.h"
#include "serving/OwnAddress.h"
#include "tool/ToolProcess.h"

#include <zelmo/Lifecycle.h>

#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

/// What tests of the plug-in for GigE Vision share. Cameras are at addresses of the test process alone.
namespace GigE {

using namespace Plugins;

/// The n-th camera's, counted from 0.
inline std::string AddressOf(unsigned camera) {
    return Serving::OwnAddressText(10 + camera);
}
inline std::uint32_t AddressNumberOf(unsigned camera) {
    return Serving::OwnAddress(10 + camera);
}

/// Cameras served by a process of their own.
class Served {
public:
    explicit Served(unsigned cameras = 1, std::vector<std::string> options = {}) {
        for (unsigned camera = 0; camera < cameras; ++camera) {
            options.insert(options.end(), {"--address", AddressOf(camera)});
        }
        m_process.emplace(options, ToolProcess::Settings());
        EXPECT_TRUE(m_process->WaitForOutput("Ctrl+C ends it"));
    }
    /// A line on its standard input, and until it was done.
    void Type(const std::string& line) {
        const std::string done = "done" + std::to_string(++m_lines);
        m_process->Type(line + "\nreset " + done + "\n");
        EXPECT_TRUE(m_process->WaitForOutput("There is no camera '" + done + "'"));
    }
    void Stop() { m_process->Signal(SIGSTOP); } ///< Neither hears nor sends, until Continue.
    void Continue() { m_process->Signal(SIGCONT); }
    void Kill() { m_process.reset(); }

private:
    std::optional<ToolProcess> m_process;
    int m_lines = 0;
};

/// The library, which looks at nothing but the cameras' addresses.
class Library {
public:
    explicit Library(unsigned cameras = 1) {
        std::string addresses;
        for (unsigned camera = 0; camera < cameras; ++camera) {
            addresses += AddressOf(camera) + " ";
        }
        setenv("ZELMO_GIGE", addresses.c_str(), 1);
        setenv("ZELMO_CAMEMU", "0", 1);
        Zelmo::ZelmoInitialize();
    }
    ~Library() { Zelmo::ZelmoTerminate(false); }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;
};

inline Zelmo::DeviceInfoList Devices() {
    Zelmo::DeviceInfoList list;
    Zelmo::CTlFactory::GetInstance().EnumerateDevices(list);
    return list;
}

inline DevicePtr Create(unsigned camera = 0) {
    Zelmo::CDeviceInfo info;
    info.SetDeviceClass("HarlixGigE");
    info.SetPropertyValue("IpAddress", AddressOf(camera).c_str());
    return DevicePtr(Zelmo::CTlFactory::GetInstance().CreateDevice(info));
}

/// A device that gives up soon.
inline DevicePtr CreateImpatient(unsigned camera = 0) {
    DevicePtr device = Create(camera);
    GenApi::CIntegerPtr(device->GetTLNodeMap()->GetNode("HeartbeatTimeout"))->SetValue(500);
    return device;
}

/// What its connection says of it.
inline std::string AccessStatus(Zelmo::IZelmoDevice& device) {
    return GenApi::CValuePtr(device.GetTLNodeMap()->GetNode("DeviceAccessStatus"))->ToString().c_str();
}

} // namespace GigE
