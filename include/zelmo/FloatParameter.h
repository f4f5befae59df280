// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/IFloat.h>
#include <zelmo/Export.h>
#include <zelmo/TypedParameter.h>

#include <cstdint>

namespace Zelmo {

class CIntegerParameter;

/// What becomes of a number that may lie outside of the range. Increments play no part.
enum EFloatValueCorrection : int {
    FloatValueCorrection_None = 0,       ///< Set as given.
    FloatValueCorrection_ClipToRange = 3 ///< Beyond a limit, that limit; what is not a number becomes the maximum.
};

/// What floating-point parameters offer beside the interface of a floating-point node.
/// Try operations answer false as those of IIntegerEx, and throw as those; the one that corrects wants a node that can
/// be read also for FloatValueCorrection_None.
struct ZELMO_API IFloatEx : virtual public GenApi::IFloat, virtual public IValueEx {
    using GenApi::IFloat::SetValue;
    using GenApi::IFloat::operator=;
    IFloatEx() = default;
    IFloatEx(const IFloatEx&) = default;
    IFloatEx& operator=(const IFloatEx&) = delete; // it would set nothing

    virtual bool TrySetValue(double value) = 0;
    /// The value; @p defaultValue without a node, and when it cannot be read now.
    virtual double GetValueOrDefault(double defaultValue) = 0;
    virtual bool TrySetValue(double value, EFloatValueCorrection correction) = 0;
    virtual void SetValue(double value, EFloatValueCorrection correction) = 0;

    /// Where the value stands between minimum and maximum, from 0.0 to 100.0; 100.0 when these are equal.
    virtual double GetValuePercentOfRange() = 0;
    /// Sets @p percent of the range; below 0.0 the minimum, above 100.0 the maximum.
    /// @throws GenICam::InvalidArgumentException when @p percent is not a number.
    virtual void SetValuePercentOfRange(double percent) = 0;
    virtual bool TrySetValuePercentOfRange(double percent) = 0;

    virtual void SetToMaximum() = 0;
    virtual void SetToMinimum() = 0;
    virtual bool TrySetToMaximum() = 0;
    virtual bool TrySetToMinimum() = 0;

    /// Attaches @p parameter to the integer that is the same feature in the device's own unit, for example the raw
    /// value of a gain in decibels; invalid when there is none. Never fails for want of a node.
    virtual void GetAlternativeIntegerRepresentation(CIntegerParameter& parameter) = 0;
};

class ZELMO_API CFloatParameter;
extern template class CTypedParameter<CFloatParameter, IFloatEx, GenApi::IFloat>;

/// A floating-point feature of a camera, a transport layer or the library: a view of one node. See CParameter.
class ZELMO_API CFloatParameter : public CTypedParameter<CFloatParameter, IFloatEx, GenApi::IFloat> {
public:
    using CTypedParameter::CTypedParameter;

    void SetValue(double value, bool verify = true) override;
    GenApi::IFloat& operator=(double value) override;
    double GetValue(bool verify = false, bool ignoreCache = false) override;
    double operator()() override;
    double operator*() override;
    double GetMin() override;
    double GetMax() override;
    bool HasInc() override;
    GenApi::EIncMode GetIncMode() override;
    double GetInc() override;
    GenApi::double_autovector_t GetListOfValidValues(bool bounded = true) override;
    GenApi::ERepresentation GetRepresentation() override;
    String_t GetUnit() const override;
    GenApi::EDisplayNotation GetDisplayNotation() const override;
    int64_t GetDisplayPrecision() const override;
    void ImposeMin(double value) override;
    void ImposeMax(double value) override;

    bool TrySetValue(double value) override;
    double GetValueOrDefault(double defaultValue) override;
    bool TrySetValue(double value, EFloatValueCorrection correction) override;
    void SetValue(double value, EFloatValueCorrection correction) override;
    double GetValuePercentOfRange() override;
    void SetValuePercentOfRange(double percent) override;
    bool TrySetValuePercentOfRange(double percent) override;
    void SetToMaximum() override;
    void SetToMinimum() override;
    bool TrySetToMaximum() override;
    bool TrySetToMinimum() override;
    void GetAlternativeIntegerRepresentation(CIntegerParameter& parameter) override;

private:
    friend CTypedParameter;
    static constexpr char ClassName[] = "CFloatParameter";
};

} // namespace Zelmo
