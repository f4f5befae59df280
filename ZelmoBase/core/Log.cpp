// SPDX-License-Identifier: Apache-2.0
#include <zelmo/Log.h>

#include "ZelmoBase/core/Mutex.h"

#include <Log/CLog.h>

#include <array>
#include <cstddef>
#include <cstring>
#include <new>
#include <strings.h>

namespace hxlog {
namespace {

using Zelmo::CLockGuard;
using Zelmo::CMutex;

constexpr unsigned long kInvalidCategory = ~0ul;
constexpr std::size_t kMaxCategories = 500;
constexpr std::size_t kNamePoolBytes = 15500; // 31 for each category on average

/// All categories of the process, and whether logging is on. Slots fill from 0 upwards, names are never freed.
/// Locks: its own, a leaf: nothing but the back end's look-up of a logger runs under it.
class CCategoryTable {
public:
    unsigned long FindOrAdd(const char* name) {
        CLockGuard guard(m_lock);
        if (!m_enabled) {
            return kInvalidCategory;
        }
        std::size_t index = 0;
        for (; index < kMaxCategories && m_slots[index].name != nullptr; ++index) {
            if (strcasecmp(m_slots[index].name, name) == 0) {
                return index;
            }
        }
        return index < kMaxCategories && Fill(m_slots[index], name) ? index : kInvalidCategory;
    }

    /// The logger of category @p category below kMaxCategories; null while logging is off or when nobody made it.
    GenICam::Logger* GetLogger(unsigned long category) {
        CLockGuard guard(m_lock);
        Slot& slot = m_slots[category];
        if (!m_enabled || slot.name == nullptr) {
            return nullptr;
        }
        if (slot.logger == nullptr) { // after a pause
            slot.logger = FetchLogger(slot.name);
        }
        return slot.logger;
    }

    void Enable(bool enable) {
        CLockGuard guard(m_lock);
        m_enabled = enable;
        if (!enable) {
            // the back end may shut down now; names stay, so that identifiers survive
            for (Slot& slot : m_slots) {
                slot.logger = nullptr;
            }
        }
    }

private:
    struct Slot {
        const char* name = nullptr;
        GenICam::Logger* logger = nullptr;
    };

    static GenICam::Logger* FetchLogger(const char* name) noexcept {
        try {
            return &GenICam::CLog::GetLogger(name);
        } catch (...) {
            return nullptr;
        }
    }

    bool Fill(Slot& slot, const char* name) ZELMO_REQUIRES(m_lock) {
        const std::size_t sizeBytes = std::strlen(name) + 1;
        if (sizeBytes == 1 || m_poolUsed + sizeBytes >= kNamePoolBytes) {
            return false;
        }
        char* copy = m_pool.data() + m_poolUsed;
        std::memcpy(copy, name, sizeBytes);
        m_poolUsed += sizeBytes; // also when there is no logger
        GenICam::Logger* logger = FetchLogger(copy);
        if (logger == nullptr) {
            return false;
        }
        slot = Slot{copy, logger};
        return true;
    }

    CMutex m_lock;
    std::array<Slot, kMaxCategories> m_slots ZELMO_GUARDED_BY(m_lock);
    std::array<char, kNamePoolBytes> m_pool ZELMO_GUARDED_BY(m_lock);
    std::size_t m_poolUsed ZELMO_GUARDED_BY(m_lock) = 0;
    bool m_enabled ZELMO_GUARDED_BY(m_lock) = false;
};

/// Made at the first use and never destroyed: static objects of others may log while they come and go.
CCategoryTable& Table() {
    alignas(CCategoryTable) static std::byte storage[sizeof(CCategoryTable)];
    static CCategoryTable& table = *new (storage) CCategoryTable;
    return table;
}

int ToPriority(LogLevel level) {
    switch (level) {
    case LogLevel_Debug:
        return 700;
    case LogLevel_Info:
        return 600;
    case LogLevel_Notice:
        return 500;
    case LogLevel_Warn:
        return 400;
    case LogLevel_Error:
        return 300;
    case LogLevel_Critical:
        return 200;
    }
    return 800;
}

} // namespace

unsigned long LogGetCatID(const char* name) noexcept {
    return name != nullptr ? Table().FindOrAdd(name) : kInvalidCategory;
}

long LogTrace(unsigned long category, LogLevel level, const char* format, ...) noexcept {
    va_list arguments;
    va_start(arguments, format);
    const long result = LogTraceVA(category, level, format, arguments);
    va_end(arguments);
    return result;
}

long LogTraceVA(unsigned long category, LogLevel level, const char* format, va_list arguments) noexcept {
    if (format == nullptr || category >= kMaxCategories) {
        return 0;
    }
    GenICam::Logger* logger = Table().GetLogger(category);
    if (logger == nullptr) {
        return 0;
    }
    va_list copy;
    va_copy(copy, arguments);
    logger->logva(ToPriority(level), format, copy);
    va_end(copy);
    return 1;
}

bool LogEnable(bool enable) noexcept {
    Table().Enable(enable);
    return true;
}

} // namespace hxlog
