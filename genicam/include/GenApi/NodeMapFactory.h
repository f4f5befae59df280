// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <Base/GCLinkage.h>
#include <GenApi/INodeMap.h>
#include <GenApi/Synch.h>
#include <GenApi/Types.h>

#include <cstddef>
#include <memory>

namespace GenApi {

/// How large a description is.
struct NodeStatistics_t {
    uint64_t NumNodes;
    uint64_t NumProperties;
    uint64_t NumLinks; ///< References between nodes.
    uint64_t NumStrings;
};

class CNodeMapFactoryImpl;

/// Makes node maps from a description. Nothing is read before it is first needed; what was read is kept and shared by
/// all maps, so that a second one is cheap. A value: copies share one body.
/// Threads: any, at the same time. Maps outlive the factory.
/// A description that cannot be loaded raises GenICam::RuntimeException, which names the place, the node and the
/// property, and the file if the factory was made of one.
/// No cache is kept on disk: CacheUsage_ForceRead raises GenICam::RuntimeException, the other values make no
/// difference.
class GENICAM_API CNodeMapFactory {
public:
    CNodeMapFactory(); ///< Without a description; see AddInjectionData().
    CNodeMapFactory(EContentType_t ContentType, const gcstring& FileName,
                    ECacheUsage_t CacheUsage = CacheUsage_Automatic, bool SuppressStringsOnLoad = false);
    /// @p pData is borrowed until it is released or the factory and its copies are gone.
    CNodeMapFactory(EContentType_t ContentType, const void* pData, size_t DataSize,
                    ECacheUsage_t CacheUsage = CacheUsage_Automatic, bool SuppressStringsOnLoad = false);
    /// @p XmlData is copied.
    explicit CNodeMapFactory(const gcstring& XmlData, ECacheUsage_t CacheUsage = CacheUsage_Automatic,
                             bool SuppressStringsOnLoad = false);
    CNodeMapFactory(const CNodeMapFactory& Other);
    CNodeMapFactory& operator=(const CNodeMapFactory& Other);
    virtual ~CNodeMapFactory();

    /// Makes a map of its own state. The caller destroys it through IDestroy.
    /// @param ReleaseCameraDescriptionFileData drop the source text afterwards; further maps can still be made
    INodeMap* CreateNodeMap(const gcstring& DeviceName = "Device", bool ReleaseCameraDescriptionFileData = true);
    /// The same, guarded by the caller's lock, which must outlive the map.
    INodeMap* CreateNodeMap(CLock& UserProvidedLock, const gcstring& DeviceName = "Device",
                            bool ReleaseCameraDescriptionFileData = true);
    /// Makes a map without any node.
    static INodeMap* CreateEmptyNodeMap();

    /// Merges another description into this one when it is loaded; several come in the order of the calls, each with
    /// its own injections. Of nodes of one name that with the higher MergePriority stays, of equal ones the first; the
    /// feature lists of categories are united. References may lead from one description to the other.
    /// @throws GenICam::LogicalErrorException    when this one is loaded already
    /// @throws GenICam::InvalidArgumentException for a circle
    void AddInjectionData(CNodeMapFactory& Injection);

    /// Read the description, merge what is to be injected and resolve all references, now instead of with the first
    /// map. All this is one pass: what is loaded is preprocessed.
    void LoadAndInject();
    void Preprocess();
    bool IsLoaded() const;
    bool IsPreprocessed() const;
    void ReleaseCameraDescriptionFileData(); ///< Borrowed data may go then; what later maps need is kept.
    bool IsCameraDescriptionFileDataReleased() const;

    /// A factory for the nodes that can be reached over references from one, loaded at once.
    /// @param RenameToRoot whether that node is called "Root" there
    /// @throws GenICam::InvalidArgumentException if there is no such node
    /// @throws GenICam::RuntimeException         if another node that is reached is called "Root"
    CNodeMapFactory ExtractSubtree(const gcstring& SubTreeRootNodeName, bool RenameToRoot = false);

    bool IsEmpty() const;
    gcstring ToString(); ///< Vendor, model and version of the device, and the number of nodes.
    /// A description that loads again to the same nodes with the same properties; groups, comments and what loading
    /// ignored are gone.
    gcstring ToXml();
    NodeStatistics_t GetNodeStatistics();
    static void GetSupportedSchemaVersions(gcstring_vector& SchemaVersions);
    static void ClearCache(); ///< Nothing is cached on disk.

private:
    explicit CNodeMapFactory(std::shared_ptr<CNodeMapFactoryImpl> impl);

    std::shared_ptr<CNodeMapFactoryImpl> m_impl;
};

} // namespace GenApi
