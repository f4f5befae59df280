// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gigevision/Bytes.h>

/// Reads any bytes by all decoders, whatever the bytes say that they are, and encodes again what was decoded. Shared by
/// the tests and the fuzz targets.
namespace RoundTrip {

/// Tells what does not hold: null when all does. What was decoded lies within the datagram, and comes out again as it
/// was but for what no field holds, which is zero then.
const char* OfControl(GigEVision::Bytes datagram);
const char* OfStream(GigEVision::Bytes datagram);

} // namespace RoundTrip
