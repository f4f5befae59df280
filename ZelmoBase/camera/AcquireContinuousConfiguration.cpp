// SPDX-License-Identifier: Apache-2.0
#include <zelmo/AcquireContinuousConfiguration.h>

#include <zelmo/EnumParameter.h>
#include <zelmo/InstantCamera.h>

#include <Base/GCException.h>

namespace Zelmo {

void CAcquireContinuousConfiguration::ApplyConfiguration(GenApi::INodeMap& nodeMap) {
    CEnumParameter triggerSelector(&nodeMap, "TriggerSelector");
    CEnumParameter triggerMode(&nodeMap, "TriggerMode");
    if (triggerSelector.IsWritable()) {
        StringList_t triggers;
        triggerSelector.GetSettableValues(triggers);
        for (const String_t& trigger : triggers) {
            triggerSelector.SetValue(trigger);
            triggerMode.SetValue("Off");
        }
    }
    if (CEnumParameter compression(&nodeMap, "ImageCompressionMode"); compression.IsWritable()) {
        compression.SetValue("Off");
    }
    CEnumParameter(&nodeMap, "AcquisitionMode").SetValue("Continuous");
}

void CAcquireContinuousConfiguration::OnOpened(CInstantCamera& camera) {
    try {
        ApplyConfiguration(camera.GetNodeMap());
    } catch (const GenICam::GenericException& e) {
        throw RUNTIME_EXCEPTION(
            "Could not apply configuration. Zelmo::GenericException caught in OnOpened method msg=%s",
            e.GetDescription());
    } catch (const std::exception& e) {
        throw RUNTIME_EXCEPTION("Could not apply configuration. std::exception caught in OnOpened method msg=%s",
                                e.what());
    } catch (...) {
        throw RUNTIME_EXCEPTION("Could not apply configuration. Unknown exception caught in OnOpened method.");
    }
}

} // namespace Zelmo
