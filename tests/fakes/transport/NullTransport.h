#pragma once

#include <zelmo/StreamGrabber.h>
#include <zelmo/WaitObject.h>

#include <boost/circular_buffer.hpp>

#include <cstdint>
#include <mutex>
#include <semaphore>
#include <thread>
#include <vector>

#include "RegisterNodes.h"

namespace Fakes {

/// A stream grabber for benchmarks: completes buffers without drawing anything, allocates nothing for a frame, trusts
/// its caller. Its wait object is an eventfd that is written when the first result comes and read when the last one is
/// retrieved: a result that finds another one waiting costs no system call.
/// Threads: as the contract of IStreamGrabber tells; Complete on any.
class CNullStreamGrabber final : public Zelmo::IStreamGrabber, private IRegisters {
public:
    enum class EPace {
        AtOnce, ///< QueueBuffer completes the buffer on its thread
        Told,   ///< a thread completes one buffer for each Complete(), as soon as there is one
        Free    ///< a thread completes what is queued
    };

    /// Up to @p maxBuffers can be registered at a time.
    explicit CNullStreamGrabber(EPace pace = EPace::AtOnce, std::int64_t payloadSizeBytes = 4096,
                                std::size_t maxBuffers = 1024);
    ~CNullStreamGrabber();

    void Complete(std::ptrdiff_t frames = 1); ///< With EPace::Told.

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
    enum class EState { Closed, Open, Prepared, Streaming };
    struct CBuffer {
        void* memory = nullptr;
        std::uint64_t sizeBytes = 0;
        void* context = nullptr;
        std::uint64_t blockId = 0;
        Zelmo::EGrabStatus status = Zelmo::GrabStatus_Undefined;
    };

    std::int64_t ReadRegister(int number) override;
    void WriteRegister(int number, std::int64_t value) override;
    void CompleteOldest(Zelmo::EGrabStatus status); // with m_lock held
    void Run();

    const EPace m_pace;
    const std::int64_t m_payloadSize;
    std::int64_t m_maxBufferSize = 0, m_maxNumBuffer = 0;
    mutable Zelmo::WaitObjectEx m_wait; // signaled exactly while there are results
    int m_eventFd = -1;
    std::counting_semaphore<> m_told{0};
    std::counting_semaphore<> m_free{0};

    mutable std::mutex m_lock; // guards all below but the thread
    EState m_state = EState::Closed;
    std::vector<CBuffer> m_buffers;
    std::vector<CBuffer*> m_idle;               // records not in use
    boost::circular_buffer<CBuffer*> m_queued;  // room for all buffers
    boost::circular_buffer<CBuffer*> m_results; // room for all buffers
    std::uint64_t m_nextBlockId = 0;
    CRegisterNodes m_nodes;
    std::thread m_thread;
};

} // namespace Fakes
