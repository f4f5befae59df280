// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/IDestroy.h>
#include <GenApi/IDeviceInfo.h>
#include <GenApi/INodeMap.h>
#include <GenApi/NodeMapFactory.h>

#include <memory>

namespace GenApi {

/// The camera class of a CNodeMapRef: one without features of its own.
class GENICAM_API CGeneric_XMLLoaderParams {
public:
    virtual ~CGeneric_XMLLoaderParams() = default;

protected:
    /// Called once when the node map is there, for the camera class to fetch its features.
    virtual void _Initialize(INodeMap*) {}
};

/// The part of a CNodeMapRefT that does not depend on the camera class: a counted reference to one node map.
class GENICAM_API CNodeMapHolder {
public:
    explicit CNodeMapHolder(const gcstring& DeviceName);
    explicit CNodeMapHolder(INodeMap* pNodeMap); ///< Borrows the map, which may be null.

    bool IsSet() const noexcept;
    INodeMap* Get() const noexcept;             ///< Null as long as nothing is loaded.
    INodeMap& Checked() const;                  ///< @throws GenICam::AccessException as long as nothing is loaded.
    INodeMap* Create(CNodeMapFactory& Factory); ///< @throws GenICam::RuntimeException when there is a map already.
    INodeMap* Create(CNodeMapFactory& Factory, CNodeMapFactory& Injection);
    void Reset() noexcept;
    gcstring GetDeviceName() const; ///< That of the map; as long as nothing is loaded, of the one to come.
    IDeviceInfo& Device() const; ///< What the map tells of its device. @throws GenICam::AccessException as Checked().

private:
    gcstring m_deviceName;
    std::shared_ptr<INodeMap> m_nodeMap;
};

/// Holds a node map and, through its base @p TCameraParams, the features of a camera class. Copies share the map. One
/// that was loaded is destroyed with the last of them; one that was given belongs to who gave it, such as a camera, and
/// must outlive them.
/// @throws GenICam::RuntimeException "Node map already created" when loading twice, and as CNodeMapFactory does;
/// @throws GenICam::AccessException  "Feature not present (reference not valid)" when used before loading.
template <class TCameraParams>
class CNodeMapRefT : public TCameraParams {
public:
    explicit CNodeMapRefT(const gcstring& DeviceName = "Device") : m_holder(DeviceName) {}
    explicit CNodeMapRefT(INodeMap* pNodeMap) : m_holder(pNodeMap) { InitializeIfSet(); } ///< Null: nothing is loaded.
    CNodeMapRefT(const CNodeMapRefT& other) : TCameraParams(), m_holder(other.m_holder) { InitializeIfSet(); }
    CNodeMapRefT& operator=(const CNodeMapRefT& other) {
        m_holder = other.m_holder;
        InitializeIfSet();
        return *this;
    }

    /// Load the description from a file, a zipped file, a text, or zipped bytes in memory.
    void _LoadXMLFromFile(const gcstring& FileName) { Load(CNodeMapFactory(ContentType_Xml, FileName)); }
    void _LoadXMLFromZIPFile(const gcstring& FileName) { Load(CNodeMapFactory(ContentType_ZippedXml, FileName)); }
    void _LoadXMLFromString(const gcstring& XMLData) { Load(CNodeMapFactory(XMLData)); }
    void _LoadXMLFromZIPData(const void* zipData, size_t zipSize) {
        Load(CNodeMapFactory(ContentType_ZippedXml, zipData, zipSize));
    }

    /// The same with a second description merged into the first; see CNodeMapFactory::AddInjectionData.
    void _LoadXMLFromFileInject(const gcstring& TargetFileName, const gcstring& InjectFileName) {
        Load(CNodeMapFactory(ContentType_Xml, TargetFileName), CNodeMapFactory(ContentType_Xml, InjectFileName));
    }
    void _LoadXMLFromZIPFileInject(const gcstring& TargetFileName, const gcstring& InjectFileName) {
        Load(CNodeMapFactory(ContentType_ZippedXml, TargetFileName), CNodeMapFactory(ContentType_Xml, InjectFileName));
    }
    void _LoadXMLFromStringInject(const gcstring& TargetXMLData, const gcstring& InjectXMLData) {
        Load(CNodeMapFactory(TargetXMLData), CNodeMapFactory(InjectXMLData));
    }

    INodeMap* _Ptr() const { return m_holder.Get(); } ///< Null as long as nothing is loaded.
    INode* _GetNode(const gcstring& key) const { return m_holder.Checked().GetNode(key); }
    void _GetNodes(NodeList_t& Nodes) const { m_holder.Checked().GetNodes(Nodes); }
    bool _Connect(IPort* pPort, const gcstring& PortName) const { return m_holder.Checked().Connect(pPort, PortName); }
    bool _Connect(IPort* pPort) const { return m_holder.Checked().Connect(pPort); }
    void _InvalidateNodes() const { m_holder.Checked().InvalidateNodes(); }
    void _Poll(int64_t ElapsedTime) { m_holder.Checked().Poll(ElapsedTime); }
    gcstring _GetDeviceName() const { return m_holder.GetDeviceName(); }
    CLock& _GetLock() const { return m_holder.Checked().GetLock(); }
    uint64_t _GetNumNodes() const { return m_holder.Checked().GetNumNodes(); }
    bool _ParseSwissKnifes(gcstring_vector* pErrorList = nullptr) const {
        return m_holder.Checked().ParseSwissKnifes(pErrorList);
    }

    /// What the description says of the device and of itself; see IDeviceInfo.
    gcstring _GetModelName() const { return m_holder.Device().GetModelName(); }
    gcstring _GetVendorName() const { return m_holder.Device().GetVendorName(); }
    gcstring _GetToolTip() const { return m_holder.Device().GetToolTip(); }
    gcstring _GetStandardNameSpace() const { return m_holder.Device().GetStandardNameSpace(); }
    void _GetGenApiVersion(Version_t& Version, uint16_t& Build) const {
        m_holder.Device().GetGenApiVersion(Version, Build);
    }
    void _GetSchemaVersion(Version_t& Version) const { m_holder.Device().GetSchemaVersion(Version); }
    void _GetDeviceVersion(Version_t& Version) const { m_holder.Device().GetDeviceVersion(Version); }
    gcstring _GetProductGuid() const { return m_holder.Device().GetProductGuid(); }
    gcstring _GetVersionGuid() const { return m_holder.Device().GetVersionGuid(); }

    /// Lets go of the map; nothing happens without one. The features that the camera class fetched from it lead nowhere
    /// then, until the next description is loaded.
    void _Destroy() { m_holder.Reset(); }

private:
    void Load(CNodeMapFactory factory) { TCameraParams::_Initialize(m_holder.Create(factory)); }
    void Load(CNodeMapFactory factory, CNodeMapFactory injection) {
        TCameraParams::_Initialize(m_holder.Create(factory, injection));
    }
    void InitializeIfSet() {
        if (m_holder.IsSet()) {
            TCameraParams::_Initialize(m_holder.Get());
        }
    }

    CNodeMapHolder m_holder;
};

typedef CNodeMapRefT<CGeneric_XMLLoaderParams> CNodeMapRef;

} // namespace GenApi
