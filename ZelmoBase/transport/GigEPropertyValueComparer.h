// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ZelmoBase/transport/PropertyBag.h"

namespace Zelmo {

/// Compares IP addresses by value, however they are written, and all other properties as texts.
/// @throws GenICam::RuntimeException for a text that is no address.
class GigEPropertyValueComparer final : public IPropertyValueComparer {
public:
    bool AreEqual(const String_t& name, const String_t& value, const String_t& otherValue) const override;
};

} // namespace Zelmo
