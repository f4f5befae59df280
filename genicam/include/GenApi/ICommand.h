// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/IValue.h>

namespace GenApi {

/// Something the device does when told.
struct GENICAM_API ICommand : virtual public IValue {
    /// Starts the command and returns at once. @throws GenICam::AccessException when it cannot be executed now.
    virtual void Execute(bool Verify = true) = 0;
    virtual void operator()() = 0;
    /// Asks the device whether the command was carried out; a device that does not tell is taken to be done.
    virtual bool IsDone(bool Verify = true) = 0;
};

} // namespace GenApi
