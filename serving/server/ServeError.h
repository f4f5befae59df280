// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string>

namespace Serving {

/// What the process ends with, as the tool does.
enum class EExit : int { Done = 0, Failed = 1, Usage = 2, Access = 4, Interrupted = 130, Terminated = 143 };

/// A failure that ends the program, with its exit code and the word that stands for it in JSON.
class CServeError : public std::runtime_error {
public:
    CServeError(EExit exit, std::string code, const std::string& message)
        : std::runtime_error(message), m_exit(exit), m_code(std::move(code)) {}

    EExit Exit() const noexcept { return m_exit; }
    const std::string& Code() const noexcept { return m_code; }

private:
    EExit m_exit;
    std::string m_code;
};

inline CServeError UsageError(const std::string& message) {
    return {EExit::Usage, "usage", message};
}
inline CServeError HostError(const std::string& message) {
    return {EExit::Failed, "host", message};
}
/// What a system call has just failed with: "Cannot ...: Permission denied".
inline CServeError SystemError(const std::string& attempted) {
    const int cause = errno;
    const std::string message = attempted + ": " + std::strerror(cause);
    if (cause == EPERM || cause == EACCES) {
        return {EExit::Access, "access_denied", message};
    }
    return HostError(message);
}

} // namespace Serving
