// SPDX-License-Identifier: Apache-2.0

// What the tables of virtual operations hold for one that no class has defined yet. Those of the catalogues name it
// 34,000 times: found inside of the library, an entry takes a bit; led to the C++ run-time library it takes 24 bytes,
// and each process has to look at it when it starts.

#include <cstdio>
#include <cstdlib>

// The name is the platform's (Itanium C++ ABI, 3.2.6). Hidden, so that nobody else gets this one.
// NOLINTNEXTLINE(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
extern "C" [[noreturn]] __attribute__((visibility("hidden"))) void __cxa_pure_virtual() {
    std::fputs("pure virtual method called\n", stderr); // as the run-time library says
    std::abort();
}
