// SPDX-License-Identifier: Apache-2.0
#include <Base/GCString.h>

#include <Base/GCAllocating.h>
#include <Base/GCException.h>

#include <istream>
#include <ostream>

namespace GenICam {

namespace {

std::string_view OrEmpty(const char* text) noexcept {
    return text ? std::string_view(text) : std::string_view();
}

} // namespace

void ThrowBadAlloc(const char* sourceFileName, int sourceLine) {
    throw BadAllocException("Out of memory", sourceFileName, static_cast<unsigned int>(sourceLine),
                            "BadAllocException");
}

gcstring::gcstring(const char* text) : gcstring(OrEmpty(text)) {}

gcstring::gcstring(const char* text, std::size_t count) : gcstring(std::string_view(text, text ? count : 0)) {}

gcstring::gcstring(std::size_t count, char value) : m_text(Allocating([&] { return std::string(count, value); })) {}

gcstring::gcstring(std::string_view text) : m_text(Allocating([&] { return std::string(text); })) {}

gcstring::gcstring(const gcstring& other) : m_text(Allocating([&] { return other.m_text; })) {}

gcstring& gcstring::assign(const gcstring& other) {
    Allocating([&] { m_text = other.m_text; });
    return *this;
}

gcstring& gcstring::assign(std::size_t count, char value) {
    Allocating([&] { m_text.assign(count, value); });
    return *this;
}

gcstring& gcstring::assign(const char* text) {
    Allocating([&] { m_text = OrEmpty(text); });
    return *this;
}

gcstring& gcstring::assign(const char* text, std::size_t count) {
    Allocating([&] { m_text = std::string_view(text, text ? count : 0); });
    return *this;
}

gcstring& gcstring::append(const gcstring& other) {
    Allocating([&] { m_text += other.m_text; });
    return *this;
}

gcstring& gcstring::append(std::size_t count, char value) {
    Allocating([&] { m_text.append(count, value); });
    return *this;
}

gcstring& gcstring::operator+=(const char* text) {
    Allocating([&] { m_text += OrEmpty(text); });
    return *this;
}

std::size_t gcstring::find(const gcstring& text, std::size_t offset) const noexcept {
    return m_text.find(text.m_text, offset);
}

std::size_t gcstring::find(const gcstring& text, std::size_t offset, std::size_t count) const noexcept {
    return view().find(text.view().substr(0, count), offset);
}

std::size_t gcstring::find(const char* text, std::size_t offset) const noexcept {
    return view().find(OrEmpty(text), offset);
}

std::size_t gcstring::find(const char* text, std::size_t offset, std::size_t count) const noexcept {
    return view().find(std::string_view(text, text ? count : 0), offset);
}

std::size_t gcstring::find_first_of(const gcstring& bytes, std::size_t offset) const noexcept {
    return m_text.find_first_of(bytes.m_text, offset);
}

std::size_t gcstring::find_first_not_of(const gcstring& bytes, std::size_t offset) const noexcept {
    return m_text.find_first_not_of(bytes.m_text, offset);
}

std::size_t gcstring::find_last_of(const gcstring& bytes, std::size_t offset) const noexcept {
    return m_text.find_last_of(bytes.m_text, offset);
}

std::size_t gcstring::find_last_not_of(const gcstring& bytes, std::size_t offset) const noexcept {
    return m_text.find_last_not_of(bytes.m_text, offset);
}

gcstring gcstring::substr(std::size_t offset, std::size_t count) const {
    if (offset > size()) {
        throw OUT_OF_RANGE_EXCEPTION("Cannot take a part from position %zu of a text of %zu bytes", offset, size());
    }
    return gcstring(view().substr(offset, count));
}

void gcstring::resize(std::size_t count) {
    Allocating([&] { m_text.resize(count); });
}

void gcstring::reserve(std::size_t count) {
    Allocating([&] { m_text.reserve(count); });
}

gcstring& gcstring::erase(std::size_t position, std::size_t count) {
    if (position > size()) {
        throw OUT_OF_RANGE_EXCEPTION("Cannot erase from position %zu of a text of %zu bytes", position, size());
    }
    m_text.erase(position, count);
    return *this;
}

gcstring operator+(const gcstring& left, const gcstring& right) {
    return gcstring(left) += right;
}

gcstring operator+(const gcstring& left, const char* right) {
    return gcstring(left) += right;
}

gcstring operator+(const char* left, const gcstring& right) {
    return gcstring(left) += right;
}

std::ostream& operator<<(std::ostream& stream, const gcstring& text) {
    return stream << text.c_str();
}

std::istream& operator>>(std::istream& stream, gcstring& text) {
    std::string word;
    stream >> word;
    text = gcstring(std::move(word));
    return stream;
}

std::istream& getline(std::istream& stream, gcstring& text) {
    return getline(stream, text, '\n');
}

std::istream& getline(std::istream& stream, gcstring& text, char delimiter) {
    std::string line;
    std::getline(stream, line, delimiter);
    text = gcstring(std::move(line));
    return stream;
}

} // namespace GenICam
