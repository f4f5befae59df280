// SPDX-License-Identifier: Apache-2.0
#include <cstdlib>

// In each test program: what it loads, or starts, looks for no camera on the networks of whoever runs it.
[[maybe_unused]] static const int kOffTheNetwork = setenv("ZELMO_GIGE", "off", 1);
