// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

/// Lets one allocation or system call of the whole process fail, on whatever thread it comes. The program that links
/// this has its own operator new and its own entries to the system calls named in SystemCalls().
namespace ScarceResources {

struct Fault {
    std::string call;  // "new" or a system call
    int error;         // what errno becomes; of no matter for new
    unsigned long nth; // 1: the next one
};

/// System calls that sessions make, with the errors that a kernel may answer.
struct SystemCall {
    const char* name;
    std::vector<int> errors;
};
std::vector<SystemCall> SystemCalls();

void Arm(const Fault& fault); ///< One fault at a time.
bool Disarm();                ///< @return whether it has struck.

/// While it lives, what the calling thread does fails no more: for fakes and checks.
class Spared {
public:
    Spared();
    ~Spared();
    Spared(const Spared&) = delete;
};

} // namespace ScarceResources
