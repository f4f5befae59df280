// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/binding/ConfigFileRegistryImpl.h"

#include "ZelmoBase/binding/AsRuntimeException.h"
#include "ZelmoBase/binding/BindingChoice.h"
#include "ZelmoBase/binding/BindingFileName.h"
#include "ZelmoBase/binding/RuleFolder.h"
#include "ZelmoBase/binding/RuleReader.h"
#include "ZelmoBase/core/BuiltinDocuments.h"
#include "ZelmoBase/transport/TlFactoryLog.h"
#include <zelmo/DeviceInfo.h>

#include <Base/GCException.h>

#include <algorithm>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>

namespace Zelmo {
namespace {

// Calls @p process for each child; there must be one, and all must have this name.
template <typename Process>
void ForEachChild(const CXmlNode& parent, const char* name, Process&& process) {
    CXmlNode child = parent.GetFirstChild();
    do {
        if (!child.IsElement() || child.GetName() != name) {
            throw RUNTIME_EXCEPTION("CConfigFileRegistryImpl parser expected <%s> but found unexpected node: %s.", name,
                                    child.GetName().c_str());
        }
        process(child);
    } while (child.MoveToNextSibling());
}

// Empty for one that is not set: what the accessors answer then is no text to match.
String_t PropertyOf(const CDeviceInfo& device, const char* name) {
    String_t value;
    device.GetPropertyValue(name, value);
    return value;
}

CConfigFileRegistry::CBinding MakeBinding(const CBindingRule& rule) {
    String_t file = rule.file;
    StringList_t additionalFiles = rule.additionalFiles;
    ResolveBindingFileName(file);
    for (String_t& additional : additionalFiles) {
        ResolveBindingFileName(additional);
    }
    return {rule.download, !file.empty(), file.c_str(), !additionalFiles.empty(), additionalFiles};
}

CConfigFileRegistry::CBinding MakeBinding(const std::vector<CBindingRule>& matching, const CBindingChoice& choice) {
    static const CConfigFileRegistry::CBinding kDefault(true, false, "", true);
    return choice.step == BindingStep_Default ? kDefault : MakeBinding(matching[choice.winner]);
}

CBindingRuleInfo Describe(const CBindingRule& rule) {
    CBindingRuleInfo info;
    info.origin = rule.origin;
    info.priority = rule.priority;
    info.custom = rule.custom;
    info.manufacturer = rule.manufacturer.str();
    info.modelName = rule.modelName.str();
    info.serialNumber = rule.serialNumber.str();
    info.download = rule.download;
    info.file = rule.file;
    info.additionalFiles = rule.additionalFiles;
    return info;
}

} // namespace

void CConfigFileRegistryImpl::AddRulesFromResources(const String_t& resourceName) {
    std::string_view text;
    if (FindBuiltinDocument(resourceName.view(), text)) {
        AddRules(String_t(text));
    }
}

void CConfigFileRegistryImpl::AddRulesFromRegistryDir() {
    AsRuntimeException([this] {
        const CRuleFolder folder = ListRuleFolder();
        for (const std::string& file : folder.files) {
            AddRuleFile(file);
        }
    });
}

void CConfigFileRegistryImpl::AddRuleFile(const String_t& path) {
    try {
        AsRuntimeException([&] {
            CXmlNode root;
            root.LoadFromFile(path);
            hxlog::LogTrace(TlFactoryCatId(), hxlog::LogLevel_Info, "Adding rules from file: '%s'", path.c_str());
            AddRules(root, path);
        });
    } catch (const GenICam::GenericException& e) {
        hxlog::LogTrace(TlFactoryCatId(), hxlog::LogLevel_Error, "Cannot read rule file %s: %s", path.c_str(),
                        e.GetDescription());
        throw;
    }
}

void CConfigFileRegistryImpl::AddRules(const String_t& xmlText) {
    AsRuntimeException([&] {
        CXmlNode root;
        root.LoadFromString(xmlText);
        AddRules(root, kBuiltInOrigin);
    });
}

void CConfigFileRegistryImpl::AddRules(CXmlNode root, const String_t& origin) {
    const bool custom = root.GetAttribute("type").GetValue() == "custom";
    ForEachChild(root, "TransportLayer",
                 [&](const CXmlNode& node) { ProcessTransportLayerNode(node, custom, origin); });
}

void CConfigFileRegistryImpl::ProcessTransportLayerNode(const CXmlNode& node, bool custom, const String_t& origin) {
    const CXmlNode name = node.GetAttribute("name");
    if (name.IsNull()) {
        throw RUNTIME_EXCEPTION("CConfigFileRegistry::ProcessTransportLayerNode: XML Parsing failed, TL without name");
    }
    ForEachChild(node, "Rule", [&](const CXmlNode& rule) { ProcessRuleNode(name.GetValue(), rule, custom, origin); });
}

void CConfigFileRegistryImpl::ProcessRuleNode(const String_t& transportLayerName, const CXmlNode& node, bool custom,
                                              const String_t& origin) {
    std::vector<CBindingRule>& rules = m_rules[transportLayerName]; // made even for a rule that fails
    CBindingRule rule = ReadRule(node);
    rule.custom = custom;
    rule.origin = origin;
    rules.push_back(std::move(rule));
}

std::size_t CConfigFileRegistryImpl::CountRules() const {
    std::size_t count = 0;
    for (const auto& [deviceClass, rules] : m_rules) {
        count += rules.size();
    }
    return count;
}

std::vector<CBindingRule> CConfigFileRegistryImpl::GetMatchingRules(const String_t& deviceClass,
                                                                    const String_t& manufacturer,
                                                                    const String_t& modelName,
                                                                    const String_t& serialNumber) const {
    const auto found = m_rules.find(deviceClass);
    if (found == m_rules.end()) {
        return {};
    }
    std::vector<CBindingRule> matching;
    std::copy_if(found->second.begin(), found->second.end(), std::back_inserter(matching),
                 [&](const CBindingRule& rule) { return IsMatch(rule, manufacturer, modelName, serialNumber); });
    return matching;
}

std::vector<CBindingRule> CConfigFileRegistryImpl::GetMatchingRules(const CDeviceInfo& device) const {
    return GetMatchingRules(PropertyOf(device, "DeviceClass"), PropertyOf(device, "VendorName"),
                            PropertyOf(device, "ModelName"), PropertyOf(device, "SerialNumber"));
}

CConfigFileRegistry::CBinding CConfigFileRegistryImpl::GetXmlFileBinding(const CDeviceInfo& device) const {
    const std::vector<CBindingRule> matching = GetMatchingRules(device);
    return MakeBinding(matching, ChooseRule(matching));
}

CBindingReport CConfigFileRegistryImpl::Explain(const CDeviceInfo& device) const {
    const std::vector<CBindingRule> matching = GetMatchingRules(device);
    const CBindingChoice choice = ChooseRule(matching);
    CBindingReport report{MakeBinding(matching, choice), choice.step, {}, choice.winner};
    std::transform(matching.begin(), matching.end(), std::back_inserter(report.matching), Describe);
    return report;
}

} // namespace Zelmo
