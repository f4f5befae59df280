// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace Fakes {

// What a fault can strike, and what is counted: calls, those of the clean-up first; reads of the nodes PayloadSize and
// AnnounceAnytimeEnable; writes of MaxBufferSize and MaxNumBuffer; frames that the camera begins.
#define FAKES_OPERATIONS(X)                                                                                            \
    X(StopStreaming), X(FlushBuffers), X(RetrieveResult), X(DeregisterBuffer), X(FinishGrab), X(Close), X(Open),       \
        X(RegisterBuffer), X(PrepareGrab), X(StartStreaming), X(QueueBuffer), X(IsOpen), X(GetWaitObject),             \
        X(GetNodeMap), X(PayloadSize), X(AnnounceAnytimeEnable), X(MaxBufferSize), X(MaxNumBuffer), X(Frame)

// What happens, and its word in a script. What throws does so before the operation has any effect.
//   throw-generic, -runtime, -access, -badalloc: of the GenICam family; throw-std, throw-std-alloc, throw-int: others
//   stall: blocks until Release(), stall=20 for 20 ms;  spurious: signals the wait object, then goes on
//   false: does nothing and answers false, null or, of a node, 0, GetWaitObject an invalid one;  true: IsOpen says so
//   stray: RetrieveResult gives a context that was never queued;  again: the result before, once more
// Frames only; those that lie come as good ones, with the record in the image intact:
//   fail: status failed, error code 7, "lines are missing";  gap: two frames are lost right before this one
//   late: comes behind the next frame, at the latest with FlushBuffers;  remove: the camera goes instead
//   lie-short: payload size one byte too low;  lie-long: 1000 bytes more than the buffer has;  lie-negative: all sizes
//   lie-huge: width and height of 2147483647;  lie-strange: a pixel format that no image has
// Nodes only, at all accesses (the call must be *): missing, unreadable, readonly, limit (takes no value above 1), grid
// (takes only values of 3 modulo 7)
#define FAKES_FAULTS(X)                                                                                                \
    X(ThrowGeneric, "throw-generic"), X(ThrowRuntime, "throw-runtime"), X(ThrowAccess, "throw-access"),                \
        X(ThrowBadAlloc, "throw-badalloc"), X(ThrowStd, "throw-std"), X(ThrowStdAlloc, "throw-std-alloc"),             \
        X(ThrowInt, "throw-int"), X(Stall, "stall"), X(Spurious, "spurious"), X(False, "false"), X(True, "true"),      \
        X(Stray, "stray"), X(Again, "again"), X(Fail, "fail"), X(Late, "late"), X(Gap, "gap"), X(Remove, "remove"),    \
        X(LieShort, "lie-short"), X(LieLong, "lie-long"), X(LieNegative, "lie-negative"), X(LieHuge, "lie-huge"),      \
        X(LieStrange, "lie-strange"), X(Missing, "missing"), X(Unreadable, "unreadable"), X(ReadOnly, "readonly"),     \
        X(Limit, "limit"), X(OffGrid, "grid")

#define FAKES_ENUMERATOR(name, ...) name
enum class EOperation : std::uint8_t { FAKES_OPERATIONS(FAKES_ENUMERATOR), Count };
enum class EFault : std::uint8_t { FAKES_FAULTS(FAKES_ENUMERATOR), Count };
#undef FAKES_ENUMERATOR

const char* NameOf(EOperation operation);

struct CFault {
    EOperation operation;
    std::uint64_t call; ///< the first call is 1; 0, in a script *, is each one
    EFault fault;
    std::uint32_t ms; ///< of a stall; 0 until Release()
};

/// Who begins frames while the grabber streams: source=hand, only Deliver(); source=queue, QueueBuffer, which completes
/// each buffer at once; source=free, a thread, whenever a buffer is queued, so that no frame is lost; source=100, a
/// thread, that many frames a second, lost when no buffer is queued.
enum class ESource : std::uint8_t { Hand, Queue, Free, Rate };

/// What a scripted camera does, as one line: faults "operation:call:fault" and settings "name=value", with ";" between:
///   "source=free;size=64x16;QueueBuffer:3:throw-runtime;RetrieveResult:5:false;Frame:*:fail"
struct CScript {
    /// @throws GenICam::InvalidArgumentException with the piece that is wrong and why.
    CScript(const std::string& line = {}); // implicit: a text is a script
    CScript(const char* line) : CScript(std::string(line)) {}

    std::string text; ///< As it was read.
    std::vector<CFault> faults;
    ESource source = ESource::Hand;
    std::uint32_t rateHz = 0;             ///< of ESource::Rate
    std::uint64_t frames = 0;             ///< frames=…: how many are begun, in all; 0 without end
    std::int32_t width = 64, height = 16; ///< size=…x…: pixels, Mono8
    bool saysChunks = false;              ///< chunks=1: images are told to have chunk data, of which there is none
    bool tellsRemoval = true;             ///< mute=1: no; the device has to be asked whether it is there

private:
    void Read(const std::string& piece);
};

} // namespace Fakes
