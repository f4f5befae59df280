// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <Base/GCAllocating.h>
#include <Base/GCException.h>

#include <cstddef>
#include <initializer_list>
#include <vector>

namespace GenICam {

/// A list; std::vector in behaviour, but for the forms with an index. Lists of texts, nodes and features derive from
/// it. Threads: as std::vector. @throws BadAllocException from whatever allocates.
template <class T>
class gcarray {
public:
    using value_type = T;
    using size_type = std::size_t;
    using difference_type = std::ptrdiff_t;
    using reference = T&;
    using const_reference = const T&;
    using iterator = typename std::vector<T>::iterator;
    using const_iterator = typename std::vector<T>::const_iterator;

    gcarray() noexcept = default;
    explicit gcarray(std::size_t count, const T& value = T())
        : m_items(Allocating([&] { return std::vector<T>(count, value); })) {}
    gcarray(std::initializer_list<T> values) : m_items(Allocating([&] { return std::vector<T>(values); })) {}
    gcarray(const gcarray& other) : m_items(Allocating([&] { return other.m_items; })) {}
    gcarray(gcarray&& other) noexcept = default;
    ~gcarray() = default;

    gcarray& operator=(const gcarray& other) {
        Allocating([&] { m_items = other.m_items; });
        return *this;
    }
    gcarray& operator=(gcarray&& other) noexcept = default;
    void assign(std::size_t count, const T& value) {
        Allocating([&] { m_items.assign(count, value); });
    }
    void assign(const gcarray& other) { *this = other; }

    void clear() noexcept { m_items.clear(); }
    iterator erase(iterator position) { return m_items.erase(position); }
    void erase(std::size_t index) { m_items.erase(begin() + Checked(index, size())); } ///< @throws OutOfRangeException
    iterator insert(iterator position, const T& value) {
        return Allocating([&] { return m_items.insert(position, value); });
    }
    /// @throws OutOfRangeException if @p index > size().
    void insert(std::size_t index, const T& value) { insert(begin() + Checked(index, size() + 1), value); }
    void push_back(const T& value) {
        Allocating([&] { m_items.push_back(value); });
    }
    void pop_back() noexcept { m_items.pop_back(); } ///< Not on an empty list.
    void resize(std::size_t count, const T& value = T()) {
        Allocating([&] { m_items.resize(count, value); });
    }
    void reserve(std::size_t count) {
        Allocating([&] { m_items.reserve(count); });
    }

    T& at(std::size_t index) { return *(begin() + Checked(index, size())); } ///< @throws OutOfRangeException
    const T& at(std::size_t index) const { return *(begin() + Checked(index, size())); }
    T& operator[](std::size_t index) noexcept { return m_items[index]; }
    const T& operator[](std::size_t index) const noexcept { return m_items[index]; }
    T& front() noexcept { return m_items.front(); }
    const T& front() const noexcept { return m_items.front(); }
    T& back() noexcept { return m_items.back(); }
    const T& back() const noexcept { return m_items.back(); }

    iterator begin() noexcept { return m_items.begin(); }
    const_iterator begin() const noexcept { return m_items.begin(); }
    iterator end() noexcept { return m_items.end(); }
    const_iterator end() const noexcept { return m_items.end(); }

    std::size_t size() const noexcept { return m_items.size(); }
    std::size_t capacity() const noexcept { return m_items.capacity(); }
    std::size_t max_size() const noexcept { return m_items.max_size(); }
    bool empty() const noexcept { return m_items.empty(); }

private:
    static std::ptrdiff_t Checked(std::size_t index, std::size_t limit) {
        if (index >= limit) {
            throw OUT_OF_RANGE_EXCEPTION("Index %zu is out of range: it must be below %zu", index, limit);
        }
        return static_cast<std::ptrdiff_t>(index);
    }

    std::vector<T> m_items;
};

} // namespace GenICam
