// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/persistence/FeatureTexts.h"

#include "genicam/genapi/model/TextForms.h"

#include <GenApi/IBoolean.h>
#include <GenApi/IEnumEntry.h>
#include <GenApi/IEnumeration.h>
#include <GenApi/IFloat.h>
#include <GenApi/IInteger.h>

#include <algorithm>
#include <charconv>
#include <cmath>

namespace GenApi {

namespace {

/// The value of the last digit that the node shows of a number of this size.
double LastDigit(const IFloat& number, double size) {
    const std::int64_t told = number.GetDisplayPrecision();
    const int digits = told < 0 ? 6 : static_cast<int>(std::min<std::int64_t>(told, 17));
    if (number.GetDisplayNotation() == fnFixed) {
        return std::pow(10.0, -digits);
    }
    const int behindFirst = number.GetDisplayNotation() == fnScientific ? digits : std::max(digits, 1) - 1;
    return std::pow(10.0, std::floor(std::log10(size)) - behindFirst);
}

bool HasFloat(IFloat& number, std::string_view text) {
    const auto wanted = ParseFloat(text);
    const double value = number.GetValue(false, true);
    if (!wanted || !std::isfinite(*wanted) || !std::isfinite(value) || *wanted == value) {
        return wanted == value || (wanted && std::isnan(*wanted) && std::isnan(value));
    }
    return std::abs(*wanted - value) < LastDigit(number, std::max(std::abs(*wanted), std::abs(value)));
}

} // namespace

std::string ExactText(IValue& feature) {
    std::string text(feature.ToString().view());
    auto* const number = dynamic_cast<IFloat*>(&feature);
    if (number == nullptr) {
        return text;
    }
    const double value = number->GetValue();
    if (ParseFloat(text) == value) {
        return text;
    }
    char digits[64];
    return {digits, std::to_chars(digits, digits + sizeof(digits), value).ptr};
}

bool HasValue(IValue& feature, std::string_view text) {
    const INode* const node = feature.GetNode();
    switch (node != nullptr ? node->GetPrincipalInterfaceType() : intfIValue) {
    case intfIFloat:
        return HasFloat(dynamic_cast<IFloat&>(feature), text);
    case intfIInteger: {
        auto& integer = dynamic_cast<IInteger&>(feature);
        return ParseInteger(text, integer.GetRepresentation()) == integer.GetValue(false, true);
    }
    case intfIBoolean:
        return ParseBoolean(text) == dynamic_cast<IBoolean&>(feature).GetValue(false, true);
    case intfIEnumeration: { // entries may share a value
        auto& enumeration = dynamic_cast<IEnumeration&>(feature);
        IEnumEntry* const entry = enumeration.GetEntryByName(gcstring(text));
        return entry != nullptr && entry->GetValue() == enumeration.GetIntValue(false, true);
    }
    case intfIRegister:
        return ParseBytes(text) == ParseBytes(feature.ToString(false, true).view());
    default:
        return feature.ToString(false, true).view() == text;
    }
}

} // namespace GenApi
