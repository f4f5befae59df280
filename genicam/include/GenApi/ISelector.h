// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/Container.h>
#include <GenApi/IBase.h>

namespace GenApi {

/// The relation "selects" between features: the value of a selector tells which of several values the selected
/// features stand for.
struct GENICAM_API ISelector : virtual public IBase {
    virtual bool IsSelector() const = 0;
    virtual void GetSelectedFeatures(FeatureList_t& List) const = 0;  ///< Those that this one selects directly.
    virtual void GetSelectingFeatures(FeatureList_t& List) const = 0; ///< Those that select this one directly.
};

} // namespace GenApi
