// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Faults.def"
#include "common/Mutex.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Serving {

#define SERVING_FAULT_NAME(name, ...) name,
enum class EFault : std::uint32_t { STREAM_FAULTS(SERVING_FAULT_NAME) CONTROL_FAULTS(SERVING_FAULT_NAME) Count_ };
#undef SERVING_FAULT_NAME
inline constexpr std::size_t kFaults = static_cast<std::size_t>(EFault::Count_);

/// What there is to know of one fault, from Faults.def.
struct CFaultInfo {
    const char* name;      ///< "PacketLoss"
    const char* parameter; ///< what its number means; empty: it has none
    std::uint32_t initial, min, max;
    const char* text; ///< what it does, one sentence
};
std::span<const CFaultInfo, kFaults> FaultInfos(); ///< In the order of EFault.
std::string OptionName(EFault fault);              ///< "packet-loss"

/// Where a fault may strike.
struct CFaultPlace {
    static constexpr std::uint32_t kAnyPacket = 0xFFFFFFFF;

    /// Of a stream fault a block id; of a control fault the chance's number since it was set, from 1. 0: any
    std::uint64_t block = 0;
    std::uint32_t packet = kAnyPacket; ///< packet id, of a stream fault
};

struct CFaultSetting {
    double rate = 0; ///< probability, 0 (off) to 1
    std::uint32_t parameter = 0;
    std::uint32_t left = 0;               ///< how many more times; 0: without end
    std::vector<CFaultPlace> places = {}; ///< empty: everywhere
};

/// A fault as the command line tells it: NAME[=RATE[,PARAMETER]][@PLACE…][xTIMES], "packet-loss=0.01,3",
/// "trailer-loss@17@20", "packet-loss@3:17", "silence,2000@40x1"; without a rate it is 1.
struct CFaultOrder {
    EFault fault = EFault::PacketLoss;
    CFaultSetting setting;
};
/// @throws std::invalid_argument, which names the part at fault and what is permitted.
CFaultOrder ParseFault(std::string_view text);

/// What a served camera was told to do wrong, and how often it did. Whether a fault strikes follows from the seed, the
/// fault, and where it is asked for, not from the order of threads: the same seed loses the same packets.
/// Threads: any.
/// Locks:   m_lock, a leaf. A fault that is off costs one look without it.
class CServingFaults {
public:
    explicit CServingFaults(std::uint32_t seed = 1);

    /// Asked once for each chance, which it counts when it answers true. @p turn tells chances at the same place apart:
    /// the number of a resend, or of a command.
    bool Strikes(EFault fault, std::uint64_t block = 0, std::uint32_t packet = 0, std::uint64_t turn = 0);
    /// The same for a control fault: each call is the next turn.
    bool StrikesNext(EFault fault);
    bool IsOn(EFault fault) const {
        return (m_on.load(std::memory_order_relaxed) >> static_cast<std::uint32_t>(fault) & 1u) != 0;
    }
    std::uint32_t Parameter(EFault fault) const;

    void Set(EFault fault, CFaultSetting setting); ///< A parameter beyond its limits becomes the nearest one.
    CFaultSetting Get(EFault fault) const;
    std::uint64_t Count(EFault fault) const; ///< Strikes since the last Reset; a burst is one.
    void Seed(std::uint32_t seed);
    std::uint32_t Seed() const;
    void Reset(); ///< All off, with their first parameters, and counts 0; the seed stays.

private:
    struct CState {
        CFaultSetting setting;
        std::uint64_t count = 0, turns = 0, asked = 0; // asked: StrikesNext, since it was set
    };

    bool StrikesLocked(EFault fault, CState& state, std::uint64_t block, std::uint32_t packet, std::uint64_t turn)
        PLUGIN_REQUIRES(m_lock);

    std::atomic<std::uint64_t> m_on = 0; // bit n: that EFault has a rate
    mutable PluginKit::CMutex m_lock;
    std::uint32_t m_seed PLUGIN_GUARDED_BY(m_lock);
    std::array<CState, kFaults> m_faults PLUGIN_GUARDED_BY(m_lock);
};

} // namespace Serving
