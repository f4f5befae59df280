// SPDX-License-Identifier: Apache-2.0
#include <zelmo/TList.h>

#include <zelmo/DeviceInfo.h>

#include <Base/GCAllocating.h>

#include <limits>
#include <new>
#include <stdexcept>
#include <utility>
#include <vector>

namespace Zelmo {

template <class T>
struct TList<T>::Storage {
    std::vector<T> items;

    auto At(iterator position) { return items.begin() + (position - iterator(items.data())); }
};

template <class T>
typename TList<T>::Storage& TList<T>::Data() {
    if (!m_storage) {
        m_storage = GenICam::Allocating([] { return new Storage; });
    }
    return *m_storage;
}

template <class T>
const typename TList<T>::Storage& TList<T>::Data() const {
    static const Storage kEmpty;
    return m_storage ? *m_storage : kEmpty;
}

template <class T>
TList<T>::TList() : m_storage(GenICam::Allocating([] { return new Storage; })) {}

template <class T>
TList<T>::TList(size_type count)
    : m_storage(GenICam::Allocating([count] { return new Storage{std::vector<T>(count)}; })) {}

template <class T>
TList<T>::TList(const TList& other) : m_storage(GenICam::Allocating([&other] { return new Storage(other.Data()); })) {}

template <class T>
TList<T>::TList(TList&& other) noexcept : m_storage(std::exchange(other.m_storage, nullptr)) {}

template <class T>
TList<T>& TList<T>::operator=(const TList& other) {
    if (this != &other) {
        *this = TList(other);
    }
    return *this;
}

template <class T>
TList<T>& TList<T>::operator=(TList&& other) noexcept {
    std::swap(m_storage, other.m_storage);
    return *this;
}

template <class T>
void* TList<T>::operator new(std::size_t sizeBytes) {
    return ::operator new(sizeBytes);
}

template <class T>
void TList<T>::operator delete(void* memory) noexcept {
    ::operator delete(memory);
}

template <class T>
TList<T>::~TList() {
    delete m_storage;
}

template <class T>
void TList<T>::assign(size_type count, const T& value) {
    GenICam::Allocating([&] { Data().items.assign(count, value); });
}

template <class T>
void TList<T>::clear() {
    Data().items.clear();
}

template <class T>
typename TList<T>::iterator TList<T>::erase(iterator position) {
    const auto next = Data().items.erase(Data().At(position));
    return begin() + (next - Data().items.begin());
}

template <class T>
T& TList<T>::at(size_type index) {
    return Data().items.at(index);
}

template <class T>
const T& TList<T>::at(size_type index) const {
    return Data().items.at(index);
}

template <class T>
T& TList<T>::back() {
    return Data().items.back();
}

template <class T>
const T& TList<T>::back() const {
    return Data().items.back();
}

template <class T>
typename TList<T>::iterator TList<T>::begin() {
    return Data().items.data();
}

template <class T>
typename TList<T>::const_iterator TList<T>::begin() const {
    return Data().items.data();
}

template <class T>
std::size_t TList<T>::capacity() const {
    return Data().items.capacity();
}

template <class T>
typename TList<T>::iterator TList<T>::end() {
    return Data().items.data() + size();
}

template <class T>
typename TList<T>::const_iterator TList<T>::end() const {
    return Data().items.data() + size();
}

template <class T>
T& TList<T>::front() {
    return Data().items.front();
}

template <class T>
const T& TList<T>::front() const {
    return Data().items.front();
}

template <class T>
std::size_t TList<T>::max_size() const {
    return std::numeric_limits<std::size_t>::max() / sizeof(T);
}

template <class T>
std::size_t TList<T>::size() const {
    return Data().items.size();
}

template <class T>
typename TList<T>::iterator TList<T>::insert(iterator position, const T& value) {
    const auto inserted = GenICam::Allocating([&] { return Data().items.insert(Data().At(position), value); });
    return begin() + (inserted - Data().items.begin());
}

template <class T>
bool TList<T>::empty() const {
    return Data().items.empty();
}

template <class T>
void TList<T>::pop_back() {
    Data().items.pop_back();
}

template <class T>
void TList<T>::push_back(const T& value) {
    GenICam::Allocating([&] { Data().items.push_back(value); });
}

template <class T>
void TList<T>::push_back(T&& value) {
    GenICam::Allocating([&] { Data().items.push_back(std::move(value)); });
}

template <class T>
void TList<T>::resize(size_type count) {
    GenICam::Allocating([&] { Data().items.resize(count); });
}

template <class T>
void TList<T>::reserve(size_type count) {
    if (count > max_size()) {
        throw std::length_error("TList::reserve beyond max_size()"); // as a growing array does, and no lack of memory
    }
    GenICam::Allocating([&] { Data().items.reserve(count); });
}

template <class T>
void TList<T>::erase(size_type index) {
    erase(begin() + static_cast<difference_type>(index));
}

template <class T>
void TList<T>::insert(size_type index, const T& value) {
    insert(begin() + static_cast<difference_type>(index), value);
}

template class TList<CTlInfo>;
template class TList<CInterfaceInfo>;
template class TList<CDeviceInfo>;

} // namespace Zelmo
