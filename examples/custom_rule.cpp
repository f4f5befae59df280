// SPDX-License-Identifier: Apache-2.0

// Lets a rule file choose the description that a camera is opened with, and says which rule it was. The files are made
// here, to be seen; those of a site lie in the folder that docs/configuration.md names.
#include <zelmo/zelmo.h>

#include <GenApi/GenApi.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>

namespace {

const char kRules[] = R"(<BindingRules type="custom">
    <TransportLayer name="HarlixCamEmu">
        <Rule priority="10">
            <Name>Emul.*</Name>
            <Download>no</Download>
            <File>Exposure.xml</File>
        </Rule>
    </TransportLayer>
</BindingRules>)";

const char kDescription[] = R"(<RegisterDescription>
    <Category Name="Root"><pFeature>ExposureInMs</pFeature></Category>
    <SwissKnife Name="ExposureInMs"><pVariable Name="US">Us</pVariable><Formula>US / 1000</Formula></SwissKnife>
    <FloatReg Name="Us"><Address>0x428</Address><Length>8</Length><pPort>Device</pPort></FloatReg>
    <Port Name="Device"/>
</RegisterDescription>)";

void ShowExposure(Zelmo::IZelmoDevice& device) {
    const Zelmo::CBindingReport report = Zelmo::ExplainBinding(device.GetDeviceInfo());
    std::cout << "rule of " << report.matching.at(report.winner).origin << ", description " << report.binding.File
              << '\n';
    device.Open(Zelmo::AccessModeSet(Zelmo::Control));
    std::cout << "exposure " << GenApi::CFloatPtr(device.GetNodeMap()->GetNode("ExposureInMs"))->GetValue() << " ms\n";
}

} // namespace

int main() {
    const std::filesystem::path folder = std::filesystem::temp_directory_path() / "zelmo-custom-rule";
    std::filesystem::create_directory(folder);
    std::ofstream(folder / "RulesExample.xml") << kRules;
    std::ofstream(folder / "Exposure.xml") << kDescription;
    setenv("ZELMO_CONFIG_FILE_REGISTRY_PATH", folder.c_str(), 1); // of the rule files
    setenv("ZELMO_DEFAULT_CDF_DIR", folder.c_str(), 1);           // of the descriptions that they name
    const Zelmo::ZelmoScope zelmo;
    try {
        Zelmo::CTlFactory& factory = Zelmo::CTlFactory::GetInstance();
        Zelmo::IZelmoDevice* device = factory.CreateFirstDevice(Zelmo::CDeviceInfo());
        ShowExposure(*device);
        factory.DestroyDevice(device);
        return 0;
    } catch (const GenICam::GenericException& e) {
        std::cerr << e.GetDescription() << '\n';
        return 1;
    }
}
