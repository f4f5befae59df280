// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/Export.h>
#include <zelmo/TransportLayer.h>

namespace Zelmo {

/// A point in a transport layer to which devices attach, such as a network adapter. Its device operations concern the
/// devices there. Made and disposed of by its plug-in.
class ZELMO_API IInterface : public IDeviceFactory {
public:
    virtual void Open() = 0;
    virtual void Close() = 0;
    virtual bool IsOpen() const = 0;
    virtual const CInterfaceInfo& GetInterfaceInfo() const = 0;

    /// The interface's parameters; null when there are none.
    /// @throws GenICam::LogicalErrorException while closed.
    virtual GenApi::INodeMap* GetNodeMap() = 0;

protected:
    ~IInterface() = default;
};

/// A second base of interfaces, reached by a cross cast.
class ZELMO_API IInterfacePrivate {
public:
    virtual void Delete() = 0; ///< Ends the object.

protected:
    ~IInterfacePrivate() = default;
};

} // namespace Zelmo
