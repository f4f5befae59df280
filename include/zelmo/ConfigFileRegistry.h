// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/Export.h>
#include <zelmo/Types.h>

#include <memory>

namespace Zelmo {

class CDeviceInfo;
class CConfigFileRegistryImpl;
struct CBindingReport;

/// Says for a device where its GenICam description comes from: the device itself, a file, or the one and else the
/// other. Asked by plug-ins when they open a device; an application can ask as well.
///
/// Rules decide, by device class, vendor, model and serial number. The standard rules are built in; a site adds rule
/// files, `Rules*.xml` in the folder getZelmoFolderPath(FolderType_ConfigFileRegistry), which win ties. All are read
/// at the first use and kept until the last ZelmoTerminate; docs/configuration.md tells what they say. ExplainBinding
/// says which rule it was and why.
///
/// Threads: any, at the same time; but nobody may use the registry while the last ZelmoTerminate ends it.
class ZELMO_API CConfigFileRegistry {
public:
    /// Where the description of a device comes from. With both Download and HasFile the download is tried first, and
    /// the file where it fails. A device whose rule leaves it neither cannot be opened.
    struct ZELMO_API CBinding {
        CBinding(bool download, bool hasFile, const char* file, bool isDefault); ///< Without additional files.
        CBinding(bool download, bool hasFile, const char* file, bool hasAdditionalFiles, StringList_t& additionalFiles);

        bool IsDefault; ///< No rule matches.
        bool Download;  ///< Read the description from the device.
        bool HasFile;
        String_t File; ///< Path; environment variables are expanded. Whether it is there has not been looked at.
        bool HasAdditionalFiles;
        StringList_t AdditionalFiles; ///< Descriptions that are merged into it. An empty one stands for nothing.
    };

    /// The one registry of the process; the first call reads all rules.
    /// @throws GenICam::RuntimeException when one of them cannot be read, be it for a single rule file: the log then
    /// names the file and the cause. The next call tries again.
    static CConfigFileRegistry& GetInstance();

    CConfigFileRegistry(const CConfigFileRegistry&) = delete;
    CConfigFileRegistry& operator=(const CConfigFileRegistry&) = delete;
    ~CConfigFileRegistry();

    /// Properties that @p device does not have are matched as empty texts. A device that no rule matches downloads its
    /// description.
    /// @throws GenICam::RuntimeException when an expression of a rule takes too long to match.
    CBinding GetXmlFileBinding(const CDeviceInfo& device) const;

private:
    friend class CConfigFileRegistryInstance;
    friend ZELMO_API CBindingReport ExplainBinding(const CDeviceInfo& device);

    CConfigFileRegistry();

    std::unique_ptr<CConfigFileRegistryImpl> m_impl;
};

} // namespace Zelmo
