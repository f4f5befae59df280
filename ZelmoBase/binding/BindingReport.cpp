// SPDX-License-Identifier: Apache-2.0
#include <zelmo/BindingReport.h>

#include "XMLWrapperLib/WrapXml.h"
#include "ZelmoBase/binding/AsRuntimeException.h"
#include "ZelmoBase/binding/ConfigFileRegistryImpl.h"
#include "ZelmoBase/binding/RuleFolder.h"
#include "ZelmoBase/core/Guarded.h"

#include <Base/GCAllocating.h>

#include <string>

namespace Zelmo {
namespace {

CRuleFileReport CheckRuleFile(const std::string& path) {
    CRuleFileReport report;
    report.path = path;
    const auto read = [&] {
        CXmlNode root;
        root.LoadFromFile(report.path);
        CConfigFileRegistryImpl rules;
        rules.AddRules(root, report.path);
        report.rules = rules.CountRules();
    };
    RunGuarded(read, [&](const char* text) { report.failure = text != nullptr ? text : "Unknown exception"; });
    return report;
}

} // namespace

CBindingReport ExplainBinding(const CDeviceInfo& device) {
    const CConfigFileRegistry& registry = CConfigFileRegistry::GetInstance();
    return GenICam::Allocating([&] { return registry.m_impl->Explain(device); });
}

CRuleFolderReport CheckRuleFolder() {
    return AsRuntimeException([] {
        const CRuleFolder folder = ListRuleFolder();
        CRuleFolderReport report{folder.path, folder.obstacle, {}};
        for (const std::string& file : folder.files) {
            report.files.push_back(CheckRuleFile(file));
        }
        return report;
    });
}

} // namespace Zelmo
