// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "genicam/genapi/nodes/NumericBase.h"

#include <GenApi/IInteger.h>

namespace GenApi {

/// The public side of all integer nodes, and their view as a float.
class IntegerBase : public NumericBase<std::int64_t>, public IInteger {
public:
    using NumericBase::NumericBase;

    void SetValue(int64_t Value, bool Verify = true) override;
    IInteger& operator=(int64_t Value) override;
    int64_t GetValue(bool Verify = false, bool IgnoreCache = false) override;
    int64_t operator()() override { return GetValue(); }
    int64_t operator*() override { return GetValue(); }
    int64_t GetMin() override;
    int64_t GetMax() override;
    EIncMode GetIncMode() override;
    int64_t GetInc() override;
    int64_autovector_t GetListOfValidValues(bool bounded = true) override;
    ERepresentation GetRepresentation() override;
    gcstring GetUnit() override;
    void ImposeMin(int64_t Value) override;
    void ImposeMax(int64_t Value) override;
    EInterfaceType GetPrincipalInterfaceType() const override { return intfIInteger; }

    ValueType Type() const noexcept override { return ValueType::Integer; }
    std::int64_t ReadInteger(ReadMode mode) override { return ReadNumber(mode); }
    double ReadFloat(ReadMode mode) override { return static_cast<double>(ReadNumber(mode)); }
    void WriteInteger(std::int64_t value, bool verify) override { WriteNumber(value, verify); }
    void WriteFloat(double value, bool verify) override; ///< rounded, then snapped to the nearest step
    std::int64_t MinInteger() override { return SeenMin(); }
    std::int64_t MaxInteger() override { return SeenMax(); }
    std::int64_t IncInteger() override;
    double MinFloat() override { return static_cast<double>(SeenMin()); }
    double MaxFloat() override { return static_cast<double>(SeenMax()); }
    bool IncFloat(double& inc) override;

protected:
    std::string FormatValue(ReadMode mode) override;
    void WriteFormatted(std::string_view text, bool verify) override;
};

/// Rounds half away from zero. @return false for what does not fit into 64 bits.
bool RoundToInteger(double value, std::int64_t& rounded) noexcept;

} // namespace GenApi
