// SPDX-License-Identifier: Apache-2.0
#include "stream/StreamGrabber.h"

#include "common/Boundary.h"
#include "common/NumberPort.h"
#include "control/Connection.h"
#include "stream/GrabResults.h"
#include "stream/ImageReceiver.h"
#include "stream/StreamChannel.h"
#include "stream/StreamParameters.h"

#include <Base/GCException.h>
#include <GenApi/NodeCallback.h>
#include <gigevision/Registers.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <limits>
#include <string>

namespace Gige {

namespace {

enum class EState { Closed, Open, Prepared, Streaming };

/// Numbers, and one text.
class CStreamPort final : public PluginKit::CNumberPort {
public:
    using CText = std::function<std::string()>;
    CStreamPort(CSource numbers, CText lastFailure)
        : CNumberPort(std::move(numbers)), m_lastFailure(std::move(lastFailure)) {}

    void Read(void* bytes, std::int64_t address, std::int64_t length) override {
        if (address != StreamRegister::kLastFailedText || length != StreamRegister::kLastFailedTextBytes) {
            return CNumberPort::Read(bytes, address, length);
        }
        const std::string text = m_lastFailure();
        const auto room = static_cast<std::size_t>(length);
        std::memset(bytes, 0, room);
        std::memcpy(bytes, text.data(), std::min(text.size(), room));
    }

private:
    const CText m_lastFailure;
};

// Numbers of the nodes "Status" and "AccessMode".
std::uint64_t StatusNumber(EState state, bool isDeviceOpen) {
    constexpr std::uint64_t kNotInitialized = 0, kClosed = 1, kOpen = 2, kLocked = 3;
    if (state == EState::Closed) {
        return isDeviceOpen ? kClosed : kNotInitialized;
    }
    return state == EState::Open ? kOpen : kLocked;
}

std::uint64_t AccessModeNumber(const Zelmo::AccessModeSet& modes, bool isDeviceOpen) {
    constexpr std::uint64_t kMonitor = 0, kExclusive = 1, kControl = 2, kNotInitialized = 3;
    if (!isDeviceOpen) {
        return kNotInitialized;
    }
    return modes.test(Zelmo::Exclusive) ? kExclusive : modes.test(Zelmo::Control) ? kControl : kMonitor;
}

} // namespace

/// The calls of the contract in their order; what comes beside them is with the receiver.
struct CStreamGrabber::CState {
    CState(CConnection& wantedConnection, CCameraFeatures wantedFeatures);
    ~CState() { connection.AskForStream({}); }
    CState(const CState&) = delete;
    CState& operator=(const CState&) = delete;

    void Prepare();
    void Start();
    void Stop() noexcept;
    void Release() noexcept;
    void Close() noexcept;

    void OpenChannel();
    void RequireReachable(const char* attempt) const;
    void RequireRoom() const;
    void LockFeatures(bool isLocked) noexcept;
    CReceiveSetup Setup();
    CStreamFormat Format(std::uint64_t imageBytes) const;
    CResendSettings Settings() const;
    void PassOnSettings();
    std::uint64_t ImageBytes() const { return features.payloadSize ? features.payloadSize() : 0; }
    bool IsAt(EState wanted) const { return state == wanted; }
    std::uint64_t RegisterValue(std::int64_t address) const;
    std::string LastFailure() const;

    CConnection& connection;
    const CCameraFeatures features;
    CStreamPort port;
    PluginKit::NodeMapPtr nodeMap;
    std::atomic<EState> state{EState::Closed}; // these four are read through the node map
    std::atomic<bool> isDeviceOpen{false};
    std::atomic<unsigned long> modes{0};
    std::atomic<std::uint64_t> grantedBytes{0};
    CStreamChannel channel;
    CStreamParameters parameters; // from PrepareGrab on
    bool areFeaturesLocked = false, hasStreamed = false, hasToldOfSilence = false;
    CImageReceiver receiver; // last: its thread uses the channel's socket
};

CStreamGrabber::CState::CState(CConnection& wantedConnection, CCameraFeatures wantedFeatures)
    : connection(wantedConnection), features(std::move(wantedFeatures)),
      port([this](std::int64_t address) { return RegisterValue(address); }, [this] { return LastFailure(); }),
      nodeMap(MakeStreamNodeMap(port)), channel(wantedConnection) {
    connection.AskForStream([this] { return receiver.HasReceived(); });
    for (const char* const name : kResendParameters) { // these may change while images come
        GenApi::Register(nodeMap->GetNode(name), [this](GenApi::INode*) {
            if (IsAt(EState::Streaming)) {
                PassOnSettings();
            }
        });
    }
}

void CStreamGrabber::CState::RequireReachable(const char* attempt) const {
    if (connection.IsLost()) {
        throw RUNTIME_EXCEPTION("Cannot %s: the camera was removed: %s", attempt, connection.LossText().c_str());
    }
}

void CStreamGrabber::CState::Prepare() {
    parameters = ReadStreamParameters(*nodeMap);
    RequireReachable("prepare the grab");
    try {
        OpenChannel();
        RequireRoom();
        receiver.Prepare(parameters.maxBufferBytes, parameters.maxBuffers);
        LockFeatures(true); // behind the packet size, which it may lock, too
    } catch (...) {
        Release();
        throw;
    }
    state = EState::Prepared;
}

void CStreamGrabber::CState::OpenChannel() {
    channel.Open(parameters);
    hasStreamed = false;
    if (features.streamChanged) {
        features.streamChanged();
    }
}

void CStreamGrabber::CState::RequireRoom() const {
    constexpr std::uint64_t kMost = std::numeric_limits<std::uint32_t>::max();
    const std::uint64_t imageBytes = ImageBytes(), promised = parameters.maxBufferBytes;
    if (promised < imageBytes || promised > kMost) {
        throw RUNTIME_EXCEPTION("Cannot prepare the grab: MaxBufferSize is %llu bytes; an image takes %llu, and %llu "
                                "is the most.",
                                static_cast<unsigned long long>(promised), static_cast<unsigned long long>(imageBytes),
                                static_cast<unsigned long long>(kMost));
    }
}

void CStreamGrabber::CState::Start() {
    RequireReachable("start streaming");
    if (hasStreamed || !channel.IsOpen()) {
        channel.Close(); // anew, so that what is left of the last stream is not taken for images of this one
        OpenChannel();
    }
    const std::uint64_t imageBytes = ImageBytes();
    channel.MakeReady(parameters, imageBytes > 0 ? imageBytes : parameters.maxBufferBytes);
    grantedBytes = channel.GrantedBytes();
    hasStreamed = true;
    receiver.Start(channel.Socket(), Format(imageBytes), Settings(), Setup());
    state = EState::Streaming;
    try {
        PassOnSettings(); // what was written since they were read was passed on by nobody
    } catch (...) {
        Stop();
        throw;
    }
}

CReceiveSetup CStreamGrabber::CState::Setup() {
    CReceiveSetup setup;
    setup.device = connection.Route().device;
    setup.sourcePort = channel.SourcePort();
    setup.packetSize = channel.PacketSize();
    setup.isMerging = parameters.isOffloading && channel.Socket().MergePackets();
    setup.priority = parameters.threadPriority;
    setup.tellsOfSilence = !hasToldOfSilence;
    return setup;
}

CStreamFormat CStreamGrabber::CState::Format(std::uint64_t imageBytes) const {
    CStreamFormat format;
    format.packetSize = channel.PacketSize();
    format.payloadBytes = imageBytes;
    format.maxOpenBlocks = 64; // as far as ReceiveWindowSize goes
    format.maxBuffers = static_cast<std::uint32_t>(parameters.maxBuffers);
    format.maxBufferBytes = static_cast<std::uint32_t>(parameters.maxBufferBytes);
    return format;
}

// Who has no control is not heard by the camera.
CResendSettings CStreamGrabber::CState::Settings() const {
    CResendSettings settings = ReadResendSettings(*nodeMap);
    settings.isEnabled = settings.isEnabled && connection.HasControl() &&
                         connection.Capabilities().Has(GigEVision::GvcpCapability::kPacketResend);
    return settings;
}

// The lock keeps what another thread reads earlier from being passed on later.
void CStreamGrabber::CState::PassOnSettings() {
    const GenApi::AutoLock lock(nodeMap->GetLock());
    receiver.Change(Settings());
}

void CStreamGrabber::CState::Stop() noexcept {
    if (IsAt(EState::Streaming)) {
        hasToldOfSilence = receiver.Stop() || hasToldOfSilence;
        state = EState::Prepared;
    }
}

void CStreamGrabber::CState::Release() noexcept {
    channel.Close();
    grantedBytes = 0;
    LockFeatures(false);
    if (IsAt(EState::Prepared)) {
        state = EState::Open;
    }
}

// Cleans up whatever was left undone; the caller may drop everything and just close.
void CStreamGrabber::CState::Close() noexcept {
    Stop();
    Release();
    receiver.Unregister();
    state = EState::Closed;
}

void CStreamGrabber::CState::LockFeatures(bool isLocked) noexcept {
    if (areFeaturesLocked != isLocked) {
        areFeaturesLocked = isLocked;
        if (features.lock) {
            features.lock(isLocked);
        }
    }
}

// The addresses are those of GigEStream.xml.
std::uint64_t CStreamGrabber::CState::RegisterValue(std::int64_t address) const {
    switch (address) {
    case StreamRegister::kPayloadSize:
        return ImageBytes();
    case StreamRegister::kIsPrepared:
        return IsAt(EState::Prepared) || IsAt(EState::Streaming);
    case StreamRegister::kStatus:
        return StatusNumber(state, isDeviceOpen);
    case StreamRegister::kAccessMode:
        return AccessModeNumber(Zelmo::AccessModeSet(modes), isDeviceOpen);
    case StreamRegister::kIsGrabbing:
        return IsAt(EState::Streaming);
    case StreamRegister::kGrantedKib:
        return grantedBytes / 1024;
    default:
        break;
    }
    const CImageReceiver::CStatistics statistics = receiver.Statistics();
    switch (address) {
    case StreamRegister::kAnnounced:
        return statistics.registered;
    case StreamRegister::kInput:
        return statistics.away - statistics.ready;
    case StreamRegister::kOutput:
        return statistics.ready;
    case StreamRegister::kLastFailedStatus:
        return ErrorCode(statistics.lastFailed);
    default:
        return StatisticAt(statistics.counts, address);
    }
}

std::string CStreamGrabber::CState::LastFailure() const {
    const CFinishedBlock failed = receiver.Statistics().lastFailed;
    return failed.end == EBlockEnd::Failed ? Explain(failed) : std::string();
}

CStreamGrabber::CStreamGrabber(CConnection& connection, CCameraFeatures features)
    : m_state(std::make_unique<CState>(connection, std::move(features))) {}

CStreamGrabber::~CStreamGrabber() {
    m_state->Close();
}

void CStreamGrabber::Permit(Zelmo::AccessModeSet modes) {
    m_state->channel.Forget();
    m_state->hasToldOfSilence = false;
    m_state->modes = modes.to_ulong();
    m_state->isDeviceOpen = true;
}

void CStreamGrabber::Forbid() noexcept {
    m_state->Close();
    m_state->channel.Forget();
    m_state->modes = 0;
    m_state->isDeviceOpen = false;
}

CReceiveCosts CStreamGrabber::Costs() const {
    return m_state->receiver.Statistics().costs;
}

void CStreamGrabber::Open() {
    if (!m_state->IsAt(EState::Closed)) {
        throw LOGICAL_ERROR_EXCEPTION("Cannot open the stream grabber: it is open already.");
    }
    if (!Zelmo::AccessModeSet(m_state->modes).test(Zelmo::Stream)) {
        throw LOGICAL_ERROR_EXCEPTION("Cannot open the stream grabber: the device was not opened for streaming.");
    }
    m_state->RequireReachable("open the stream grabber");
    if (m_state->connection.Capabilities().streamChannels == 0) {
        throw RUNTIME_EXCEPTION("Cannot open the stream grabber: the device has no stream channel.");
    }
    m_state->state = EState::Open;
}

void CStreamGrabber::Close() {
    m_state->Close();
}

bool CStreamGrabber::IsOpen() const {
    return !m_state->IsAt(EState::Closed);
}

Zelmo::StreamBufferHandle CStreamGrabber::RegisterBuffer(void* buffer, std::size_t sizeBytes) {
    if (!m_state->IsAt(EState::Prepared) && !m_state->IsAt(EState::Streaming)) {
        throw LOGICAL_ERROR_EXCEPTION("Cannot register a buffer: PrepareGrab was not called.");
    }
    return PluginKit::AtBoundary("register a buffer", [&] { return m_state->receiver.Register(buffer, sizeBytes); });
}

void* CStreamGrabber::DeregisterBuffer(Zelmo::StreamBufferHandle handle) {
    return m_state->receiver.Deregister(handle);
}

void CStreamGrabber::PrepareGrab() {
    if (!m_state->IsAt(EState::Open)) {
        throw LOGICAL_ERROR_EXCEPTION("Cannot prepare the grab: the stream grabber is closed, or prepared already.");
    }
    PluginKit::AtBoundary("prepare the grab", [this] { m_state->Prepare(); });
}

bool CStreamGrabber::IsStreaming() const {
    return m_state->IsAt(EState::Streaming);
}

void CStreamGrabber::StartStreaming() {
    if (!m_state->IsAt(EState::Prepared)) {
        throw LOGICAL_ERROR_EXCEPTION("Cannot start streaming: PrepareGrab was not called, or streaming goes on.");
    }
    PluginKit::AtBoundary("start streaming", [this] { m_state->Start(); });
}

void CStreamGrabber::StopStreaming() {
    m_state->Stop();
}

// Nothing is wrong with a call when nothing was prepared: a failed start is undone by the same calls as a good one.
void CStreamGrabber::FinishGrab() {
    if (IsStreaming()) {
        throw LOGICAL_ERROR_EXCEPTION("Cannot finish the grab: streaming was not stopped.");
    }
    if (const std::size_t away = GetNumQueuedBuffers(); away > 0) {
        throw LOGICAL_ERROR_EXCEPTION("Cannot finish the grab: %zu buffers are queued or were not retrieved.", away);
    }
    m_state->Release();
    m_state->receiver.Unregister();
}

void CStreamGrabber::QueueBuffer(Zelmo::StreamBufferHandle handle, void* context) {
    m_state->receiver.Queue(handle, context);
}

void CStreamGrabber::FlushBuffers() {
    m_state->receiver.Flush();
}

std::size_t CStreamGrabber::GetNumQueuedBuffers() const {
    return m_state->receiver.Statistics().away;
}

bool CStreamGrabber::RetrieveResult(Zelmo::GrabResult& result) {
    return m_state->receiver.Retrieve(result);
}

Zelmo::WaitObject& CStreamGrabber::GetWaitObject() const {
    return m_state->receiver.Signal();
}

GenApi::INodeMap* CStreamGrabber::GetNodeMap() {
    return m_state->nodeMap.get();
}

} // namespace Gige
