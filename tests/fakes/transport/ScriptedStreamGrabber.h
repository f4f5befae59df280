#pragma once

#include <zelmo/StreamGrabber.h>
#include <zelmo/WaitObject.h>

#include <array>
#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include "RegisterNodes.h"
#include "Script.h"

namespace Fakes {

/// Frames of a camera's life: begun = lost + good + lying + failed, once no frame is under way.
struct CFrameAccount {
    std::uint64_t begun = 0;
    std::uint64_t lost = 0;     ///< no buffer was queued
    std::uint64_t good = 0;     ///< status grabbed, all true
    std::uint64_t lying = 0;    ///< status grabbed, with sizes that are not true
    std::uint64_t failed = 0;   ///< told to fail, or the buffer was too small
    std::uint64_t canceled = 0; ///< buffers, not frames: came back by FlushBuffers
};

/// A stream grabber that does what a script says, watches its caller, and keeps account of its frames.
///
/// Good frames carry the record of core/FrameRecord.h with the camera's number. Block ids begin at 0 and run on over
/// all sessions, so that a number never means two frames. What the caller does against the contract of IStreamGrabber
/// is listed in Violations(); where a call cannot be carried out it also raises LogicalErrorException.
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
///     grabber.SetScript("RetrieveResult:1:stall");         // counts calls from 1 again; between two sessions
///     ASSERT_TRUE(grabber.WaitForStall(Fakes::EOperation::RetrieveResult));
///     grabber.Release();
///
///     const auto script = Fakes::CScript::Random(seed);    // SCOPED_TRACE(script.ToText())
///
///     EXPECT_THAT(grabber.Violations(), testing::IsEmpty());                  // last line of every test
///
/// A camera around it is CScriptedDevice; as a plug-in libzelmo_TL_scripted.so it reads ZELMO_SCRIPT.
/// Threads: any.
/// Locks:   m_lock, a leaf but for the wait object; not held while a frame is drawn, a call stalls or a callback runs.
class CScriptedStreamGrabber final : public Zelmo::IStreamGrabber, private IRegisters {
public:
    /// @p onRemoved is called on the thread that begins frames when the script removes the camera.
    explicit CScriptedStreamGrabber(const CScript& script = {}, std::uint32_t cameraNumber = 0,
                                    std::function<void()> onRemoved = {});
    ~CScriptedStreamGrabber();

    /// Only between two sessions: makes a new node map.
    void SetScript(const CScript& script);

    // The camera's side.
    /// Begins frames on this thread while the grabber streams and the camera acquires. @return how many got a buffer.
    std::uint64_t Deliver(std::uint64_t frames = 1);
    void Acquire(std::uint64_t frames = 0); ///< The camera starts, for that many frames; 0 without end. So it begins.
    void StopAcquisition();                 ///< The camera begins no more frames.
    void SignalWaitObject();                ///< With nothing behind it, unless there is.
    void Remove();                          ///< The camera is gone: no more frames, and nothing can be started.
    void SetSize(std::int32_t width, std::int32_t height); ///< Of images from the next PrepareGrab on.
    std::int64_t Width() const;
    std::int64_t Height() const;

    // Meeting points; false after ten seconds.
    bool WaitForQueued(std::size_t buffers); ///< Until at least so many wait to be filled.
    bool WaitForStall(EOperation operation); ///< Until a call of it stalls.
    void Release();                          ///< Lets all calls go on that stall now.

    // What was seen.
    std::vector<std::string> Violations() const;
    std::uint64_t Calls(EOperation operation) const; ///< Since the script was set, those that failed too.
    /// The calls in their order, with a blank between, those in a row once; without IsOpen, GetNodeMap, GetWaitObject
    /// and Frame.
    std::string Order() const;
    CFrameAccount Account() const;

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
    class CCall;
    using Lock = std::unique_lock<std::mutex>;
    static constexpr std::size_t operations = static_cast<std::size_t>(EOperation::Count);

    enum class EState { Closed, Open, Prepared, Streaming, Stopped };

    /// A registered buffer goes Idle, Queued, Drawing (a frame), Ready (its result waits), Idle.
    struct CBuffer {
        enum class EState { Idle, Queued, Drawing, Ready };

        Zelmo::StreamBufferHandle handle = nullptr;
        std::span<std::uint8_t> memory;
        void* context = nullptr;
        EState state = EState::Idle;
        std::array<std::uint8_t, 16> original{}; // what the stamps stand on while it is queued
    };

    std::int64_t ReadRegister(int number) override;
    void WriteRegister(int number, std::int64_t value) override;

    mutable std::mutex m_lock; // guards all below but atomics and the thread
};

} // namespace Fakes
