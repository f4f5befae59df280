// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/IPortConstruct.h>
#include <GenApi/IPortRecorder.h>

namespace GenApi {

struct INode;

/// Base class of an application's own ports: give it GetAccessMode, Read and Write, and connect it to a node map.
/// It must outlive the node map or be disconnected first. It keeps borrowing the port node all the same, so once the
/// node map is gone InvalidateNode and Replay must not be called any more.
class GENICAM_API CPortImpl : public IPortConstruct, public IPortReplay {
public:
    CPortImpl();
    ~CPortImpl() override;

    EAccessMode GetAccessMode() const override = 0;
    void Read(void* pBuffer, int64_t Address, int64_t Length) override = 0;
    void Write(const void* pBuffer, int64_t Address, int64_t Length) override = 0;

    void SetPortImpl(IPort* pPort) override; ///< Takes the port node down; called by INodeMap::Connect.
    EYesNo GetSwapEndianess() override;      ///< No.
    void Replay(IPortWriteList* pPortRecorder, bool Invalidate = true) override;

    /// To be called when the access mode or the data behind the port changed by itself: drops what the node map has
    /// cached behind the port and fires the callbacks. Nothing happens while it is not connected.
    virtual void InvalidateNode();

private:
    INode* m_portNode = nullptr; // borrowed from the node map
};

} // namespace GenApi
