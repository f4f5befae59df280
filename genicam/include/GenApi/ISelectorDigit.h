// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <Base/GCLinkage.h>

#include <GenApi/Container.h>
#include <GenApi/Types.h>

namespace GenApi {

/// One place of the odometer that runs through all combinations of selector values.
struct GENICAM_API ISelectorDigit {
    virtual bool SetFirst() = 0; ///< Sets the first value. @return false when there is none.
    /// Goes on to the next value. @return false on overflow.
    /// @param Tick whether this digit moves itself; else it only passes on what lower digits carry
    virtual bool SetNext(bool Tick = true) = 0;
    virtual void Restore() = 0; ///< Puts back the value found at construction.
    virtual gcstring ToString() = 0;
    /// Lists the selectors behind this digit.
    /// @param Incremental only those changed by the last step
    virtual void GetSelectorList(FeatureList_t& SelectorList, bool Incremental = false) = 0;

protected:
    ~ISelectorDigit() = default;
};

} // namespace GenApi
