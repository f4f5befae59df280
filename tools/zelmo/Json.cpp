// SPDX-License-Identifier: Apache-2.0
#include "Json.h"

#include <cmath>

namespace tool {
namespace {

constexpr std::int64_t kLargestExact = std::int64_t{1} << 53;

} // namespace

Json JsonInteger(std::int64_t value) {
    if (value > kLargestExact || value < -kLargestExact) {
        return std::to_string(value);
    }
    return value;
}

Json JsonInteger(std::uint64_t value) {
    if (value > static_cast<std::uint64_t>(kLargestExact)) {
        return std::to_string(value);
    }
    return value;
}

Json JsonNumber(double value) {
    if (std::isfinite(value)) {
        return value;
    }
    return std::isnan(value) ? "nan" : value > 0 ? "inf" : "-inf";
}

Json MakeCauseJson(const ToolError& error) {
    return {{"code", error.GetCode()}, {"message", error.what()}};
}

std::string ToLine(const Json& json) {
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

} // namespace tool
