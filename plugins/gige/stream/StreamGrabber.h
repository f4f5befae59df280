// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/AccessMode.h>
#include <zelmo/StreamGrabber.h>

#include <cstdint>
#include <functional>
#include <memory>

namespace Gige {

class CConnection;

/// What a stream grabber wants of the node map of its camera. Called with no lock of the plug-in held; none of them
/// throws, and those that are empty are left out.
struct CCameraFeatures {
    std::function<void(bool isLocked)> lock;    ///< writes TLParamsLocked, where it is writable
    std::function<std::uint64_t()> payloadSize; ///< bytes; 0 when unknown
    /// Packet size, destination and port were written behind the node map: GevSCPSPacketSize, PayloadSize, GevSCDA and
    /// GevSCPHostPort are to be invalidated.
    std::function<void()> streamChanged;
};

/// System calls and locks of the receive thread since the streaming began.
struct CReceiveCosts {
    std::uint64_t batches = 0;   ///< of at least one datagram
    std::uint64_t datagrams = 0; ///< in them
    std::uint64_t waits = 0;     ///< calls of poll
    std::uint64_t receives = 0;  ///< calls of recvmmsg
    std::uint64_t sends = 0;     ///< resend commands, and what keeps firewalls open
    std::uint64_t locks = 0;     ///< of the grabber
    std::uint64_t signals = 0;   ///< of the wait object, which is once for results that nobody has fetched yet
};

/// Makes images of the packets that a camera sends. Threads, locks and the road of a packet: plugins/gige/README.md;
/// parameters and statistics: plugins/gige/stream/README.md.
/// Owns:    the registration of buffers, never their memory; from PrepareGrab to FinishGrab the stream channel with its
///          socket; while streaming the receive thread.
/// Borrows: the connection.
/// Threads: as the contract tells; constructor, Permit, Forbid and destructor come one at a time with all of it.
class CStreamGrabber final : public Zelmo::IStreamGrabber {
public:
    CStreamGrabber(CConnection& connection, CCameraFeatures features);
    ~CStreamGrabber(); ///< Closes.
    CStreamGrabber(const CStreamGrabber&) = delete;
    CStreamGrabber& operator=(const CStreamGrabber&) = delete;

    /// Tells how the device was opened, with the connection open already; without Stream the grabber cannot be opened.
    void Permit(Zelmo::AccessModeSet modes);
    void Forbid() noexcept;      ///< The device is about to be closed; closes the grabber first.
    CReceiveCosts Costs() const; ///< Any thread.

    void Open() override;
    void Close() override;
    bool IsOpen() const override;
    Zelmo::StreamBufferHandle RegisterBuffer(void* buffer, std::size_t sizeBytes) override;
    void* DeregisterBuffer(Zelmo::StreamBufferHandle handle) override;
    void PrepareGrab() override;
    bool IsStreaming() const override;
    void StartStreaming() override;
    void StopStreaming() override;
    void FinishGrab() override;
    void QueueBuffer(Zelmo::StreamBufferHandle handle, void* context) override;
    void FlushBuffers() override;
    std::size_t GetNumQueuedBuffers() const override;
    bool RetrieveResult(Zelmo::GrabResult& result) override;
    Zelmo::WaitObject& GetWaitObject() const override;
    GenApi::INodeMap* GetNodeMap() override;

private:
    struct CState;
    std::unique_ptr<CState> m_state;
};

} // namespace Gige
