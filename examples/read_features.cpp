// SPDX-License-Identifier: Apache-2.0

// Walks the categories of the first camera and prints each feature that can be read, with its value.
#include <zelmo/zelmo.h>

#include <GenApi/GenApi.h>

#include <iostream>
#include <string>

namespace {

// Returns how many values were printed.
int PrintCategory(const GenApi::CCategoryPtr& category, int level) {
    const std::string indent(2 * level, ' ');
    std::cout << indent << category->GetNode()->GetDisplayName() << '\n';
    GenApi::FeatureList_t features;
    category->GetFeatures(features);
    int printed = 0;
    for (GenApi::IValue* feature : features) {
        const GenApi::CCategoryPtr inner(feature);
        if (inner.IsValid()) {
            printed += PrintCategory(inner, level + 1);
        } else if (GenApi::IsReadable(feature)) {
            std::cout << indent << "  " << feature->GetNode()->GetName() << " = " << feature->ToString() << '\n';
            ++printed;
        }
    }
    return printed;
}

} // namespace

int main() {
    const Zelmo::ZelmoScope zelmo;
    try {
        Zelmo::CTlFactory& factory = Zelmo::CTlFactory::GetInstance();
        Zelmo::IZelmoDevice* device = factory.CreateFirstDevice(Zelmo::CDeviceInfo());
        device->Open(Zelmo::AccessModeSet(Zelmo::Control));
        const int printed = PrintCategory(device->GetNodeMap()->GetNode("Root"), 0);
        std::cout << printed << " features can be read\n";
        device->Close();
        factory.DestroyDevice(device);
        return 0;
    } catch (const GenICam::GenericException& e) {
        std::cerr << e.GetDescription() << '\n';
        return 1;
    }
}
