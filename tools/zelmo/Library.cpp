// SPDX-License-Identifier: Apache-2.0
#include "Library.h"

#include "Errors.h"

#include <zelmo/DeviceFilter.h>
#include <zelmo/Lifecycle.h>
#include <zelmo/TlFactory.h>
#include <zelmo/TransportLayer.h>
#include <zelmo/Utilities.h>

#include <cstdlib>

namespace tool {
namespace {

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

void SetFilter(const std::string& filter) {
    if (!filter.empty()) {
        setenv("ZELMO_DEVICE_FILTER", filter.c_str(), 1);
    }
}

} // namespace

Library::Library(const GlobalOptions& options, Output& output) : m_log(options, output) {
    SetFilter(options.filter);
    Zelmo::ZelmoInitialize();
    try {
        Zelmo::CTlFactory::GetInstance();
        if (!options.filter.empty() && Zelmo::GetGlobalDeviceFilterInstance() == nullptr) {
            throw UsageError("--filter '" + options.filter +
                             "': no condition found. Expected KEY=VALUE, joined by && and ||; for example "
                             "'DeviceClass=HarlixGigE && IpAddress=192.168.0.2'");
        }
    } catch (const GenICam::GenericException& error) {
        Zelmo::ZelmoTerminate();
        throw FromLibrary(error, "Starting the library");
    } catch (...) {
        Zelmo::ZelmoTerminate();
        throw;
    }
}

Library::~Library() {
    Zelmo::ZelmoTerminate();
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

std::string GetPluginPath() {
    return Zelmo::getZelmoFolderPath(Zelmo::FolderType_TransportLayers);
}

} // namespace tool
