// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace GenApi {

/// A handle to an array of numbers: copies share the array, which lives as long as one of them.
/// The size is fixed at construction; indices are not checked.
template <class T>
class autovector {
public:
    autovector() = default;
    explicit autovector(size_t count) : m_items(std::make_shared<std::vector<T>>(count)) {}

    T& operator[](size_t index) { return (*m_items)[index]; }
    const T& operator[](size_t index) const { return (*m_items)[index]; }
    size_t size() const { return m_items ? m_items->size() : 0; }

private:
    std::shared_ptr<std::vector<T>> m_items;
};

typedef autovector<int64_t> int64_autovector_t;
typedef autovector<double> double_autovector_t;

} // namespace GenApi
