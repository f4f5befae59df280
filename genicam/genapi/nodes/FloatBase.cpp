// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/nodes/FloatBase.h"

#include "genicam/genapi/model/TextForms.h"
#include "genicam/genapi/nodes/IntegerBase.h"
#include "genicam/genapi/nodes/NodeError.h"

#include <cmath>

namespace GenApi {

void FloatBase::BindProperty(const Property& property) {
    switch (property.kind) {
    case PropertyKind::DisplayNotation:
        m_notation = static_cast<EDisplayNotation>(property.payload);
        break;
    case PropertyKind::DisplayPrecision:
        m_precision = Description().IntegerOf(property);
        break;
    default:
        NumericBase::BindProperty(property);
        break;
    }
}

void FloatBase::SetValue(double Value, bool Verify) {
    Core().Change(*this, "SetValue", [&] { WriteNumber(Value, Verify); });
}

IFloat& FloatBase::operator=(double Value) {
    SetValue(Value);
    return *this;
}

double FloatBase::GetValue(bool Verify, bool IgnoreCache) {
    const Call call(*this, "GetValue");
    return ReadNumber({Verify, IgnoreCache});
}

double FloatBase::GetMin() {
    const Call call(*this, "GetMin");
    RequireAvailable();
    return SeenMin();
}

double FloatBase::GetMax() {
    const Call call(*this, "GetMax");
    RequireAvailable();
    return SeenMax();
}

bool FloatBase::HasInc() {
    const Call call(*this, "HasInc");
    double inc = 0;
    return CheckedInc(inc);
}

EIncMode FloatBase::GetIncMode() {
    const Call call(*this, "GetIncMode");
    return IncMode();
}

double FloatBase::GetInc() {
    const Call call(*this, "GetInc");
    RequireAvailable();
    double inc = 0;
    if (!CheckedInc(inc)) {
        throw NODE_EXCEPTION(RuntimeException, *this)("Node '%s' does not have an increment.", NameText().c_str());
    }
    return inc;
}

double_autovector_t FloatBase::GetListOfValidValues(bool bounded) {
    const Call call(*this, "GetListOfValidValues");
    return ListValidValues(bounded);
}

ERepresentation FloatBase::GetRepresentation() {
    const Call call(*this, "GetRepresentation");
    return Representation();
}

gcstring FloatBase::GetUnit() const {
    const Call call(*this, "GetUnit");
    return gcstring(const_cast<FloatBase*>(this)->Unit());
}

EDisplayNotation FloatBase::GetDisplayNotation() const {
    const Call call(*this, "GetDisplayNotation");
    return const_cast<FloatBase*>(this)->DisplayNotation();
}

int64_t FloatBase::GetDisplayPrecision() const {
    const Call call(*this, "GetDisplayPrecision");
    return const_cast<FloatBase*>(this)->DisplayPrecision();
}

EDisplayNotation FloatBase::DisplayNotation() {
    return m_notation != _UndefinedEDisplayNotation ? m_notation : NumericBase::DisplayNotation();
}

std::int64_t FloatBase::DisplayPrecision() {
    return m_precision ? *m_precision : NumericBase::DisplayPrecision();
}

void FloatBase::ImposeMin(double Value) {
    ImposeLimit("ImposeMin", m_imposedMin, Value);
}

void FloatBase::ImposeMax(double Value) {
    ImposeLimit("ImposeMax", m_imposedMax, Value);
}

std::int64_t FloatBase::ReadInteger(ReadMode mode) {
    const double value = ReadNumber(mode);
    std::int64_t rounded = 0;
    if (!RoundToInteger(value, rounded)) {
        throw NODE_EXCEPTION(RuntimeException, *this)("Value %f does not fit into 64 bits.", value);
    }
    return rounded;
}

// only whole numbers inside the float's range are valid integers
std::int64_t FloatBase::MinInteger() {
    std::int64_t min = 0;
    return RoundToInteger(std::ceil(SeenMin()), min) ? min : std::numeric_limits<std::int64_t>::min();
}

std::int64_t FloatBase::MaxInteger() {
    std::int64_t max = 0;
    return RoundToInteger(std::floor(SeenMax()), max) ? max : std::numeric_limits<std::int64_t>::max();
}

std::string FloatBase::FormatValue(ReadMode mode) {
    constexpr double highest = std::numeric_limits<double>::max();
    const double value = ReadNumber(mode);
    const EDisplayNotation notation = DisplayNotation();
    const std::int64_t precision = DisplayPrecision();
    std::string text = FormatFloat(value, notation, precision, -highest, highest);
    if (ParseFloat(text) == value) {
        return text; // nothing was rounded, so limits need not be asked for
    }
    try {
        return FormatFloat(value, notation, precision, CheckedMin(), CheckedMax());
    } catch (const GenICam::AccessException&) {
        return text; // limits that cannot be read now keep no value from being shown
    }
}

void FloatBase::WriteFormatted(std::string_view text, bool verify) {
    const auto value = ParseFloat(text);
    if (!value) {
        FailConversion(text, "float");
    }
    WriteNumber(*value, verify);
}

} // namespace GenApi
