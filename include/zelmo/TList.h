// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/Export.h>

#include <cstddef>
#include <iterator>
#include <type_traits>

namespace Zelmo {

/// A growing array of info objects: what an enumeration fills. Values: a copy of a list shares nothing with it.
/// Only the three lists at the end of Info.h and DeviceInfo.h exist; their code is in the library.
///
/// Iterators are random access and go stale as those of any growing array do. at() throws std::out_of_range for an
/// index at or above size(), operator[] does not check. reserve() beyond max_size() throws std::length_error,
/// what finds no memory GenICam::BadAllocException.
/// Threads: one at a time.
template <class T>
class ZELMO_API TList {
    template <class Element>
    class TIterator;

public:
    using value_type = T;
    using size_type = std::size_t;
    using difference_type = std::ptrdiff_t;
    using reference = T&;
    using const_reference = const T&;
    using iterator = TIterator<T>;
    using const_iterator = TIterator<const T>;

    TList();
    explicit TList(size_type count); ///< With @p count default-constructed elements.
    TList(const TList& other);
    TList(TList&& other) noexcept; ///< Leaves @p other empty.
    TList& operator=(const TList& other);
    TList& operator=(TList&& other) noexcept;

    /// Lists come from and go to the library's heap, wherever they are made and deleted.
    static void* operator new(std::size_t sizeBytes);
    static void* operator new(std::size_t, void* place) noexcept { return place; }
    static void operator delete(void* memory) noexcept;
    static void operator delete(void*, void*) noexcept {}

    virtual ~TList();
    virtual void assign(size_type count, const T& value);
    virtual void clear();
    virtual iterator erase(iterator position);
    virtual reference at(size_type index);
    virtual const_reference at(size_type index) const;
    virtual reference back();
    virtual const_reference back() const;
    virtual iterator begin();
    virtual const_iterator begin() const;
    virtual size_type capacity() const;
    virtual iterator end();
    virtual const_iterator end() const;
    virtual reference front();
    virtual const_reference front() const;
    virtual size_type max_size() const;
    virtual size_type size() const;
    virtual iterator insert(iterator position, const T& value);
    virtual bool empty() const;
    virtual void pop_back();
    virtual void push_back(const T& value);
    virtual void resize(size_type count);
    virtual void reserve(size_type count);
    virtual void erase(size_type index);
    virtual void insert(size_type index, const T& value);

    void push_back(T&& value);
    reference operator[](size_type index) { return begin()[static_cast<difference_type>(index)]; }
    const_reference operator[](size_type index) const { return begin()[static_cast<difference_type>(index)]; }

private:
    struct Storage;
    Storage* m_storage; // null only in a list that was moved from
    Storage& Data();
    const Storage& Data() const;
};

/// A position in a list; a thin wrapper around a pointer.
template <class T>
template <class Element>
class TList<T>::TIterator {
public:
    using iterator_category = std::random_access_iterator_tag;
    using value_type = T;
    using difference_type = std::ptrdiff_t;
    using pointer = Element*;
    using reference = Element&;

    TIterator() noexcept = default;
    TIterator(Element* element) noexcept : m_element(element) {}

    /// An iterator converts to a const_iterator.
    template <class Other, class = std::enable_if_t<std::is_same_v<const Other, Element>>>
    TIterator(const TIterator<Other>& other) noexcept : m_element(other.operator->()) {}

    reference operator*() const { return *m_element; }
    pointer operator->() const { return m_element; }
    reference operator[](difference_type n) const { return m_element[n]; }

    TIterator& operator++() { return *this += 1; }
    TIterator& operator--() { return *this -= 1; }
    TIterator operator++(int) { return TIterator(m_element++); }
    TIterator operator--(int) { return TIterator(m_element--); }
    TIterator& operator+=(difference_type n) {
        m_element += n;
        return *this;
    }
    TIterator& operator-=(difference_type n) {
        m_element -= n;
        return *this;
    }

    friend TIterator operator+(TIterator it, difference_type n) { return it += n; }
    friend TIterator operator+(difference_type n, TIterator it) { return it += n; }
    friend TIterator operator-(TIterator it, difference_type n) { return it -= n; }
    friend difference_type operator-(TIterator a, TIterator b) { return a.m_element - b.m_element; }
    friend bool operator==(TIterator a, TIterator b) { return a.m_element == b.m_element; }
    friend bool operator!=(TIterator a, TIterator b) { return a.m_element != b.m_element; }
    friend bool operator<(TIterator a, TIterator b) { return a.m_element < b.m_element; }
    friend bool operator>(TIterator a, TIterator b) { return a.m_element > b.m_element; }
    friend bool operator<=(TIterator a, TIterator b) { return a.m_element <= b.m_element; }
    friend bool operator>=(TIterator a, TIterator b) { return a.m_element >= b.m_element; }

private:
    Element* m_element = nullptr;
};

} // namespace Zelmo
