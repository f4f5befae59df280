// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>

namespace Fakes {

/// Memory that can be taken away, so that whoever still writes into it is killed.
class Unmappable {
public:
    explicit Unmappable(std::size_t bytes)
        : m_bytes((bytes + Page() - 1) / Page() * Page()),
          m_memory(mmap(nullptr, m_bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)) {}
    ~Unmappable() { munmap(m_memory, m_bytes); }
    Unmappable(const Unmappable&) = delete;
    Unmappable& operator=(const Unmappable&) = delete;

    void* Address() const { return m_memory; }
    void Take() { mprotect(m_memory, m_bytes, PROT_NONE); }
    void Give() { mprotect(m_memory, m_bytes, PROT_READ | PROT_WRITE); }

private:
    static std::size_t Page() { return static_cast<std::size_t>(sysconf(_SC_PAGESIZE)); }

    const std::size_t m_bytes;
    void* const m_memory;
};

} // namespace Fakes
