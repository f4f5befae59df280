// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "genicam/genapi/nodes/NumericBase.h"

#include <GenApi/IFloat.h>

#include <optional>

namespace GenApi {

/// The public side of all float nodes, and their view as an integer.
class FloatBase : public NumericBase<double>, public IFloat {
public:
    using NumericBase::NumericBase;

    void SetValue(double Value, bool Verify = true) override;
    IFloat& operator=(double Value) override;
    double GetValue(bool Verify = false, bool IgnoreCache = false) override;
    double operator()() override { return GetValue(); }
    double operator*() override { return GetValue(); }
    double GetMin() override;
    double GetMax() override;
    bool HasInc() override;
    EIncMode GetIncMode() override;
    double GetInc() override;
    double_autovector_t GetListOfValidValues(bool bounded = true) override;
    ERepresentation GetRepresentation() override;
    gcstring GetUnit() const override;
    EDisplayNotation GetDisplayNotation() const override;
    int64_t GetDisplayPrecision() const override;
    void ImposeMin(double Value) override;
    void ImposeMax(double Value) override;
    EInterfaceType GetPrincipalInterfaceType() const override { return intfIFloat; }

    ValueType Type() const noexcept override { return ValueType::Float; }
    std::int64_t ReadInteger(ReadMode mode) override; ///< rounded half away from zero
    double ReadFloat(ReadMode mode) override { return ReadNumber(mode); }
    void WriteInteger(std::int64_t value, bool verify) override { WriteNumber(static_cast<double>(value), verify); }
    void WriteFloat(double value, bool verify) override { WriteNumber(value, verify); }
    std::int64_t MinInteger() override;
    std::int64_t MaxInteger() override;
    std::int64_t IncInteger() override { return 1; }
    double MinFloat() override { return SeenMin(); }
    double MaxFloat() override { return SeenMax(); }
    bool IncFloat(double& inc) override { return CheckedInc(inc); }
    EDisplayNotation DisplayNotation() override;
    std::int64_t DisplayPrecision() override;

protected:
    void BindProperty(const Property& property) override;
    std::string FormatValue(ReadMode mode) override;
    void WriteFormatted(std::string_view text, bool verify) override;

private:
    EDisplayNotation m_notation = _UndefinedEDisplayNotation; // what is not given is that of the value's node
    std::optional<std::int64_t> m_precision;
};

} // namespace GenApi
