// SPDX-License-Identifier: Apache-2.0

// Any datagram, read by all decoders of a protocol: ROUND_TRIP is the one of this target.

#include "tests/gigevision/RoundTrip.h"

#include <cstdio>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (const char* const fault = RoundTrip::ROUND_TRIP({data, size})) {
        std::fprintf(stderr, "This does not hold: %s\n", fault);
        std::abort();
    }
    return 0;
}
