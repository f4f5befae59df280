// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "genicam/genapi/persistence/Failure.h"

#include <GenApi/IValue.h>

namespace GenApi {

bool IsSilent(IValue& feature); ///< Whether a read fails that asks the device, and not because it is not allowed now.

/// Notices, in the middle of a walk over features, that the device is gone, so that nobody waits for a time-out of
/// each. Borrows the features.
class DeviceWatch {
public:
    /// Runs @p action on a feature. @return what went wrong, nothing when all went well.
    template <class Action>
    std::optional<std::string> Try(IValue& feature, Action action) {
        auto failure = FailureOf(action);
        if (!failure) {
            NoteAnswer(feature);
        } else if (IsGone(feature)) {
            m_isLost = true;
            *failure += " The device does not answer any more: what follows was not tried.";
        }
        return failure;
    }
    bool IsLost() const noexcept { return m_isLost; }

private:
    void NoteAnswer(IValue& feature);
    bool IsGone(IValue& failed);

    IValue* m_answering = nullptr; // in a register of the device, and answered before
    int m_silent = 0;              // features that did not, while none has answered
    bool m_isLost = false;
};

} // namespace GenApi
