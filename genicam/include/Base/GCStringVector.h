// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <Base/GCArray.h>
#include <Base/GCString.h>

#include <algorithm>

namespace GenICam {

/// A list of texts.
class gcstring_vector : public gcarray<gcstring> {
public:
    using gcarray<gcstring>::gcarray;

    bool contains(const gcstring& value) const noexcept { return std::find(begin(), end(), value) != end(); }
};

} // namespace GenICam
