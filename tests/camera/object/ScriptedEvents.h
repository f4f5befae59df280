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
#include <mutex>

/// Messages that are put in by hand; each is the value of the node "EventValue".
class ScriptedEvents final : public Zelmo::IEventGrabber, public Zelmo::IEventAdapter {
public:
    void Put(std::int64_t value, std::int64_t status = 0) {
        Zelmo::EventResult message;
        message.status = status;
        message.description = status != 0 ? "it was lost" : "";
        std::memcpy(message.buffer, &value, sizeof value);
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
        std::int64_t value = 0;
        std::memcpy(&value, buffer, sizeof value);
        GenApi::CIntegerPtr(*nodeMap, "EventValue")->SetValue(value);
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
