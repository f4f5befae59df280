// SPDX-License-Identifier: Apache-2.0
#include "Faults.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <stdexcept>
#include <utility>

namespace Serving {

namespace {

#define SERVING_FAULT_INFO(name, parameter, initial, min, max, text) {#name, parameter, initial, min, max, text},
constexpr std::array<CFaultInfo, kFaults> kInfos = {
    {STREAM_FAULTS(SERVING_FAULT_INFO) CONTROL_FAULTS(SERVING_FAULT_INFO)}};
#undef SERVING_FAULT_INFO

constexpr std::size_t IndexOf(EFault fault) {
    return static_cast<std::size_t>(fault);
}

constexpr std::uint64_t BitOf(EFault fault) {
    return std::uint64_t{1} << IndexOf(fault);
}

#define SERVING_FAULT_ONE(...) +1
constexpr std::size_t kStreamFaults = STREAM_FAULTS(SERVING_FAULT_ONE);
#undef SERVING_FAULT_ONE

// The finalizer of splitmix64: each bit of the answer depends on each bit of the number.
std::uint64_t Mix(std::uint64_t value) {
    value = (value ^ value >> 30) * 0xBF58476D1CE4E5B9u;
    value = (value ^ value >> 27) * 0x94D049BB133111EBu;
    return value ^ value >> 31;
}

/// From 0 to below 1, the same for the same numbers.
template <typename... Numbers>
double Chance(Numbers... numbers) {
    std::uint64_t hash = 0;
    ((hash = Mix(hash + 0x9E3779B97F4A7C15u + numbers)), ...);
    return static_cast<double>(hash >> 11) * 0x1p-53;
}

bool IsPlaced(const CFaultSetting& setting, std::uint64_t block, std::uint32_t packet) {
    return setting.places.empty() || std::any_of(setting.places.begin(), setting.places.end(), [&](const auto& place) {
               return (place.block == 0 || place.block == block) &&
                      (place.packet == CFaultPlace::kAnyPacket || place.packet == packet);
           });
}

/// Reads a fault from left to right.
class CFaultParser {
public:
    explicit CFaultParser(std::string_view text) : m_text(text), m_rest(text) {}

    CFaultOrder Parse() {
        CFaultOrder order;
        order.fault = ReadName();
        const CFaultInfo& info = kInfos[IndexOf(order.fault)];
        order.setting.rate = Skips('=') ? ReadRate() : 1;
        order.setting.parameter = Skips(',') ? ReadParameter(info) : info.initial;
        while (Skips('@')) {
            order.setting.places.push_back(ReadPlace(order.fault));
        }
        if (Skips('x')) {
            order.setting.left = ReadNumber<std::uint32_t>("number of times", 1, UINT32_MAX);
        }
        if (!m_rest.empty()) {
            Refuse("rest behind its parts", m_rest, "NAME[=RATE[,PARAMETER]][@PLACE...][xTIMES]");
        }
        return order;
    }

private:
    [[noreturn]] void Refuse(const std::string& part, std::string_view found, const std::string& permitted) const {
        throw std::invalid_argument("Cannot make the fault \"" + std::string(m_text) + "\": the " + part + " is \"" +
                                    std::string(found) + "\"; permitted: " + permitted);
    }

    bool Skips(char mark) {
        const bool isThere = m_rest.starts_with(mark);
        m_rest.remove_prefix(isThere ? 1 : 0);
        return isThere;
    }

    EFault ReadName() {
        const std::string_view name = m_rest.substr(0, m_rest.find_first_not_of("abcdefghijklmnopqrstuvwyz-"));
        std::string names;
        for (std::size_t i = 0; i < kFaults; ++i) {
            const std::string option = OptionName(static_cast<EFault>(i));
            if (option == name) {
                m_rest.remove_prefix(name.size());
                return static_cast<EFault>(i);
            }
            names += (names.empty() ? "" : ", ") + option;
        }
        Refuse("name", name.empty() ? m_rest : name, names);
    }

    // The part up to the next mark; of "1x2" all, so that a mistake is shown whole.
    std::string_view Part() const { return m_rest.substr(0, m_rest.find_first_of(",@:")); }

    double ReadRate() {
        double rate = -1;
        const auto [end, error] = std::from_chars(m_rest.data(), m_rest.data() + m_rest.size(), rate);
        if (error != std::errc() || !(rate >= 0 && rate <= 1)) {
            Refuse("rate", Part(), "0 to 1");
        }
        Advance(end);
        return rate;
    }

    template <typename T>
    T ReadNumber(const char* what, T min, T max) {
        const bool isHex = m_rest.starts_with("0x");
        const char* const begin = m_rest.data() + (isHex ? 2 : 0);
        T value = 0;
        const auto [end, error] = std::from_chars(begin, m_rest.data() + m_rest.size(), value, isHex ? 16 : 10);
        if (error != std::errc() || value < min || value > max) {
            Refuse(what, Part(), std::to_string(min) + " to " + std::to_string(max));
        }
        Advance(end);
        return value;
    }

    std::uint32_t ReadParameter(const CFaultInfo& info) {
        if (*info.parameter == 0) {
            Refuse("parameter", Part(), "none, this fault has no parameter");
        }
        return ReadNumber("parameter", info.min, info.max);
    }

    CFaultPlace ReadPlace(EFault fault) {
        const bool isOfStream = IndexOf(fault) < kStreamFaults;
        CFaultPlace place;
        place.block = ReadNumber<std::uint64_t>(isOfStream ? "block" : "number", 1, UINT64_MAX);
        if (Skips(':')) {
            if (!isOfStream) {
                Refuse("packet", Part(), "none, this fault is not of the stream");
            }
            place.packet = ReadNumber<std::uint32_t>("packet", 0, CFaultPlace::kAnyPacket - 1);
        }
        return place;
    }

    void Advance(const char* to) { m_rest.remove_prefix(static_cast<std::size_t>(to - m_rest.data())); }

    const std::string_view m_text;
    std::string_view m_rest;
};

} // namespace

std::span<const CFaultInfo, kFaults> FaultInfos() {
    return kInfos;
}

std::string OptionName(EFault fault) {
    std::string name;
    for (const char letter : std::string_view(kInfos[IndexOf(fault)].name)) {
        const auto code = static_cast<unsigned char>(letter);
        if (std::isupper(code) != 0 && !name.empty()) {
            name += '-';
        }
        name += static_cast<char>(std::tolower(code));
    }
    return name;
}

CFaultOrder ParseFault(std::string_view text) {
    return CFaultParser(text).Parse();
}

CServingFaults::CServingFaults(std::uint32_t seed) : m_seed(seed) {
    Reset();
}

bool CServingFaults::Strikes(EFault fault, std::uint64_t block, std::uint32_t packet, std::uint64_t turn) {
    if (!IsOn(fault)) {
        return false;
    }
    const PluginKit::CLockGuard lock(m_lock);
    CState& state = m_faults[IndexOf(fault)];
    return IsPlaced(state.setting, block, packet) && StrikesLocked(fault, state, block, packet, turn);
}

bool CServingFaults::StrikesNext(EFault fault) {
    if (!IsOn(fault)) {
        return false;
    }
    const PluginKit::CLockGuard lock(m_lock);
    CState& state = m_faults[IndexOf(fault)];
    const std::uint64_t turn = state.turns++;
    return IsPlaced(state.setting, ++state.asked, 0) && StrikesLocked(fault, state, 0, 0, turn);
}

bool CServingFaults::StrikesLocked(EFault fault, CState& state, std::uint64_t block, std::uint32_t packet,
                                   std::uint64_t turn) {
    CFaultSetting& setting = state.setting;
    if (Chance(m_seed, std::uint64_t{IndexOf(fault)}, block, packet, turn) >= setting.rate) {
        return false;
    }
    ++state.count;
    if (setting.left != 0 && --setting.left == 0) {
        setting.rate = 0; // that was the last time
        m_on &= ~BitOf(fault);
    }
    return true;
}

std::uint32_t CServingFaults::Parameter(EFault fault) const {
    const PluginKit::CLockGuard lock(m_lock);
    return m_faults[IndexOf(fault)].setting.parameter;
}

void CServingFaults::Set(EFault fault, CFaultSetting setting) {
    const CFaultInfo& info = kInfos[IndexOf(fault)];
    setting.parameter = std::clamp(setting.parameter, info.min, info.max);
    const PluginKit::CLockGuard lock(m_lock);
    if (setting.rate > 0) { // not a number is off
        m_on |= BitOf(fault);
    } else {
        m_on &= ~BitOf(fault);
    }
    std::swap(m_faults[IndexOf(fault)].setting, setting);
    m_faults[IndexOf(fault)].asked = 0;
}

CFaultSetting CServingFaults::Get(EFault fault) const {
    const PluginKit::CLockGuard lock(m_lock);
    return m_faults[IndexOf(fault)].setting;
}

std::uint64_t CServingFaults::Count(EFault fault) const {
    const PluginKit::CLockGuard lock(m_lock);
    return m_faults[IndexOf(fault)].count;
}

void CServingFaults::Seed(std::uint32_t seed) {
    const PluginKit::CLockGuard lock(m_lock);
    m_seed = seed;
    for (CState& state : m_faults) {
        state.turns = 0;
    }
}

std::uint32_t CServingFaults::Seed() const {
    const PluginKit::CLockGuard lock(m_lock);
    return m_seed;
}

void CServingFaults::Reset() {
    const PluginKit::CLockGuard lock(m_lock);
    m_on = 0;
    for (std::size_t i = 0; i < kFaults; ++i) {
        m_faults[i] = {};
        m_faults[i].setting.parameter = kInfos[i].initial;
    }
}

} // namespace Serving
