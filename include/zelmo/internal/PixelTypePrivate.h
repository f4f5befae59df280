// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/PixelType.h>

namespace Zelmo {

/// Number of planes in which an image is stored: 3 for the planar types, 1 for every other value, also an invalid one.
/// The semiplanar types count as one plane, although no line length exists for them.
ZELMO_API std::uint32_t GetPlaneCount(EPixelType pixelType);

/// Bits that one line of one plane takes, without padding; @p width in pixels.
/// @throws GenICam::InvalidArgumentException for a width with its top bit set, for an invalid type and for a type whose
/// planes differ in size.
ZELMO_API std::uint64_t ComputeBitsPerPlaneLine(EPixelType pixelType, unsigned int width);

} // namespace Zelmo
