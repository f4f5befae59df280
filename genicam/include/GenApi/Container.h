#pragma once

#include <cstddef>
#include <vector>

#include <Base/GCException.h>

namespace GenApi {

struct INode;
struct IValue;

/// A list of borrowed pointers, with the operations of a vector. Threads: one at a time.
template <class T>
class pointer_vector {
public:
    typedef typename std::vector<T*>::iterator iterator;
    typedef typename std::vector<T*>::const_iterator const_iterator;
    typedef T* value_type;
    typedef size_t size_type;

    pointer_vector() = default;
    explicit pointer_vector(size_t count, T* value = nullptr) : m_items(count, value) {}

    void assign(size_t count, T* value) { m_items.assign(count, value); }
    void assign(const pointer_vector& other) { m_items = other.m_items; }
    void clear() { m_items.clear(); }
    iterator erase(iterator position) { return m_items.erase(position); }
    void erase(size_t index) { m_items.erase(m_items.begin() + Offset(index, m_items.size())); }
    iterator insert(iterator position, T* value) { return m_items.insert(position, value); }
    void insert(size_t index, T* value) { m_items.insert(m_items.begin() + Offset(index, m_items.size() + 1), value); }
    T*& at(size_t index) { return m_items[static_cast<size_t>(Offset(index, m_items.size()))]; }
    T* const& at(size_t index) const { return m_items[static_cast<size_t>(Offset(index, m_items.size()))]; }
    T*& front() { return m_items.front(); }
    T* const& front() const { return m_items.front(); }
    T*& back() { return m_items.back(); }
    T* const& back() const { return m_items.back(); }
    iterator begin() { return m_items.begin(); }
    const_iterator begin() const { return m_items.begin(); }
    iterator end() { return m_items.end(); }
    const_iterator end() const { return m_items.end(); }
    size_t size() const { return m_items.size(); }
    size_t capacity() const { return m_items.capacity(); }
    size_t max_size() const { return m_items.max_size(); }
    bool empty() const { return m_items.empty(); }
    void push_back(T* value) { m_items.push_back(value); }
    void pop_back() { m_items.pop_back(); }
    void resize(size_t count, T* value = nullptr) { m_items.resize(count, value); }
    void reserve(size_t count) { m_items.reserve(count); }
    T*& operator[](size_t index) { return m_items[index]; }
    T* const& operator[](size_t index) const { return m_items[index]; }

private:
    static std::ptrdiff_t Offset(size_t index, size_t limit) {
        if (index >= limit)
            throw OUT_OF_RANGE_EXCEPTION("Index %zu is beyond the %zu positions of the list", index, limit);
        return static_cast<std::ptrdiff_t>(index);
    }

    std::vector<T*> m_items;
};

/// A list of nodes.
class node_vector : public pointer_vector<INode> {
public:
    using pointer_vector<INode>::pointer_vector;
};

/// A list of nodes that have a value.
class value_vector : public pointer_vector<IValue> {
public:
    using pointer_vector<IValue>::pointer_vector;
};

typedef node_vector NodeList_t;
typedef value_vector FeatureList_t;

} // namespace GenApi
