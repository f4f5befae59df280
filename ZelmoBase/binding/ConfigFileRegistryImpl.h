// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "XMLWrapperLib/WrapXml.h"
#include "ZelmoBase/binding/BindingRule.h"
#include <zelmo/BindingReport.h>
#include <zelmo/ConfigFileRegistry.h>
#include <zelmo/Types.h>

#include <cstddef>
#include <map>
#include <vector>

namespace Zelmo {

/// The rules of all device classes: reads them, and decides for a device.
/// A document that cannot be read leaves the rules before its fault behind.
/// Threads: what adds rules, one at a time and before anything else; what only looks, any.
class CConfigFileRegistryImpl {
public:
    /// A document that is not built in adds nothing.
    void AddRulesFromResources(const String_t& resourceName);
    /// A folder that is missing, or cannot be listed, adds nothing.
    void AddRulesFromRegistryDir();
    void AddRuleFile(const String_t& path);
    void AddRules(const String_t& xmlText);
    void AddRules(CXmlNode root, const String_t& origin);

    std::size_t CountRules() const;

    /// In the order in which they were added.
    std::vector<CBindingRule> GetMatchingRules(const String_t& deviceClass, const String_t& manufacturer,
                                               const String_t& modelName, const String_t& serialNumber) const;

    CConfigFileRegistry::CBinding GetXmlFileBinding(const CDeviceInfo& device) const;
    CBindingReport Explain(const CDeviceInfo& device) const;

private:
    std::vector<CBindingRule> GetMatchingRules(const CDeviceInfo& device) const;
    void ProcessTransportLayerNode(const CXmlNode& node, bool custom, const String_t& origin);
    void ProcessRuleNode(const String_t& transportLayerName, const CXmlNode& node, bool custom, const String_t& origin);

    std::map<String_t, std::vector<CBindingRule>> m_rules; // by device class; in the order in which they were added
};

} // namespace Zelmo
