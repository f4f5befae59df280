// SPDX-License-Identifier: Apache-2.0
#include "common/DescriptionBinding.h"

#include <Base/GCException.h>
#include <GenApi/NodeMapFactory.h>
#include <zelmo/BindingReport.h>
#include <zelmo/ConfigFileRegistry.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace PluginKit {

namespace {

using CBinding = Zelmo::CConfigFileRegistry::CBinding;

[[noreturn]] void Fail(const Zelmo::CDeviceInfo& device, const std::string& cause) {
    throw RUNTIME_EXCEPTION("Cannot open device '" + std::string(device.GetFullName().c_str()) + "': " + cause);
}

CBoundDescription Bind(GenApi::CNodeMapFactory factory, GenApi::IPort& port) {
    NodeMapPtr nodeMap = MakeNodeMap(factory, port);
    return {std::move(factory), std::move(nodeMap)};
}

// With the additional files, which are read anew each time: they are a site's, and few.
CBoundDescription BindMerged(GenApi::CNodeMapFactory factory, const CBinding& binding, GenApi::IPort& port) {
    std::vector<GenApi::CNodeMapFactory> injections;
    for (const Zelmo::String_t& file : binding.AdditionalFiles) {
        if (!file.empty()) {
            injections.emplace_back(GenApi::ContentType_Xml, file);
            factory.AddInjectionData(injections.back());
        }
    }
    return Bind(std::move(factory), port);
}

CBoundDescription BindFromDevice(const CBinding& binding, GenApi::IPort& port, const CDownload& download) {
    GenApi::CNodeMapFactory factory = download(binding.HasAdditionalFiles);
    return binding.HasAdditionalFiles ? BindMerged(std::move(factory), binding, port) : Bind(std::move(factory), port);
}

// Nothing when it fails; then the text of the failure is added to the causes.
template <class Make>
std::optional<CBoundDescription> TryMake(const std::string& source, std::string& causes, Make make) {
    try {
        return make();
    } catch (const GenICam::BadAllocException&) {
        throw; // says nothing about the description
    } catch (const GenICam::GenericException& e) {
        causes += (causes.empty() ? "" : " ") + source + ": " + e.GetDescription();
        return {};
    }
}

CBinding FindBinding(const Zelmo::CDeviceInfo& device) {
    try {
        return Zelmo::CConfigFileRegistry::GetInstance().GetXmlFileBinding(device);
    } catch (const GenICam::BadAllocException&) {
        throw;
    } catch (const GenICam::GenericException& e) {
        Fail(device, "the binding rules cannot be applied (the log names the file at fault, and so does 'zelmo "
                     "doctor'): " +
                         std::string(e.GetDescription()));
    }
}

} // namespace

CBoundDescription MakeBoundNodeMap(const Zelmo::CDeviceInfo& device, GenApi::IPort& port, const CDownload& download) {
    const CBinding binding = FindBinding(device);
    if (!binding.Download && !binding.HasFile) {
        const Zelmo::CBindingReport report = Zelmo::ExplainBinding(device);
        Fail(device, "the binding rule of " + report.matching.at(report.winner).origin.str() +
                         " forbids the download of its description and names no file.");
    }
    std::string causes;
    std::optional<CBoundDescription> made;
    if (binding.Download) {
        made = TryMake("Its own description cannot be used", causes,
                       [&] { return BindFromDevice(binding, port, download); });
    }
    if (!made && binding.HasFile) {
        made = TryMake("The description file '" + binding.File.str() + "' cannot be used", causes, [&] {
            return BindMerged(GenApi::CNodeMapFactory(GenApi::ContentType_Xml, binding.File), binding, port);
        });
    }
    if (!made) {
        Fail(device, causes);
    }
    return std::move(*made);
}

} // namespace PluginKit
