// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <system_error>

namespace Zelmo {

/// The system's text for an error number, as strerror gives it, but for any thread at any time.
inline std::string SystemErrorText(int error) {
    return std::generic_category().message(error);
}

} // namespace Zelmo
