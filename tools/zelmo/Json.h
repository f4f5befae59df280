// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Errors.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <string>

namespace tool {

using Json = nlohmann::ordered_json;

constexpr int kJsonSchema = 1; ///< Stands as "schema" in whatever the tool writes; fields are only added.

/// Integers that a double cannot hold (beyond 2^53) stand as text: most readers of JSON would round them.
Json JsonInteger(std::int64_t value);
Json JsonInteger(std::uint64_t value);

/// Infinities and NaN, which JSON does not have, stand as text.
Json JsonNumber(double value);

/// "code" and "message" of what went wrong.
Json MakeCauseJson(const ToolError& error);

/// One line; bytes that are no UTF-8 are replaced.
std::string ToLine(const Json& json);

} // namespace tool
