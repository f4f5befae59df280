// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/Types.h>

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace GenApi {

/// Text forms of values, as the description language and the users of nodes write them. None depends on the locale.
/// Parsing trims white space around the text and answers nothing for a text that is not wholly of the form.

/// A 64-bit number: decimal with a sign, or hexadecimal behind 0x. What lies above INT64_MAX but fits into 64 bits is
/// taken for the same bits; beyond that there is no value.
std::optional<std::int64_t> ParseInteger(std::string_view text);

/// A floating-point number: decimal with or without exponent, INF, -INF, NaN in any case, or hexadecimal behind 0x.
std::optional<double> ParseFloat(std::string_view text);

/// The text without the white space at its ends.
std::string_view TrimSpace(std::string_view text);

/// The items of a list, which ';', ',' and white space separate; none of them is empty.
std::vector<std::string_view> SplitList(std::string_view text);

/// An integer as its representation shows it: decimal, 0x and upper-case digits, a dotted quad, or a hardware address.
std::string FormatInteger(std::int64_t value, ERepresentation representation);

/// Reads what FormatInteger() writes; decimal and hexadecimal numbers are understood for every representation.
std::optional<std::int64_t> ParseInteger(std::string_view text, ERepresentation representation);

/// A floating-point number as its notation and precision (-1: 6 digits) show it. Where rounding would leave the range
/// from @p min to @p max, the last digit is corrected, so that the text read back is valid again.
std::string FormatFloat(double value, EDisplayNotation notation, std::int64_t precision, double min, double max);

std::string FormatBoolean(bool value);                        ///< "1" or "0".
std::optional<bool> ParseBoolean(std::string_view text);      ///< 1 0 true false True False Yes No On Off.
std::string FormatBytes(std::span<const std::uint8_t> bytes); ///< 0x and two lower-case digits for each byte.
std::optional<std::vector<std::uint8_t>> ParseBytes(std::string_view text); ///< The same; 0x may be missing.

} // namespace GenApi
