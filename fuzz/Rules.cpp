// SPDX-License-Identifier: Apache-2.0

// Rule files: read, and asked for one camera.

#include "ZelmoBase/binding/ConfigFileRegistryImpl.h"
#include <zelmo/DeviceInfo.h>

#include <Base/GCException.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

using namespace Zelmo;

void Require(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "This does not hold: %s\n", what);
        std::abort();
    }
}

CDeviceInfo Camera() {
    CDeviceInfo camera;
    camera.SetDeviceClass("HarlixGigE").SetVendorName("Harlix").SetModelName("q12.4 gc").SetSerialNumber("0815-4711");
    return camera;
}

void Add(CConfigFileRegistryImpl& rules, const String_t& text) {
    try {
        rules.AddRules(text);
    } catch (const GenICam::RuntimeException&) { // what stands before the fault stays
    }
}

void Ask(const CConfigFileRegistryImpl& rules) {
    static const CDeviceInfo kCamera = Camera();
    try {
        const auto matching = rules.GetMatchingRules("HarlixGigE", "Harlix", "q12.4 gc", "0815-4711");
        const CBindingReport report = rules.Explain(kCamera);
        Require(report.matching.size() == matching.size(), "the report has the rules that match");
        Require(report.binding.IsDefault == matching.empty(), "the default is what is left without a rule");
        Require(report.binding.HasFile != report.binding.File.empty(), "a file has a name");
        for (const CBindingRule& rule : matching) {
            Require(rule.priority <= matching[report.winner].priority, "no rule has a higher priority than the winner");
        }
    } catch (const GenICam::RuntimeException&) { // an expression that would take too long
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    CConfigFileRegistryImpl rules;
    Add(rules, String_t(reinterpret_cast<const char*>(data), size));
    Ask(rules);
    return 0;
}
