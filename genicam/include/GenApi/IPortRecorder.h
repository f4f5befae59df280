// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/IPort.h>

namespace GenApi {

/// Writes to a port, collected for later; CPortWriteList is the stock one.
struct GENICAM_API IPortWriteList {
    virtual void Write(const void* pBuffer, int64_t Address, int64_t Length) = 0; ///< Appends a copy.
    virtual void Replay(IPort* pPort) = 0;           ///< Writes everything to @p pPort, in order; the list stays.
    virtual void SetCookie(const int64_t Value) = 0; ///< A number for the caller's own use.
    virtual int64_t GetCookie() = 0;

protected:
    ~IPortWriteList() = default;
};

/// A port that carries out write lists.
struct GENICAM_API IPortReplay : virtual public IPort {
    /// @param Invalidate drop afterwards what the node map has cached behind this port
    virtual void Replay(IPortWriteList* pPortRecorder, bool Invalidate = true) = 0;
};

/// A port that can divert its writes into a list.
struct GENICAM_API IPortRecorder : public IPortReplay {
    /// From now on writes go to @p pPortRecorder (borrowed) and not to the device.
    virtual void StartRecording(IPortWriteList* pPortRecorder) = 0;
    virtual void StopRecording() = 0;
};

} // namespace GenApi
