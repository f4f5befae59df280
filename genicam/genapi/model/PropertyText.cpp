// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/model/PropertyText.h"

#include <charconv>

namespace GenApi {

namespace {

std::string FloatText(double value) {
    char text[32];
    const auto result = std::to_chars(text, text + sizeof(text), value);
    return std::string(text, result.ptr);
}

} // namespace

std::string PropertyText(const Model& model, const Property& property) {
    switch (property.form) {
    case Form::Text:
        return std::string(model.TextOf(property.payload));
    case Form::Integer:
        return std::to_string(model.IntegerOf(property));
    case Form::Float:
        return FloatText(model.FloatOf(property));
    case Form::Enumerator:
        return std::string(EnumeratorName(TraitsOf(property.kind).syntax, property.payload));
    case Form::Node:
        return std::string(model.NameOf(property.payload));
    default:
        return {};
    }
}

} // namespace GenApi
