// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/ConfigFileRegistry.h>
#include <zelmo/Export.h>
#include <zelmo/Types.h>

#include <cstddef>
#include <cstdint>
#include <vector>

/// Why a device gets its description from where it does, and whether the rule files of a site can be read: for tools
/// and for messages about a device that cannot be opened. Threads: as CConfigFileRegistry.
namespace Zelmo {

/// What decided between the rules that match a device.
enum EBindingStep {
    BindingStep_Default,         ///< No rule matches.
    BindingStep_HighestPriority, ///< One rule alone has the highest priority.
    BindingStep_LastCustom,      ///< Of several of the highest priority the last one from a file of type "custom".
    BindingStep_Last             ///< Of several of the highest priority, none of them custom, the last one.
};

/// A rule, as it was written.
struct CBindingRuleInfo {
    String_t origin; ///< The path of its rule file, or "built-in".
    std::uint32_t priority = 0;
    bool custom = false;   ///< The file is of type "custom".
    String_t manufacturer; ///< Regular expressions.
    String_t modelName;
    String_t serialNumber;
    bool download = true;
    String_t file;
    StringList_t additionalFiles;
};

/// A decision for one device.
struct CBindingReport {
    CConfigFileRegistry::CBinding binding; ///< What GetXmlFileBinding answers.
    EBindingStep step;
    std::vector<CBindingRuleInfo> matching; ///< In the order in which the rules were read.
    std::size_t winner;                     ///< Index into matching; meaningless when it is empty.
};

/// The decision for @p device, without a look at the device itself.
/// @throws GenICam::RuntimeException as CConfigFileRegistry::GetInstance and GetXmlFileBinding.
ZELMO_API CBindingReport ExplainBinding(const CDeviceInfo& device);

/// A rule file of the site.
struct CRuleFileReport {
    String_t path;
    std::size_t rules = 0;
    String_t failure; ///< Why it cannot be read; empty if it can.
};

/// The folder of rule files as it is now, whatever the registry has read.
struct CRuleFolderReport {
    String_t folder;
    String_t obstacle;                  ///< Why it cannot be listed, as when it does not exist; empty if it can.
    std::vector<CRuleFileReport> files; ///< In the order in which they are read.
};

/// Reads each rule file by itself and writes nothing into the log.
/// @throws GenICam::RuntimeException when the list of the folder's files breaks off.
ZELMO_API CRuleFolderReport CheckRuleFolder();

} // namespace Zelmo
