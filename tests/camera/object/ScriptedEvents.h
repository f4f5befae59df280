// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/EventGrabber.h>
#include <zelmo/WaitObject.h>

#include <Base/GCException.h>
#include <GenApi/Pointer.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <cstring>
#include <deque>
#include <initializer_list>
#include <mutex>

/// Messages that are put in by hand; each event in them is a value of the node "EventValue" or "EventOther".
class ScriptedEvents final : public Zelmo::IEventGrabber, public Zelmo::IEventAdapter {
public:
    struct Event {
        std::int64_t value;
        bool isOther; // of "EventOther"
    };

    void Put(std::int64_t value, std::int64_t status = 0) { Put({{value, false}}, status); }
    void Put(std::initializer_list<Event> events, std::int64_t status = 0) { // one message
        Zelmo::EventResult message;
        message.status = status;
        message.description = status != 0 ? "it was lost" : "";
        const std::size_t count = events.size();
        std::memcpy(message.buffer, &count, sizeof count);
        std::memcpy(message.buffer + sizeof count, events.begin(), count * sizeof(Event));
        const std::lock_guard lock(m_lock);
        m_messages.push_back(message);
        m_object.Signal();
    }
    void Open() override {
        isOpen = true;
        if (failsToOpen) {
            throw RUNTIME_EXCEPTION("no events");
        }
    }
    void Close() override { isOpen = false; }
    bool IsOpen() const override { return isOpen; }
    bool RetrieveEvent(Zelmo::EventResult& result) override {
        const std::lock_guard lock(m_lock);
        if (m_messages.empty() || signalsOnly) {
            return false;
        }
        result = m_messages.front();
        if (isEndless) {
            return true;
        }
        m_messages.pop_front();
        if (m_messages.empty()) {
            m_object.Reset();
        }
        return true;
    }
    Zelmo::WaitObject& GetWaitObject() const override { return m_object; }
    GenApi::INodeMap* GetNodeMap() override { return nullptr; }
    void DeliverMessage(const void* buffer, std::size_t sizeBytes) override {
        EXPECT_EQ(sizeBytes, 576U);
        const auto* at = static_cast<const std::uint8_t*>(buffer);
        std::size_t count = 0;
        std::memcpy(&count, at, sizeof count);
        at += sizeof count;
        for (Event event{}; count > 0; --count, at += sizeof event) {
            std::memcpy(&event, at, sizeof event);
            GenApi::CIntegerPtr(*nodeMap, event.isOther ? "EventOther" : "EventValue")->SetValue(event.value);
        }
    }

    bool isOpen = false;
    bool failsToOpen = false;
    std::atomic<bool> isEndless{false};   ///< The first message comes again and again.
    std::atomic<bool> signalsOnly{false}; ///< Nothing comes, whatever waits.
    GenApi::INodeMap* nodeMap = nullptr;

private:
    std::mutex m_lock; // guards the two below
    std::deque<Zelmo::EventResult> m_messages;
    mutable Zelmo::WaitObjectEx m_object = Zelmo::WaitObjectEx::Create();
};
