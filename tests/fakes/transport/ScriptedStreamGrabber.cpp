// SPDX-License-Identifier: Apache-2.0
#include "ScriptedStreamGrabber.h"

#include "ZelmoBase/core/ScopeGuard.h"
#include "core/FrameRecord.h"
#include <Base/GCException.h>
#include <zelmo/PixelType.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <limits>
#include <utility>

namespace Fakes {
namespace {

using namespace std::chrono_literals;

constexpr std::uint64_t kStamp = 0xE7B1A9C3D5F70B1D; // at the begin of a queued buffer, where every image is drawn

constexpr FaultSet kLies = Bit(EFault::LieShort) | Bit(EFault::LieLong) | Bit(EFault::LieNegative) |
                           Bit(EFault::LieHuge) | Bit(EFault::LieStrange);

/// The nodes as the script wants them; their registers have the number of the operation.
std::vector<CFeature> Features(const CScript& script) {
    static constexpr const char* kProperties[] = {/*Missing*/ "", "<ImposedAccessMode>WO</ImposedAccessMode>",
                                                  "<ImposedAccessMode>RO</ImposedAccessMode>", "<Max>1</Max>",
                                                  "<Min>3</Min><Inc>7</Inc>"};
    std::vector<CFeature> features;
    for (const EOperation node : {EOperation::PayloadSize, EOperation::AnnounceAnytimeEnable, EOperation::MaxBufferSize,
                                  EOperation::MaxNumBuffer}) {
        const bool isBoolean = node == EOperation::AnnounceAnytimeEnable;
        CFeature feature{isBoolean ? "Boolean" : "Integer", NameOf(node), static_cast<int>(node), ""};
        bool isMissing = false;
        for (const CFault& fault : script.faults) {
            if (fault.operation == node && fault.fault >= EFault::Missing) {
                feature.properties += kProperties[static_cast<int>(fault.fault) - static_cast<int>(EFault::Missing)];
                isMissing = isMissing || fault.fault == EFault::Missing;
            }
        }
        if (!isMissing) {
            features.push_back(feature);
        }
    }
    return features;
}

} // namespace

CScriptedStreamGrabber::CScriptedStreamGrabber(const CScript& script, std::uint32_t cameraNumber,
                                               std::function<void()> onRemoved)
    : m_cameraNumber(cameraNumber), m_onRemoved(std::move(onRemoved)) {
    SetScript(script);
}

CScriptedStreamGrabber::~CScriptedStreamGrabber() {
    Release();
    EndStreaming();
}

void CScriptedStreamGrabber::SetScript(const CScript& script) {
    m_script = script;
    m_watch.SetScript(script);
    m_nodes.reset(new CRegisterNodes(Features(script), *this)); // which may see this base
    SetSize(script.width, script.height);
    const std::lock_guard lock(m_lock);
    m_claimed = 0;
}

void CScriptedStreamGrabber::Acquire(std::uint64_t frames) {
    {
        const std::lock_guard lock(m_lock);
        m_isAcquiring = true;
        m_framesLeft = frames;
        m_changed.notify_all();
    }
    DeliverQueued();
}

void CScriptedStreamGrabber::SetSize(std::int32_t width, std::int32_t height) {
    const std::lock_guard lock(m_lock);
    m_width = width;
    m_height = height;
}

bool CScriptedStreamGrabber::WaitForQueued(std::size_t buffers) {
    Lock lock(m_lock);
    return m_changed.wait_for(lock, 10s, [&] { return m_queued.size() >= buffers; });
}

CFrameAccount CScriptedStreamGrabber::Account() const {
    const std::lock_guard lock(m_lock);
    return m_account;
}

std::uint64_t CScriptedStreamGrabber::Deliver(std::uint64_t frames) {
    std::uint64_t delivered = 0;
    for (auto frame = EFrame::Lost; frames > 0 && frame != EFrame::None; --frames) {
        frame = BeginFrame();
        delivered += frame == EFrame::Delivered ? 1 : 0;
    }
    return delivered;
}

/// One thread at a time, or two would claim the same buffer; who queues meanwhile leaves it to that one, which looks
/// again before it ends.
void CScriptedStreamGrabber::DeliverQueued() {
    Lock lock(m_lock);
    if (m_script.source != ESource::Queue || std::exchange(m_isDelivering, true)) {
        return;
    }
    const Zelmo::ScopeGuard end([&] {
        if (!lock.owns_lock()) {
            lock.lock();
        }
        m_isDelivering = false;
    });
    while (MayBegin(true)) {
        lock.unlock();
        BeginFrame(true);
        lock.lock();
    }
}

void CScriptedStreamGrabber::Run() {
    const bool isFree = m_script.source == ESource::Free;
    auto due = std::chrono::steady_clock::now();
    const auto stops = [this] { return m_state != EState::Streaming; };
    for (Lock lock(m_lock); !stops(); lock.lock()) {
        if (isFree) {
            m_changed.wait(lock, [&] { return stops() || MayBegin(true); });
        } else {
            m_changed.wait_until(lock, due += std::chrono::nanoseconds(1s) / m_script.rateHz, stops);
        }
        lock.unlock();
        BeginFrame(isFree);
    }
}

bool CScriptedStreamGrabber::MayBegin(bool onlyWithBuffer) const {
    return m_state == EState::Streaming && m_isAcquiring && !m_isRemoved && !(onlyWithBuffer && m_queued.empty()) &&
           (m_script.frames == 0 || m_claimed < m_script.frames);
}

CScriptedStreamGrabber::EFrame CScriptedStreamGrabber::BeginFrame(bool onlyWithBuffer) {
    Lock lock(m_lock);
    if (!MayBegin(onlyWithBuffer)) {
        return EFrame::None;
    }
    ++m_claimed;
    ++m_underWay; // from here on StopStreaming waits for it
    const Zelmo::ScopeGuard finish([this] {
        --m_underWay;
        m_changed.notify_all();
    });
    if (m_framesLeft > 0 && --m_framesLeft == 0) {
        m_isAcquiring = false;
    }
    lock.unlock();
    const FaultSet faults = m_watch.Strike(EOperation::Frame);
    if (Has(faults, EFault::Remove)) {
        Remove();
        if (m_onRemoved) {
            m_onRemoved();
        }
    }
    lock.lock();
    if (m_isRemoved) {
        return EFrame::None;
    }
    const bool isLost = m_queued.empty();
    const std::uint64_t gap = Has(faults, EFault::Gap) ? 2 : 0;
    const std::uint64_t blockId = m_account.begun + gap;
    m_account.begun += gap + 1;
    m_account.lost += gap + (isLost ? 1 : 0);
    if (isLost) {
        return EFrame::Lost;
    }
    CBuffer& buffer = *m_queued.front();
    m_queued.pop_front();
    buffer.state = CBuffer::EState::Away;
    const auto payload = static_cast<std::size_t>(m_imageWidth) * static_cast<std::size_t>(m_imageHeight);
    lock.unlock();
    Unstamp(buffer);
    if (payload <= buffer.sizeBytes) {
        std::memset(buffer.memory, static_cast<int>(blockId % 251), payload);
        CamEmu::WriteFrameRecord(m_cameraNumber, blockId, {buffer.memory, payload});
    }
    lock.lock();
    Complete(buffer, blockId, faults);
    return EFrame::Delivered;
}

Zelmo::GrabResult CScriptedStreamGrabber::ResultOf(const CBuffer& buffer, Zelmo::EGrabStatus status) {
    Zelmo::GrabResult result;
    result.context = buffer.context;
    result.handle = buffer.handle;
    result.buffer = buffer.memory;
    result.bufferSize = buffer.sizeBytes;
    result.status = status;
    return result;
}

void CScriptedStreamGrabber::Complete(CBuffer& buffer, std::uint64_t blockId, FaultSet faults) {
    const std::int64_t payload = std::int64_t{m_imageWidth} * m_imageHeight;
    const bool isTooSmall = static_cast<std::int64_t>(buffer.sizeBytes) < payload;
    const bool isFailed = isTooSmall || Has(faults, EFault::Fail);
    Zelmo::GrabResult result = ResultOf(buffer, isFailed ? Zelmo::GrabStatus_Failed : Zelmo::GrabStatus_Grabbed);
    const auto lie = [faults](EFault fault, auto told, auto actual) { return Has(faults, fault) ? told : actual; };
    constexpr std::int32_t huge = std::numeric_limits<std::int32_t>::max();
    result.payloadType = m_script.saysChunks ? Zelmo::PayloadType_ChunkData : Zelmo::PayloadType_Image;
    result.pixelType = lie(EFault::LieStrange, Zelmo::PixelType_Double, Zelmo::PixelType_Mono8);
    result.timeStamp = blockId * 1000;
    result.sizeX = lie(EFault::LieHuge, huge, lie(EFault::LieNegative, -64, m_imageWidth));
    result.sizeY = lie(EFault::LieHuge, huge, lie(EFault::LieNegative, -64, m_imageHeight));
    result.offsetX = result.offsetY = result.paddingX = result.paddingY = lie(EFault::LieNegative, -64, 0);
    result.payloadSize = lie(EFault::LieLong, static_cast<std::int64_t>(buffer.sizeBytes) + 1000,
                             lie(EFault::LieShort, payload - 1, lie(EFault::LieNegative, std::int64_t{-64}, payload)));
    result.errorCode = isTooSmall ? 1 : isFailed ? 7 : 0;
    result.errorDescription = isTooSmall ? "the buffer is too small" : isFailed ? "lines are missing" : "";
    result.blockId = blockId;
    if (!isFailed && alter) {
        alter(result);
    }
    ++(isFailed ? m_account.failed : (faults & kLies) != 0 ? m_account.lying : m_account.good);
    if (Has(faults, EFault::Late) && !m_late) {
        m_late = std::move(result);
        return;
    }
    Push(result);
    if (m_late) {
        Push(*std::exchange(m_late, std::nullopt));
    }
}

void CScriptedStreamGrabber::Push(const Zelmo::GrabResult& result) {
    m_results.push_back(result);
    if (m_results.size() == 1) {
        m_wait.Signal();
    }
}

/// A call from outside. @throws what the script says, or that the camera is gone
CCallWatch::CCall CScriptedStreamGrabber::Enter(EOperation operation, bool alone) const {
    auto call = m_watch.Enter(operation, alone);
    CheckState(operation);
    if (m_isRemoved && operation >= EOperation::Open && operation <= EOperation::QueueBuffer) {
        throw RUNTIME_EXCEPTION("%s failed: the camera was removed.", NameOf(operation));
    }
    return call;
}

void CScriptedStreamGrabber::CheckState(EOperation operation) const {
    static constexpr const char* kStates[] = {"closed", "open", "prepared", "streaming", "halted"};
    static const std::map<EOperation, std::string_view> kPermitted{
        // by first letters; the others may always come
        {EOperation::Open, "c"},        {EOperation::MaxBufferSize, "o"},   {EOperation::MaxNumBuffer, "o"},
        {EOperation::PrepareGrab, "o"}, {EOperation::RegisterBuffer, "ps"}, {EOperation::StartStreaming, "p"},
        {EOperation::QueueBuffer, "s"}, {EOperation::FinishGrab, "coph"},   {EOperation::Close, "o"}};
    const char* const state = kStates[static_cast<std::size_t>(m_state.load())];
    const auto found = kPermitted.find(operation);
    const bool isExcused = m_watch.IsSpoilt() && (operation == EOperation::FinishGrab || *state != 'c');
    if (found != kPermitted.end() && found->second.find(*state) == std::string_view::npos && !isExcused) {
        m_watch.Violate(std::string(NameOf(operation)) + ": the grabber is " + state);
    }
}

void CScriptedStreamGrabber::Open() {
    const auto call = Enter(EOperation::Open);
    m_maxBufferSize = m_maxNumBuffer = 0;
    m_state = EState::Open;
}

void CScriptedStreamGrabber::Close() {
    const auto call = Enter(EOperation::Close);
    EndStreaming();
    DropBuffers(EState::Closed);
}

Zelmo::StreamBufferHandle CScriptedStreamGrabber::RegisterBuffer(void* buffer, std::size_t sizeBytes) {
    const auto call = Enter(EOperation::RegisterBuffer);
    if (Has(call.faults, EFault::False)) {
        return nullptr;
    }
    if (static_cast<std::int64_t>(sizeBytes) < m_maxBufferSize) {
        m_watch.Violate("RegisterBuffer: the buffer is below MaxBufferSize");
    }
    const std::lock_guard lock(m_lock);
    auto* const handle = reinterpret_cast<Zelmo::StreamBufferHandle>(++m_lastHandle);
    m_buffers[handle] = {static_cast<std::uint8_t*>(buffer), sizeBytes, handle};
    return handle;
}

void* CScriptedStreamGrabber::DeregisterBuffer(Zelmo::StreamBufferHandle handle) {
    const auto call = Enter(EOperation::DeregisterBuffer);
    if (Has(call.faults, EFault::False)) {
        return nullptr;
    }
    const std::lock_guard lock(m_lock);
    void* const memory = IdleBuffer(handle, EOperation::DeregisterBuffer).memory;
    m_buffers.erase(handle);
    return memory;
}

void CScriptedStreamGrabber::PrepareGrab() {
    const auto call = Enter(EOperation::PrepareGrab);
    if (m_maxBufferSize == 0 || m_maxNumBuffer == 0) {
        m_watch.Violate("PrepareGrab: MaxBufferSize or MaxNumBuffer was not written");
    }
    const std::lock_guard lock(m_lock);
    m_imageWidth = m_width;
    m_imageHeight = m_height;
    m_state = EState::Prepared;
}

void CScriptedStreamGrabber::StartStreaming() {
    const auto call = Enter(EOperation::StartStreaming);
    const std::lock_guard lock(m_lock);
    if (m_state.exchange(EState::Streaming) != EState::Streaming && m_script.source >= ESource::Free) {
        m_thread = std::thread([this] { Run(); });
    }
}

void CScriptedStreamGrabber::StopStreaming() {
    const auto call = Enter(EOperation::StopStreaming);
    EndStreaming();
}

/// Returns when no frame is under way any more, those on the test's threads included.
void CScriptedStreamGrabber::EndStreaming() {
    Lock lock(m_lock);
    if (m_state == EState::Streaming) {
        m_state = EState::Halted;
    }
    m_changed.notify_all();
    m_changed.wait(lock, [this] { return m_underWay == 0; });
    lock.unlock();
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

void CScriptedStreamGrabber::FinishGrab() {
    const auto call = Enter(EOperation::FinishGrab);
    if (m_away != 0 && !m_watch.IsSpoilt()) {
        m_watch.Violate("FinishGrab: buffers are queued or not retrieved");
    }
    EndStreaming();
    DropBuffers(std::min(m_state.load(), EState::Open));
}

void CScriptedStreamGrabber::DropBuffers(EState state) {
    const std::lock_guard lock(m_lock);
    m_state = state;
    m_queued.clear();
    m_results.clear();
    m_late.reset();
    m_buffers.clear();
    m_away = 0;
    m_wait.Reset();
}

void CScriptedStreamGrabber::QueueBuffer(Zelmo::StreamBufferHandle handle, void* context) {
    const auto call = Enter(EOperation::QueueBuffer);
    {
        const std::lock_guard lock(m_lock);
        CBuffer& buffer = IdleBuffer(handle, EOperation::QueueBuffer);
        if (static_cast<std::int64_t>(++m_away) > m_maxNumBuffer) {
            m_watch.Violate("QueueBuffer: more buffers are queued than MaxNumBuffer");
        }
        if (buffer.sizeBytes >= sizeof kStamp) {
            std::memcpy(&buffer.original, buffer.memory, sizeof kStamp);
            std::memcpy(buffer.memory, &kStamp, sizeof kStamp);
        }
        buffer.context = context;
        buffer.state = CBuffer::EState::Queued;
        m_queued.push_back(&buffer);
        m_changed.notify_all();
    }
    DeliverQueued();
}

/// Looks whether the caller wrote into a queued buffer, and leaves it as it was queued.
void CScriptedStreamGrabber::Unstamp(CBuffer& buffer) {
    if (buffer.sizeBytes < sizeof kStamp) {
        return;
    }
    if (std::memcmp(buffer.memory, &kStamp, sizeof kStamp) != 0) {
        m_watch.Violate("a queued buffer was written to");
    }
    std::memcpy(buffer.memory, &buffer.original, sizeof kStamp);
}

CScriptedStreamGrabber::CBuffer& CScriptedStreamGrabber::IdleBuffer(Zelmo::StreamBufferHandle handle,
                                                                    EOperation operation) {
    static constexpr const char* kWrongs[] = {"is not registered", "is queued", "was not retrieved"};
    const auto found = m_buffers.find(handle);
    const auto state = found == m_buffers.end() ? CBuffer::EState::Idle : found->second.state;
    if (found != m_buffers.end() && state == CBuffer::EState::Idle) {
        return found->second;
    }
    const std::string wrong =
        std::string(NameOf(operation)) + ": the buffer " + kWrongs[static_cast<std::size_t>(state)];
    if (handle != nullptr) { // which is what a script has RegisterBuffer answer
        m_watch.Violate(wrong);
    }
    throw LOGICAL_ERROR_EXCEPTION("%s.", wrong.c_str());
}

// May run beside other calls. A frame that is being drawn still comes as such.
void CScriptedStreamGrabber::FlushBuffers() {
    const auto call = Enter(EOperation::FlushBuffers, false);
    const std::lock_guard lock(m_lock);
    if (m_late) {
        Push(*std::exchange(m_late, std::nullopt));
    }
    for (; !m_queued.empty(); m_queued.pop_front()) {
        CBuffer& buffer = *m_queued.front();
        Unstamp(buffer);
        buffer.state = CBuffer::EState::Away;
        Push(ResultOf(buffer, Zelmo::GrabStatus_Canceled));
        ++m_account.canceled;
    }
}

bool CScriptedStreamGrabber::RetrieveResult(Zelmo::GrabResult& result) {
    const auto call = Enter(EOperation::RetrieveResult);
    if (Has(call.faults, EFault::False)) {
        return false;
    }
    const std::lock_guard lock(m_lock);
    if (Has(call.faults, EFault::Again)) {
        result = m_last;
        return true;
    }
    const bool isThere = !m_results.empty();
    if (isThere) {
        m_last = result = m_results.front();
        result.context = Has(call.faults, EFault::Stray) ? this : result.context;
        m_results.pop_front();
        m_buffers.at(result.handle).state = CBuffer::EState::Idle;
        --m_away;
    }
    if (m_results.empty()) {
        m_wait.Reset();
    }
    return isThere;
}

Zelmo::WaitObject& CScriptedStreamGrabber::GetWaitObject() const {
    static Zelmo::WaitObject invalid;
    return Has(Enter(EOperation::GetWaitObject, false).faults, EFault::False) ? invalid : m_wait;
}

// The application may ask for the node map and use it beside all other calls.
GenApi::INodeMap* CScriptedStreamGrabber::GetNodeMap() {
    return Has(Enter(EOperation::GetNodeMap, false).faults, EFault::False) ? nullptr : m_nodes->Map();
}

std::int64_t CScriptedStreamGrabber::ReadRegister(int number) {
    const auto node = static_cast<EOperation>(number);
    if (node == EOperation::MaxBufferSize || node == EOperation::MaxNumBuffer) {
        return node == EOperation::MaxBufferSize ? m_maxBufferSize : m_maxNumBuffer;
    }
    if (Has(m_watch.Strike(node), EFault::False)) {
        return 0;
    }
    const std::lock_guard lock(m_lock);
    return node == EOperation::PayloadSize ? std::int64_t{m_width} * m_height : 1;
}

void CScriptedStreamGrabber::WriteRegister(int number, std::int64_t value) {
    const auto node = static_cast<EOperation>(number);
    m_watch.Strike(node);
    CheckState(node);
    (node == EOperation::MaxBufferSize ? m_maxBufferSize : m_maxNumBuffer) = value;
}

} // namespace Fakes
