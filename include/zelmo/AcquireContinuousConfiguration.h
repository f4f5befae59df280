// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/ConfigurationEventHandler.h>
#include <zelmo/Export.h>

namespace GenApi {
struct INodeMap;
}

namespace Zelmo {

/// Sets a camera that was opened to free-running continuous acquisition. Every camera object registers one of its own
/// at first; register another configuration with RegistrationMode_ReplaceAll, or null, before Open to have it go.
class ZELMO_API CAcquireContinuousConfiguration : public CConfigurationEventHandler {
public:
    /// Switches off the triggers of all settable values of "TriggerSelector", and "ImageCompressionMode" where it can
    /// be written; sets "AcquisitionMode" to "Continuous". The selector stays at its last value.
    /// @throws GenICam::AccessException and others of the GenICam family, as without an "AcquisitionMode".
    static void ApplyConfiguration(GenApi::INodeMap& nodeMap);

    /// Applies it to the camera's node map. @throws GenICam::RuntimeException with the cause, which fails the opening.
    void OnOpened(CInstantCamera& camera) override;
};

} // namespace Zelmo
