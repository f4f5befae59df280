// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/IInteger.h>
#include <zelmo/Export.h>
#include <zelmo/TypedParameter.h>

#include <cstdint>

namespace Zelmo {

/// What becomes of an integer that may lie outside of the range or off the increments, which count from the minimum.
/// Beyond a limit, each but None gives that limit, also where it lies off the increments. Up and Nearest may give a
/// value above a maximum that lies off the increments; the node then refuses it.
enum EIntegerValueCorrection : int {
    IntegerValueCorrection_None = 0,   ///< Set as given.
    IntegerValueCorrection_Up = 1,     ///< The next increment above.
    IntegerValueCorrection_Down = 2,   ///< The next increment below.
    IntegerValueCorrection_Nearest = 3 ///< The nearest increment, from the middle the one above.
};

/// What integer parameters offer beside the interface of an integer node.
///
/// Operations that begin with Try answer false without a node and when it cannot be written now; all of them but the
/// plain TrySetValue also when it cannot be read, as they need its limits. Without Try this is
/// GenICam::AccessException. Both throw GenICam::OutOfRangeException for a value that the node does not take.
struct ZELMO_API IIntegerEx : virtual public GenApi::IInteger, virtual public IValueEx {
    using GenApi::IInteger::SetValue;
    using GenApi::IInteger::operator=;
    IIntegerEx() = default;
    IIntegerEx(const IIntegerEx&) = default;
    IIntegerEx& operator=(const IIntegerEx&) = delete; // it would set nothing

    virtual bool TrySetValue(int64_t value) = 0;
    /// The value; @p defaultValue without a node, and when it cannot be read now.
    virtual int64_t GetValueOrDefault(int64_t defaultValue) = 0;
    /// With IntegerValueCorrection_None this is the plain TrySetValue.
    virtual bool TrySetValue(int64_t value, EIntegerValueCorrection correction) = 0;
    virtual void SetValue(int64_t value, EIntegerValueCorrection correction) = 0;

    /// Where the value stands between minimum and maximum, from 0.0 to 100.0; 100.0 when these are equal.
    virtual double GetValuePercentOfRange() = 0;
    /// Sets the increment nearest to @p percent of the range; below 0.0 the minimum, above 100.0 the maximum.
    /// @throws GenICam::InvalidArgumentException when @p percent is not a number.
    virtual void SetValuePercentOfRange(double percent) = 0;
    virtual bool TrySetValuePercentOfRange(double percent) = 0;

    virtual void SetToMaximum() = 0;
    virtual void SetToMinimum() = 0;
    virtual bool TrySetToMaximum() = 0;
    virtual bool TrySetToMinimum() = 0;
};

class ZELMO_API CIntegerParameter;
extern template class CTypedParameter<CIntegerParameter, IIntegerEx, GenApi::IInteger>;

/// An integer feature of a camera, a transport layer or the library: a view of one node. See CParameter.
class ZELMO_API CIntegerParameter : public CTypedParameter<CIntegerParameter, IIntegerEx, GenApi::IInteger> {
public:
    using CTypedParameter::CTypedParameter;

    void SetValue(int64_t value, bool verify = true) override;
    GenApi::IInteger& operator=(int64_t value) override;
    int64_t GetValue(bool verify = false, bool ignoreCache = false) override;
    int64_t operator()() override;
    int64_t operator*() override;
    int64_t GetMin() override;
    int64_t GetMax() override;
    GenApi::EIncMode GetIncMode() override;
    int64_t GetInc() override;
    GenApi::int64_autovector_t GetListOfValidValues(bool bounded = true) override;
    GenApi::ERepresentation GetRepresentation() override;
    String_t GetUnit() override;
    void ImposeMin(int64_t value) override;
    void ImposeMax(int64_t value) override;

    bool TrySetValue(int64_t value) override;
    int64_t GetValueOrDefault(int64_t defaultValue) override;
    bool TrySetValue(int64_t value, EIntegerValueCorrection correction) override;
    void SetValue(int64_t value, EIntegerValueCorrection correction) override;
    double GetValuePercentOfRange() override;
    void SetValuePercentOfRange(double percent) override;
    bool TrySetValuePercentOfRange(double percent) override;
    void SetToMaximum() override;
    void SetToMinimum() override;
    bool TrySetToMaximum() override;
    bool TrySetToMinimum() override;

private:
    friend CTypedParameter;
    static constexpr char ClassName[] = "CIntegerParameter";
};

} // namespace Zelmo
