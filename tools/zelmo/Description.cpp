// SPDX-License-Identifier: Apache-2.0
#include "Description.h"

#include "DeviceSelector.h"
#include "Errors.h"

#include <zelmo/Device.h>
#include <zelmo/TlFactory.h>

#include <GenApi/GenApi.h>

namespace tool {
namespace {

struct DeviceDestroyer {
    void operator()(Zelmo::IZelmoDevice* device) const noexcept {
        try {
            Zelmo::CTlFactory::GetInstance().DestroyDevice(device);
        } catch (const std::exception&) { // the verb's result stands; the library logged the cause
        }
    }
};

} // namespace

Description FetchDescription(const Zelmo::CDeviceInfo& info) {
    const std::string camera = GetCameraName(info);
    try {
        const std::unique_ptr<Zelmo::IZelmoDevice, DeviceDestroyer> device(
            Zelmo::CTlFactory::GetInstance().CreateDevice(info));
        auto* source = dynamic_cast<Zelmo::IDescriptionSource*>(device.get());
        if (source == nullptr) {
            throw FeatureError("", "no_description",
                               "Camera " + camera + ": its transport layer does not give out descriptions");
        }
        Zelmo::String_t url;
        Zelmo::String_t bytes;
        source->GetDescription(url, bytes);
        return {url.c_str(), std::string(bytes.c_str(), bytes.size())};
    } catch (const GenICam::GenericException& error) {
        throw FromLibrary(error, "Reading the description of camera " + camera);
    }
}

void NodeMapDestroyer::operator()(GenApi::INodeMap* nodeMap) const {
    dynamic_cast<GenApi::IDestroy&>(*nodeMap).Destroy();
}

NodeMapPtr LoadDescription(const std::string& bytes) {
    GenApi::CNodeMapFactory factory(GenApi::ContentType_Xml, bytes.data(), bytes.size());
    return NodeMapPtr(factory.CreateNodeMap());
}

} // namespace tool
