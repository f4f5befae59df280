// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/INode.h>

namespace GenApi {

/// A node with a value, read and written as text.
/// Texts do not depend on the locale; a text that was read can be written back.
struct GENICAM_API IValue : virtual public IBase {
    virtual INode* GetNode() { return dynamic_cast<INode*>(this); }

    /// @param Verify      check the value against its limits; the cache is not used then
    /// @param IgnoreCache read from the device in any case
    /// @throws GenICam::AccessException when it is not readable now.
    virtual gcstring ToString(bool Verify = false, bool IgnoreCache = false) = 0;

    /// @param Verify check the access mode and the limits first
    /// @throws GenICam::InvalidArgumentException when @p ValueStr is no such value,
    /// @throws GenICam::AccessException          when it is not writable now,
    /// @throws GenICam::OutOfRangeException      beyond the limits or off the increment.
    virtual void FromString(const gcstring& ValueStr, bool Verify = true) = 0;

    /// Whether a read now would be answered from the cache.
    virtual bool IsValueCacheValid() const = 0;
};

} // namespace GenApi
