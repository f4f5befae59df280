// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/Autovector.h>
#include <GenApi/IValue.h>

namespace GenApi {

/// An integer feature. Flags and exceptions as in IValue.
struct GENICAM_API IInteger : virtual public IValue {
    virtual void SetValue(int64_t Value, bool Verify = true) = 0;
    virtual IInteger& operator=(int64_t Value) = 0;
    virtual int64_t GetValue(bool Verify = false, bool IgnoreCache = false) = 0;
    virtual int64_t operator()() = 0;
    virtual int64_t operator*() = 0;
    virtual int64_t GetMin() = 0;
    virtual int64_t GetMax() = 0;
    virtual EIncMode GetIncMode() = 0;
    virtual int64_t GetInc() = 0; ///< Values lie on GetMin() + n * GetInc(); 1 where the description says nothing.
    /// The only valid values, sorted; empty where the feature has no such list.
    /// @param bounded leave out those beyond the limits
    virtual int64_autovector_t GetListOfValidValues(bool bounded = true) = 0;
    virtual ERepresentation GetRepresentation() = 0;
    virtual gcstring GetUnit() = 0;
    virtual void ImposeMin(int64_t Value) = 0; ///< Narrows what GetMin() reports; writing checks the natural limit.
    virtual void ImposeMax(int64_t Value) = 0; ///< Narrows what GetMax() reports; writing checks the natural limit.
};

} // namespace GenApi
