// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "genicam/genapi/nodes/MapCore.h"

#include <GenApi/IDestroy.h>
#include <GenApi/IDeviceInfo.h>
#include <GenApi/INodeMap.h>
#include <GenApi/IUserData.h>

namespace GenApi {

/// The public side of a node map; the core does the work. Created on the heap, ends by Destroy().
class NodeMap final : public INodeMap, public IDeviceInfo, public IDestroy, public IUserData {
public:
    NodeMap(ModelPtr model, CLock* userLock, const gcstring& deviceName);

    // INodeMap
    void GetNodes(NodeList_t& Nodes) const override;
    INode* GetNode(const gcstring& Name) const override;
    void InvalidateNodes() const override { m_core.InvalidateAll(); }
    bool Connect(IPort* pPort, const gcstring& PortName) const override;
    bool Connect(IPort* pPort) const override { return Connect(pPort, "Device"); }
    gcstring GetDeviceName() override { return m_core.DeviceName(); }
    void Poll(int64_t ElapsedTime) override { m_core.Poll(ElapsedTime); }
    CLock& GetLock() const override { return m_core.Lock(); }
    uint64_t GetNumNodes() const override { return m_core.NodeCount(); }
    bool ParseSwissKnifes(gcstring_vector* pErrorList = nullptr) const override;

    // IDeviceInfo
    gcstring GetModelName() override;
    gcstring GetVendorName() override;
    gcstring GetToolTip() override;
    gcstring GetStandardNameSpace() override;
    void GetGenApiVersion(GenICam::Version_t& Version, uint16_t& Build) override;
    void GetSchemaVersion(GenICam::Version_t& Version) override;
    void GetDeviceVersion(GenICam::Version_t& Version) override;
    gcstring GetProductGuid() override;
    gcstring GetVersionGuid() override;

    void Destroy() override { delete this; }

    MapCore& Core() const noexcept { return m_core; }

    // IUserData
    UserData_t GetUserData() const override;
    UserData_t SetUserData(UserData_t pUserData) override;

private:
    ~NodeMap() = default;

    mutable MapCore m_core; // const operations change what is cached
    UserData_t m_userData = nullptr;
};

} // namespace GenApi
