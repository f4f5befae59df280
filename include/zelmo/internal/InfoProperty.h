// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Declares the three accessors of one property of an info class:
/// `String_t GetX() const` ("N/A" when absent), `Class& SetX(const String_t& value)` and `bool IsXAvailable() const`.
#define ZELMO_INFO_PROPERTY(Class, X, key)                                                                             \
    ::Zelmo::String_t Get##X() const {                                                                                 \
        return Property(key);                                                                                          \
    }                                                                                                                  \
    Class& Set##X(const ::Zelmo::String_t& value) {                                                                    \
        SetPropertyValue(key, value);                                                                                  \
        return *this;                                                                                                  \
    }                                                                                                                  \
    bool Is##X##Available() const {                                                                                    \
        return GetPropertyAvailable(key);                                                                              \
    }
