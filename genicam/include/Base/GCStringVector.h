#pragma once

#include <Base/GCString.h>

#include <initializer_list>
#include <vector>

namespace GenICam {

/// A list of texts; std::vector in behaviour, but for the forms with an index and contains().
/// Threads: as std::vector. @throws BadAllocException from whatever allocates.
class GENICAM_API gcstring_vector {
public:
    using value_type = gcstring;
    using size_type = std::size_t;
    using difference_type = std::ptrdiff_t;
    using reference = gcstring&;
    using const_reference = const gcstring&;
    using iterator = std::vector<gcstring>::iterator;
    using const_iterator = std::vector<gcstring>::const_iterator;

    gcstring_vector() noexcept = default;
    explicit gcstring_vector(std::size_t count, const gcstring& value = gcstring());
    gcstring_vector(std::initializer_list<gcstring> values);
    gcstring_vector(const gcstring_vector& other);
    gcstring_vector(gcstring_vector&& other) noexcept = default;
    ~gcstring_vector() = default;

    gcstring_vector& operator=(const gcstring_vector& other);
    gcstring_vector& operator=(gcstring_vector&& other) noexcept = default;
    void assign(std::size_t count, const gcstring& value);
    void assign(const gcstring_vector& other) { *this = other; }

    void clear() noexcept { m_texts.clear(); }
    iterator erase(iterator position) { return m_texts.erase(position); }
    void erase(std::size_t index); ///< @throws OutOfRangeException if there is no such element.
    iterator insert(iterator position, const gcstring& value);
    void insert(std::size_t index, const gcstring& value); ///< @throws OutOfRangeException if @p index > size().
    void push_back(const gcstring& value);
    void pop_back() noexcept { m_texts.pop_back(); } ///< Not on an empty list.
    void resize(std::size_t count, const gcstring& value = gcstring());
    void reserve(std::size_t count);

    gcstring& at(std::size_t index); ///< @throws OutOfRangeException if there is no such element.
    const gcstring& at(std::size_t index) const;
    gcstring& operator[](std::size_t index) noexcept { return m_texts[index]; }
    const gcstring& operator[](std::size_t index) const noexcept { return m_texts[index]; }
    gcstring& front() noexcept { return m_texts.front(); }
    const gcstring& front() const noexcept { return m_texts.front(); }
    gcstring& back() noexcept { return m_texts.back(); }
    const gcstring& back() const noexcept { return m_texts.back(); }

    iterator begin() noexcept { return m_texts.begin(); }
    const_iterator begin() const noexcept { return m_texts.begin(); }
    iterator end() noexcept { return m_texts.end(); }
    const_iterator end() const noexcept { return m_texts.end(); }

    std::size_t size() const noexcept { return m_texts.size(); }
    std::size_t capacity() const noexcept { return m_texts.capacity(); }
    std::size_t max_size() const noexcept { return m_texts.max_size(); }
    bool empty() const noexcept { return m_texts.empty(); }
    bool contains(const gcstring& value) const noexcept;

private:
    std::vector<gcstring> m_texts;
};

} // namespace GenICam
