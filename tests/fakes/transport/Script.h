#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Fakes {

/// What a fault can strike, and what is counted: calls, accesses to the stream grabber's nodes, and frames.
enum class EOperation : std::uint8_t {
    Open,
    Close,
    IsOpen,
    RegisterBuffer,
    DeregisterBuffer,
    PrepareGrab,
    StartStreaming,
    StopStreaming,
    FinishGrab,
    QueueBuffer,
    FlushBuffers,
    RetrieveResult,
    GetNodeMap,
    GetWaitObject,
    PayloadSize,           ///< reads of the node
    AnnounceAnytimeEnable, ///< reads of the node
    MaxBufferSize,         ///< writes of the node
    MaxNumBuffer,          ///< writes of the node
    Frame,                 ///< frames that the camera begins
    Count
};

const char* NameOf(EOperation operation);

/// What happens; behind each its word in a script. What throws does so before the operation has any effect.
enum class EFault : std::uint8_t {
    ThrowGeneric,  ///< throw-generic, and so on: an exception of the GenICam family
    ThrowRuntime,  ///< throw-runtime
    ThrowAccess,   ///< throw-access
    ThrowLogical,  ///< throw-logical
    ThrowTimeout,  ///< throw-timeout
    ThrowBadAlloc, ///< throw-badalloc
    ThrowStd,      ///< throw-std: std::runtime_error
    ThrowStdAlloc, ///< throw-std-alloc: std::bad_alloc
    ThrowInt,      ///< throw-int
    Stall,         ///< stall: the call blocks until Release(); stall=20: for 20 ms
    Spurious,      ///< spurious: signals the wait object, then goes on
    False, ///< false: the answer false, null or, of a node, 0; of GetWaitObject an invalid one. Nothing is done.
    True,  ///< true: IsOpen says so
    // Frames only. "lie-…" frames come as good ones whose record in the image is intact.
    Fail,        ///< fail: status failed, error code 7, "lines are missing"
    Late,        ///< late: comes behind the next frame; at the latest with FlushBuffers
    Gap,         ///< gap: two frames are lost right before this one
    Remove,      ///< remove: the camera goes instead of beginning the frame
    LieShort,    ///< lie-short: payload size one byte less than the image takes
    LieLong,     ///< lie-long: payload size 1000 bytes more than the buffer has
    LieNegative, ///< lie-negative: all sizes are negative
    LieHuge,     ///< lie-huge: width and height of 2147483647
    LieStrange,  ///< lie-strange: a pixel format that is none of images
    // Nodes only, at all accesses: the number of the call must be *.
    Missing,    ///< missing
    Unreadable, ///< unreadable: write only
    ReadOnly,   ///< readonly
    Limit,      ///< limit: takes no value above 1
    OffGrid     ///< grid: takes multiples of 7 only
};

struct CFault {
    EOperation operation;
    std::uint64_t call; ///< the first call is 1; 0 for each one
    EFault fault;
    std::uint32_t ms = 0; ///< of a stall; 0 until Release()

    friend bool operator==(const CFault&, const CFault&) = default;
};

/// Who begins frames while the grabber streams.
enum class ESource : std::uint8_t {
    Hand,  ///< source=hand: Deliver() only
    Queue, ///< source=queue: QueueBuffer, which completes each buffer at once
    Free,  ///< source=free: a thread, whenever a buffer is queued; no frame is lost
    Rate   ///< source=100: a thread, that many frames a second; lost when no buffer is queued
};

/// What a scripted camera does, as one line: faults "operation:call:fault" and settings "name=value", with ";" between:
///   "source=free;size=64x16;QueueBuffer:3:throw-runtime;RetrieveResult:5:false;Frame:*:fail"
struct CScript {
    CScript() = default;
    /// @throws std::invalid_argument with the piece that is wrong and why.
    CScript(std::string_view text); // implicit: a text is a script
    CScript(const char* text) : CScript(std::string_view(text)) {}

    /// @p faults faults among the first @p lastCall calls, none of which hangs. The same seed gives the same script;
    /// say ToText() of it when a test fails.
    static CScript Random(std::uint64_t seed, unsigned faults = 3, std::uint64_t lastCall = 20);

    std::string ToText() const; ///< Gives an equal script when it is read again.

    std::vector<CFault> faults;
    ESource source = ESource::Hand;
    std::uint32_t rateHz = 0; ///< of ESource::Rate
    std::uint64_t frames = 0; ///< frames=…: how many are begun, in all; 0 without end
    std::int32_t width = 64;  ///< size=…x…: pixels, Mono8
    std::int32_t height = 16; ///< lines
    bool logsCalls = false;   ///< log=1: each call and violation goes to the log, category "fake"

    friend bool operator==(const CScript&, const CScript&) = default;
};

} // namespace Fakes
