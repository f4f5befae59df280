// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/Container.h>
#include <GenApi/IPort.h>
#include <GenApi/Synch.h>

namespace GenApi {

struct INode;

/// All nodes made from one description. Made by CNodeMapFactory, destroyed only through IDestroy.
/// The object behind it is also an IDeviceInfo, an IDestroy and an IUserData; `dynamic_cast` leads there.
/// Threads: any, at the same time; one recursive lock, GetLock(), guards all nodes.
struct GENICAM_API INodeMap {
    virtual void GetNodes(NodeList_t& Nodes) const = 0; ///< Replaces the content of @p Nodes; order of the description.
    virtual INode* GetNode(const gcstring& Name) const = 0; ///< Null when there is no such node.
    virtual void InvalidateNodes() const = 0;               ///< Drops all that is cached and fires all callbacks.
    /// Connects a port node with @p pPort (borrowed, null disconnects), in place of what was connected before.
    /// It may be a port node of another map, whose device then serves both.
    /// @return false when there is no such port node.
    /// @throws GenICam::InvalidArgumentException for a port node that leads back to this one
    virtual bool Connect(IPort* pPort, const gcstring& PortName) const = 0;
    virtual bool Connect(IPort* pPort) const = 0; ///< The same for the port node "Device".
    virtual gcstring GetDeviceName() = 0;
    /// Invalidates the nodes whose polling time is up. @p ElapsedTime is the time since the last call, in milliseconds.
    virtual void Poll(int64_t ElapsedTime) = 0;
    /// The lock of all nodes; held by a caller, it makes several accesses one.
    virtual CLock& GetLock() const = 0;
    virtual uint64_t GetNumNodes() const = 0;
    /// Compiles all formulas. @p pErrorList, if given, receives "<node>: <reason>" for each that is broken.
    /// @return whether all are sound.
    virtual bool ParseSwissKnifes(gcstring_vector* pErrorList = nullptr) const = 0;

protected:
    ~INodeMap() = default;
};

} // namespace GenApi
