// SPDX-License-Identifier: Apache-2.0
#include <zelmo/Utilities.h>

#include <cstdlib>

namespace Zelmo {

bool GetValueOfEnvironmentVariable(const char* name, String_t& value) {
    if (name == nullptr || *name == '\0') {
        return false;
    }
    const char* found = std::getenv(name);
    if (found == nullptr) {
        return false;
    }
    value = found;
    return true;
}

} // namespace Zelmo
