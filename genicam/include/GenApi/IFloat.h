// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/Autovector.h>
#include <GenApi/IValue.h>

namespace GenApi {

/// A floating-point feature. Flags and exceptions as in IValue.
struct GENICAM_API IFloat : virtual public IValue {
    virtual void SetValue(double Value, bool Verify = true) = 0;
    virtual IFloat& operator=(double Value) = 0;
    virtual double GetValue(bool Verify = false, bool IgnoreCache = false) = 0;
    virtual double operator()() = 0;
    virtual double operator*() = 0;
    virtual double GetMin() = 0;
    virtual double GetMax() = 0;
    virtual bool HasInc() = 0;
    virtual EIncMode GetIncMode() = 0;
    virtual double GetInc() = 0; ///< @throws GenICam::RuntimeException without an increment; see HasInc().
    /// The only valid values, sorted; empty where the feature has no such list.
    /// @param bounded leave out those beyond the limits
    virtual double_autovector_t GetListOfValidValues(bool bounded = true) = 0;
    virtual ERepresentation GetRepresentation() = 0;
    virtual gcstring GetUnit() const = 0;
    virtual EDisplayNotation GetDisplayNotation() const = 0;
    virtual int64_t GetDisplayPrecision() const = 0; ///< In digits; -1 where the description says nothing.
    virtual void ImposeMin(double Value) = 0; ///< Narrows what GetMin() reports; writing checks the natural limit.
    virtual void ImposeMax(double Value) = 0; ///< Narrows what GetMax() reports; writing checks the natural limit.
};

} // namespace GenApi
