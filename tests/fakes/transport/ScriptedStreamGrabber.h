// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "CallWatch.h"
#include "RegisterNodes.h"
#include "Script.h"
#include <zelmo/StreamGrabber.h>
#include <zelmo/WaitObject.h>

#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace Fakes {

/// Frames of a camera's life: begun = lost + good + lying + failed, once no frame is under way.
struct CFrameAccount {
    std::uint64_t begun = 0;
    std::uint64_t lost = 0;     ///< no buffer was queued
    std::uint64_t good = 0;     ///< status grabbed, all true
    std::uint64_t lying = 0;    ///< status grabbed, with a datum that is not true
    std::uint64_t failed = 0;   ///< told to fail, or the buffer was too small
    std::uint64_t canceled = 0; ///< buffers, not frames: came back by FlushBuffers
};

/// A stream grabber that does what a script says, watches its caller, and keeps account of its frames.
///
/// Images carry the record of core/FrameRecord.h with the camera's number. Block ids begin at 0 and run on over all
/// sessions, so that a number never means two frames. What the caller does against the contract of IStreamGrabber is
/// listed in Violations(); a handle that cannot be used also raises LogicalErrorException. Clean-up that the script
/// itself has spoilt is excused.
///
/// For authors of tests:
///
///     Fakes::CScriptedStreamGrabber grabber("QueueBuffer:3:throw-runtime");   // frames by hand
///     engine.StartEngine(&grabber, ...);
///     ASSERT_TRUE(grabber.WaitForQueued(5));
///     grabber.Deliver(2);                                  // two frames, into the oldest queued buffers
///     EXPECT_EQ(grabber.Calls(Fakes::EOperation::QueueBuffer), 5u);
///
///     Fakes::CScriptedStreamGrabber free("source=free;Frame:7:fail");         // or source=queue, source=500 (Hz)
///     Fakes::CFrameAudit audit;                            // of one camera
///     audit.Take(result.buffer, result.payloadSize);       // each good result, on any thread
///     EXPECT_EQ(audit.Report(free.Account().begun).doubled, 0u);
///
///     grabber.SetScript("RetrieveResult:1:stall");         // between two sessions; calls count from 1 again
///     ASSERT_TRUE(grabber.WaitForStall(Fakes::EOperation::RetrieveResult));
///     grabber.Release();
///
///     EXPECT_THAT(grabber.Violations(), testing::IsEmpty());                  // last line of every test
///
/// A camera around it is CScriptedDevice; libzelmo_TL_scripted.so offers such cameras to CTlFactory.
/// Threads: any.
/// Locks:   m_lock, then the watch's; none is held while a frame is drawn, a call stalls or a callback runs.
class CScriptedStreamGrabber final : public Zelmo::IStreamGrabber, private IRegisters {
public:
    /// @p onRemoved is called on the thread that begins frames when the script removes the camera.
    explicit CScriptedStreamGrabber(const CScript& script = {}, std::uint32_t cameraNumber = 0,
                                    std::function<void()> onRemoved = {});
    ~CScriptedStreamGrabber();

    void SetScript(const CScript& script); ///< Only between two sessions: makes a new node map.

    // The camera's side. It acquires from the beginning; a device stops that until its AcquisitionStart.
    /// Begins frames on this thread while the grabber streams and the camera acquires. @return how many got a buffer.
    std::uint64_t Deliver(std::uint64_t frames = 1);
    void Acquire(std::uint64_t frames = 0); ///< The camera starts, for that many frames; 0 without end.
    void StopAcquisition() { m_isAcquiring = false; }
    void SignalWaitObject() { m_wait.Signal(); } ///< With nothing behind it, unless there is.
    void Remove() { m_isRemoved = true; }        ///< The camera is gone: no more frames, and nothing can be begun.
    void SetSize(std::int32_t width, std::int32_t height); ///< Of images from the next PrepareGrab on.
    /// Changes a frame that has not failed, its bytes or what is told of it, before it is handed over. Set between two
    /// sessions; called with m_lock held.
    std::function<void(Zelmo::GrabResult&)> alter;

    // Meeting points; false after ten seconds.
    bool WaitForQueued(std::size_t buffers); ///< Until at least so many wait to be filled.
    bool WaitForStall(EOperation operation) { return m_watch.WaitForStall(operation); } ///< Until a call of it stalls.
    void Release() { m_watch.Release(); } ///< Lets all calls go on that stall now.

    // What was seen.
    std::vector<std::string> Violations() const { return m_watch.Violations(); }
    /// Since the script was set; calls that failed are among them.
    std::uint64_t Calls(EOperation operation) const { return m_watch.Calls(operation); }
    /// The first thousand calls, with a blank between, those in a row once; without IsOpen, GetNodeMap, GetWaitObject.
    std::string Order() const { return m_watch.Order(); }
    CFrameAccount Account() const;

    void Open() override;
    void Close() override;
    bool IsOpen() const override {
        return Has(Enter(EOperation::IsOpen).faults, EFault::True) || m_state != EState::Closed;
    }
    Zelmo::StreamBufferHandle RegisterBuffer(void* buffer, std::size_t sizeBytes) override;
    void* DeregisterBuffer(Zelmo::StreamBufferHandle handle) override;
    void PrepareGrab() override;
    bool IsStreaming() const override { return m_state == EState::Streaming; }
    void StartStreaming() override;
    void StopStreaming() override;
    void FinishGrab() override;
    void QueueBuffer(Zelmo::StreamBufferHandle handle, void* context) override;
    void FlushBuffers() override;
    std::size_t GetNumQueuedBuffers() const override { return m_away; }
    bool RetrieveResult(Zelmo::GrabResult& result) override;
    Zelmo::WaitObject& GetWaitObject() const override;
    GenApi::INodeMap* GetNodeMap() override;

private:
    using Lock = std::unique_lock<std::mutex>;
    enum class EState { Closed, Open, Prepared, Streaming, Halted };

    /// A registered buffer goes Idle, Queued, Away (being drawn, or its result waits), Idle.
    struct CBuffer {
        enum class EState { Idle, Queued, Away };

        std::uint8_t* memory = nullptr;
        std::size_t sizeBytes = 0;
        Zelmo::StreamBufferHandle handle = nullptr;
        void* context = nullptr;
        EState state = EState::Idle;
        std::uint64_t original = 0; // what the stamp stands on while the buffer is queued
    };

    std::int64_t ReadRegister(int number) override;
    void WriteRegister(int number, std::int64_t value) override;

    enum class EFrame { None, Lost, Delivered };

    CCallWatch::CCall Enter(EOperation operation, bool alone = true) const;
    void CheckState(EOperation operation) const;
    CBuffer& IdleBuffer(Zelmo::StreamBufferHandle handle, EOperation operation);
    void Unstamp(CBuffer& buffer);
    void Run();
    bool MayBegin(bool onlyWithBuffer) const;
    EFrame BeginFrame(bool onlyWithBuffer = false);
    void DeliverQueued();
    static Zelmo::GrabResult ResultOf(const CBuffer& buffer, Zelmo::EGrabStatus status);
    void Complete(CBuffer& buffer, std::uint64_t blockId, FaultSet faults);
    void Push(const Zelmo::GrabResult& result);
    void EndStreaming();
    void DropBuffers(EState state);

    CScript m_script;
    const std::uint32_t m_cameraNumber;
    const std::function<void()> m_onRemoved;
    mutable Zelmo::WaitObjectEx m_wait = Zelmo::WaitObjectEx::Create();
    mutable CCallWatch m_watch{m_wait};
    std::unique_ptr<CRegisterNodes> m_nodes;

    mutable std::mutex m_lock; // guards all below, but atomics and the thread
    std::condition_variable m_changed;
    std::atomic<EState> m_state = EState::Closed;
    std::atomic<bool> m_isAcquiring = true, m_isRemoved = false;
    std::uint64_t m_framesLeft = 0;                                    // of the acquisition; 0: no end
    std::uint64_t m_claimed = 0;                                       // frames since the script was set
    std::size_t m_underWay = 0;                                        // frames that are claimed and not complete
    bool m_isDelivering = false;                                       // a thread is completing what is queued
    std::int32_t m_width = 0, m_height = 0;                            // as set
    std::int32_t m_imageWidth = 0, m_imageHeight = 0;                  // since PrepareGrab
    std::atomic<std::int64_t> m_maxBufferSize = 0, m_maxNumBuffer = 0; // 0 until they are written
    std::uintptr_t m_lastHandle = 0;
    std::map<Zelmo::StreamBufferHandle, CBuffer> m_buffers;
    std::deque<CBuffer*> m_queued;
    std::deque<Zelmo::GrabResult> m_results;
    std::optional<Zelmo::GrabResult> m_late;
    Zelmo::GrabResult m_last;            // that was retrieved
    std::atomic<std::size_t> m_away = 0; // buffers that are not idle
    CFrameAccount m_account;
    std::thread m_thread;
};

} // namespace Fakes
