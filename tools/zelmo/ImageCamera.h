// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/InstantCamera.h>

#include <Base/GCException.h>

#include <string>

namespace tool {

/// A camera object for which broken chunk data are no failure of the retrieval, as their image has come.
/// Threads: those of the base class; GetChunkFault, that which retrieves.
class ImageCamera : public Zelmo::CInstantCamera {
public:
    bool RetrieveResult(unsigned timeoutMs, Zelmo::CGrabResultPtr& result,
                        Zelmo::ETimeoutHandling handling = Zelmo::TimeoutHandling_ThrowException) override {
        m_chunkFault.clear();
        try {
            return CInstantCamera::RetrieveResult(timeoutMs, result, handling);
        } catch (const GenICam::GenericException& error) {
            if (!result.IsValid()) {
                throw;
            }
            m_chunkFault = error.GetDescription();
            return true;
        }
    }

    /// Why the chunk data of the last image cannot be read; else empty.
    const std::string& GetChunkFault() const noexcept { return m_chunkFault; }

private:
    std::string m_chunkFault;
};

} // namespace tool
