// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/IValue.h>

namespace GenApi {

/// A group of features and further categories; "Root" is the way in.
struct GENICAM_API ICategory : virtual public IValue {
    /// Fills @p Features in the order of the description.
    virtual void GetFeatures(FeatureList_t& Features) const = 0;
};

} // namespace GenApi
