// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <Base/GCLinkage.h>

#include <GenApi/Types.h>

namespace GenApi {

/// What every node and every port is. All interfaces derive virtually from it, so that `dynamic_cast` leads from any
/// interface of an object to any other.
struct GENICAM_API IBase {
    /// What may be done with the object now; see EAccessMode.
    virtual EAccessMode GetAccessMode() const = 0;
    virtual ~IBase() = 0;
};

inline IBase::~IBase() = default;

/// Questions about an object's access mode; a null pointer is nothing of all that.
inline bool IsReadable(const IBase* object) {
    return object && IsReadable(object->GetAccessMode());
}
inline bool IsWritable(const IBase* object) {
    return object && IsWritable(object->GetAccessMode());
}
inline bool IsImplemented(const IBase* object) {
    return object && IsImplemented(object->GetAccessMode());
}
inline bool IsAvailable(const IBase* object) {
    return object && IsAvailable(object->GetAccessMode());
}
inline bool IsReadable(const IBase& object) {
    return IsReadable(&object);
}
inline bool IsWritable(const IBase& object) {
    return IsWritable(&object);
}
inline bool IsImplemented(const IBase& object) {
    return IsImplemented(&object);
}
inline bool IsAvailable(const IBase& object) {
    return IsAvailable(&object);
}

/// The name of a node's principal interface, for example "IInteger"; "IBase" for what is not a node.
GENICAM_API gcstring GetInterfaceName(IBase* object);

} // namespace GenApi
