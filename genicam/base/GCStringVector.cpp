#include <Base/GCStringVector.h>

#include <Base/GCException.h>
#include <genicam/base/Allocating.h>

#include <algorithm>

namespace GenICam {

namespace {

void CheckIndex(std::size_t index, std::size_t limit) {
    if (index >= limit)
        throw OUT_OF_RANGE_EXCEPTION("Index %zu is out of range: it must be below %zu", index, limit);
}

std::ptrdiff_t AsOffset(std::size_t index) noexcept {
    return static_cast<std::ptrdiff_t>(index);
}

} // namespace

gcstring_vector::gcstring_vector(std::size_t count, const gcstring& value)
    : m_texts(Allocating([&] { return std::vector<gcstring>(count, value); })) {}

gcstring_vector::gcstring_vector(std::initializer_list<gcstring> values)
    : m_texts(Allocating([&] { return std::vector<gcstring>(values); })) {}

gcstring_vector::gcstring_vector(const gcstring_vector& other) : m_texts(Allocating([&] { return other.m_texts; })) {}

gcstring_vector& gcstring_vector::operator=(const gcstring_vector& other) {
    Allocating([&] { m_texts = other.m_texts; });
    return *this;
}

void gcstring_vector::assign(std::size_t count, const gcstring& value) {
    Allocating([&] { m_texts.assign(count, value); });
}

void gcstring_vector::erase(std::size_t index) {
    CheckIndex(index, size());
    m_texts.erase(m_texts.begin() + AsOffset(index));
}

gcstring_vector::iterator gcstring_vector::insert(iterator position, const gcstring& value) {
    return Allocating([&] { return m_texts.insert(position, value); });
}

void gcstring_vector::insert(std::size_t index, const gcstring& value) {
    CheckIndex(index, size() + 1);
    insert(m_texts.begin() + AsOffset(index), value);
}

void gcstring_vector::push_back(const gcstring& value) {
    Allocating([&] { m_texts.push_back(value); });
}

void gcstring_vector::resize(std::size_t count, const gcstring& value) {
    Allocating([&] { m_texts.resize(count, value); });
}

void gcstring_vector::reserve(std::size_t count) {
    Allocating([&] { m_texts.reserve(count); });
}

gcstring& gcstring_vector::at(std::size_t index) {
    CheckIndex(index, size());
    return m_texts[index];
}

const gcstring& gcstring_vector::at(std::size_t index) const {
    CheckIndex(index, size());
    return m_texts[index];
}

bool gcstring_vector::contains(const gcstring& value) const noexcept {
    return std::find(m_texts.begin(), m_texts.end(), value) != m_texts.end();
}

} // namespace GenICam
