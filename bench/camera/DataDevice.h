// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bench/ChunkImage.h"
#include "fakes/transport/StreamDevice.h"

#include <zelmo/ChunkParser.h>
#include <zelmo/EventGrabber.h>
#include <zelmo/WaitObject.h>

#include <GenApi/ChunkAdapterGEV.h>
#include <GenApi/IDestroy.h>
#include <GenApi/NodeMapFactory.h>
#include <GenApi/Pointer.h>

#include <boost/circular_buffer.hpp>

#include <cstring>
#include <memory>
#include <mutex>

namespace camera_bench {

/// Messages that wait in a ring; each is the value of the node "EventValue". Allocates nothing for a message.
class NullEvents final : public Zelmo::IEventGrabber, public Zelmo::IEventAdapter {
public:
    static constexpr std::size_t kMostWaiting = 16384;

    void SetNode(GenApi::IInteger* value) { m_value = value; }
    void Put(unsigned count = 1) {
        const std::lock_guard lock(m_lock);
        const bool wasEmpty = m_messages.empty();
        for (; count > 0; --count) {
            m_messages.push_back(m_next++);
        }
        if (wasEmpty) {
            m_object.Signal();
        }
    }
    void Open() override { m_isOpen = true; }
    void Close() override { m_isOpen = false; }
    bool IsOpen() const override { return m_isOpen; }
    bool RetrieveEvent(Zelmo::EventResult& result) override {
        const std::lock_guard lock(m_lock);
        if (m_messages.empty()) {
            return false;
        }
        result.status = 0;
        std::memcpy(result.buffer, &m_messages.front(), sizeof m_next);
        m_messages.pop_front();
        if (m_messages.empty()) {
            m_object.Reset();
        }
        return true;
    }
    Zelmo::WaitObject& GetWaitObject() const override { return m_object; }
    GenApi::INodeMap* GetNodeMap() override { return nullptr; }
    void DeliverMessage(const void* buffer, std::size_t /*sizeBytes*/) override {
        std::int64_t value = 0;
        std::memcpy(&value, buffer, sizeof value);
        m_value->SetValue(value, false);
    }

private:
    GenApi::IInteger* m_value = nullptr;
    bool m_isOpen = false;
    std::mutex m_lock; // guards the two below
    std::int64_t m_next = 0;
    boost::circular_buffer<std::int64_t> m_messages{kMostWaiting};
    mutable Zelmo::WaitObjectEx m_object = Zelmo::WaitObjectEx::Create();
};

struct DestroyMap {
    void operator()(GenApi::INodeMap* map) const { dynamic_cast<GenApi::IDestroy&>(*map).Destroy(); }
};

class NullParser final : public Zelmo::CChunkParser {
public:
    explicit NullParser(std::unique_ptr<GenApi::INodeMap, DestroyMap> map)
        : CChunkParser(new GenApi::CChunkAdapterGEV(map.get())), m_map(std::move(map)) {}

    bool HasCRC() const override { return false; }
    bool CheckCRC() const override { return false; }
    GenApi::INodeMap* GetChunkDataNodeMap() override { return m_map.get(); }
    void Destroy() override { delete this; }

private:
    std::unique_ptr<GenApi::INodeMap, DestroyMap> m_map;
};

/// A camera with a null stream grabber, events, and images with so many chunks, the same in each.
class DataDevice final : public Fakes::CStreamDevice {
public:
    explicit DataDevice(Fakes::CNullStreamGrabber::EPace pace, int width = 64, int height = 64, unsigned chunks = 0)
        : CStreamDevice({}, width, height, true,
                        {{"Boolean", "ChunkModeActive", Count, ""},
                         {"Integer", "EventSelector", Count + 1, ""},
                         {"Integer", "EventValue", Count + 2, ""}}),
          m_grabber(pace, width, height), m_chunks(chunk_image::Describe(chunks).c_str()) {
        m_events.SetNode(GenApi::CIntegerPtr(GetNodeMap()->GetNode("EventValue")));
        if (chunks > 0) {
            SetValue(Count, 1);
            m_grabber.SetContent(chunk_image::Make(static_cast<std::size_t>(width) * height, chunks));
        }
    }

    Fakes::CNullStreamGrabber& Grabber() { return m_grabber; }
    NullEvents& Events() { return m_events; }

    Zelmo::IStreamGrabber* GetStreamGrabber(std::size_t) override { return &m_grabber; }
    Zelmo::IEventGrabber* GetEventGrabber() override { return &m_events; }
    Zelmo::IEventAdapter* CreateEventAdapter() override { return &m_events; }
    bool IsChunkNodeMapDescriptionAvailable() const override { return true; }
    Zelmo::IChunkParser* CreateChunkParser() override {
        return new NullParser(std::unique_ptr<GenApi::INodeMap, DestroyMap>(m_chunks.CreateNodeMap()));
    }

private:
    Fakes::CNullStreamGrabber m_grabber;
    NullEvents m_events;
    GenApi::CNodeMapFactory m_chunks;
};

} // namespace camera_bench
