// SPDX-License-Identifier: Apache-2.0
#include "Library.h"

#include "Errors.h"
#include "FilterCheck.h"

#include <zelmo/DeviceFilter.h>
#include <zelmo/Lifecycle.h>
#include <zelmo/TlFactory.h>
#include <zelmo/TransportLayer.h>
#include <zelmo/Utilities.h>

#include <cstdlib>

namespace tool {
namespace {

constexpr const char* kFilterVariable = "ZELMO_DEVICE_FILTER";

/// Plug-ins on the default interface filter for themselves; this holds for all the others too.
Zelmo::DeviceInfoList Admitted(const Zelmo::DeviceInfoList& found) {
    const Zelmo::DeviceInfoList* filter = Zelmo::GetGlobalDeviceFilterInstance();
    if (filter == nullptr) {
        return found;
    }
    Zelmo::DeviceInfoList admitted;
    for (const Zelmo::CDeviceInfo& device : found) {
        for (const Zelmo::CDeviceInfo& pattern : *filter) {
            if (device.IsSubset(pattern)) {
                admitted.push_back(device);
                break;
            }
        }
    }
    return admitted;
}

} // namespace

Library::Library(const GlobalOptions& options, Output& output) : m_filter(options.filter), m_log(options, output) {}

void Library::Start() {
    SetFilter();
    Zelmo::ZelmoInitialize();
    m_isStarted = true;
    try {
        Zelmo::CTlFactory::GetInstance();
    } catch (const GenICam::GenericException& error) {
        throw ToolError(ExitCode::Failed, "library",
                        std::string("The library does not start: ") + error.GetDescription() +
                            "; 'zelmo doctor' looks for the cause");
    }
}

Library::~Library() {
    if (m_isStarted) {
        Zelmo::ZelmoTerminate();
    }
}

void Library::SetFilter() const {
    if (m_filter.empty()) {
        return;
    }
    if (const std::string fault = FindFilterFault(m_filter); !fault.empty()) {
        throw UsageError("--filter '" + m_filter + "': " + fault +
                         ". Expected KEY=VALUE, joined by && and ||; for example "
                         "'DeviceClass=HarlixGigE && IpAddress=192.168.0.2'");
    }
    setenv(kFilterVariable, m_filter.c_str(), 1);
}

Zelmo::DeviceInfoList Library::FindDevices() {
    try {
        Zelmo::DeviceInfoList found;
        Zelmo::CTlFactory::GetInstance().EnumerateDevices(found, false);
        return Admitted(found);
    } catch (const GenICam::GenericException& error) {
        throw FromLibrary(error, "Looking for cameras");
    }
}

Zelmo::TlInfoList Library::FindTransportLayers() {
    try {
        Zelmo::TlInfoList found;
        Zelmo::CTlFactory::GetInstance().EnumerateTls(found);
        return found;
    } catch (const GenICam::GenericException& error) {
        throw FromLibrary(error, "Looking for transport layers");
    }
}

bool Library::CanCreate(const Zelmo::CTlInfo& info) {
    Zelmo::CTlFactory& factory = Zelmo::CTlFactory::GetInstance();
    Zelmo::ITransportLayer* layer = factory.CreateTl(info);
    factory.ReleaseTl(layer);
    return layer != nullptr;
}

std::string FindEnvironmentFilterFault() {
    const char* filter = std::getenv(kFilterVariable);
    const std::string fault = filter == nullptr || *filter == '\0' ? "" : FindFilterFault(filter);
    return fault.empty() ? "" : std::string(kFilterVariable) + " '" + filter + "': " + fault + ", and is passed over";
}

std::string GetPluginPath() {
    return Zelmo::getZelmoFolderPath(Zelmo::FolderType_TransportLayers);
}

} // namespace tool
