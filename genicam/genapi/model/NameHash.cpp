// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/model/NameHash.h"

#include <unistd.h>

namespace GenApi {

namespace {

HashKey DrawKey() noexcept {
    HashKey key;
    if (getentropy(&key, sizeof(key)) != 0) {
        const int local = 0; // where the stack is differs from process to process too
        key = {};
        key.first ^= reinterpret_cast<std::uintptr_t>(&local) * key.second;
        key.second ^= static_cast<std::uint64_t>(getpid()) * key.first;
    }
    return key;
}

} // namespace

HashKey SecretHashKey() noexcept {
    static const HashKey kEy = DrawKey();
    return kEy;
}

} // namespace GenApi
