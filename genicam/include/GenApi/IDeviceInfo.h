// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <Base/GCLinkage.h>

#include <GenApi/Types.h>

namespace GenApi {

/// What a description says about itself and the device it describes.
struct GENICAM_API IDeviceInfo {
    virtual gcstring GetModelName() = 0;
    virtual gcstring GetVendorName() = 0;
    virtual gcstring GetToolTip() = 0;
    virtual gcstring GetStandardNameSpace() = 0;
    virtual void GetGenApiVersion(GenICam::Version_t& Version, uint16_t& Build) = 0; ///< Of this library.
    virtual void GetSchemaVersion(GenICam::Version_t& Version) = 0;
    virtual void GetDeviceVersion(GenICam::Version_t& Version) = 0; ///< Of the description.
    virtual gcstring GetProductGuid() = 0;
    virtual gcstring GetVersionGuid() = 0;

protected:
    ~IDeviceInfo() = default;
};

} // namespace GenApi
