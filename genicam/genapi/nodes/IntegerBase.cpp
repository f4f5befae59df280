// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/nodes/IntegerBase.h"

#include "genicam/genapi/model/TextForms.h"
#include "genicam/genapi/nodes/NodeError.h"

#include <cmath>

namespace GenApi {

bool RoundToInteger(double value, std::int64_t& rounded) noexcept {
    const double whole = std::round(value);
    if (!(whole >= -0x1p63 && whole < 0x1p63)) {
        return false;
    }
    rounded = static_cast<std::int64_t>(whole);
    return true;
}

void IntegerBase::SetValue(int64_t Value, bool Verify) {
    Core().Change(*this, "SetValue", [&] { WriteNumber(Value, Verify); });
}

IInteger& IntegerBase::operator=(int64_t Value) {
    SetValue(Value);
    return *this;
}

int64_t IntegerBase::GetValue(bool Verify, bool IgnoreCache) {
    const Call call(*this, "GetValue");
    return ReadNumber({Verify, IgnoreCache});
}

int64_t IntegerBase::GetMin() {
    const Call call(*this, "GetMin");
    RequireAvailable();
    return SeenMin();
}

int64_t IntegerBase::GetMax() {
    const Call call(*this, "GetMax");
    RequireAvailable();
    return SeenMax();
}

EIncMode IntegerBase::GetIncMode() {
    const Call call(*this, "GetIncMode");
    return IncMode();
}

int64_t IntegerBase::GetInc() {
    const Call call(*this, "GetInc");
    RequireAvailable();
    return IncInteger();
}

int64_autovector_t IntegerBase::GetListOfValidValues(bool bounded) {
    const Call call(*this, "GetListOfValidValues");
    return ListValidValues(bounded);
}

ERepresentation IntegerBase::GetRepresentation() {
    const Call call(*this, "GetRepresentation");
    return Representation();
}

gcstring IntegerBase::GetUnit() {
    const Call call(*this, "GetUnit");
    return gcstring(Unit());
}

void IntegerBase::ImposeMin(int64_t Value) {
    ImposeLimit("ImposeMin", m_imposedMin, Value);
}

void IntegerBase::ImposeMax(int64_t Value) {
    ImposeLimit("ImposeMax", m_imposedMax, Value);
}

std::int64_t IntegerBase::IncInteger() {
    std::int64_t inc = 1;
    CheckedInc(inc);
    return inc;
}

void IntegerBase::WriteFloat(double value, bool verify) {
    std::int64_t rounded = 0;
    if (!RoundToInteger(value, rounded)) {
        throw NODE_EXCEPTION(OutOfRangeException, *this)("Value %f does not fit into 64 bits.", value);
    }
    const std::int64_t min = CheckedMin();
    const std::int64_t inc = IncInteger();
    if (inc > 1 && rounded > min) {
        const auto step = static_cast<std::uint64_t>(inc);
        const std::uint64_t rest = (static_cast<std::uint64_t>(rounded) - static_cast<std::uint64_t>(min)) % step;
        const std::uint64_t down = static_cast<std::uint64_t>(rounded) - rest;
        const std::uint64_t room = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()) - down;
        rounded = static_cast<std::int64_t>(rest > step / 2 && step <= room ? down + step : down);
    }
    WriteNumber(rounded, verify);
}

bool IntegerBase::IncFloat(double& inc) {
    inc = static_cast<double>(IncInteger());
    return true;
}

std::string IntegerBase::FormatValue(ReadMode mode) {
    return FormatInteger(ReadNumber(mode), Representation());
}

void IntegerBase::WriteFormatted(std::string_view text, bool verify) {
    const auto value = ParseInteger(text, Representation());
    if (!value) {
        FailConversion(text, "int");
    }
    WriteNumber(*value, verify);
}

} // namespace GenApi
