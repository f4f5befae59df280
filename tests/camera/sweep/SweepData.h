// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "SweepCamera.h"

#include "camera/object/ScriptedChunks.h"
#include "camera/object/ScriptedEvents.h"

#include <memory>

/// Chunks and events for a swept device, with its hook at each of their calls: in front of what goes upwards, behind
/// what goes downwards.
class SweepData final : public Zelmo::IEventGrabber, public Zelmo::IEventAdapter {
public:
    explicit SweepData(SweptDevice& device) : m_device(device) {
        m_events.nodeMap = device.CStreamDevice::GetNodeMap();
        device.SetChunkMode(true);
        device.makeParser = [this] { return new Parser(*this); };
        device.eventGrabber = this;
        device.eventAdapter = this;
    }

    /// For a life: some events, and none of an earlier one.
    void Refill() {
        Zelmo::EventResult ignored;
        while (m_events.RetrieveEvent(ignored)) {
        }
        for (int value = 1; value <= 3; ++value) {
            m_events.Put(value);
        }
    }
    int ParsersAlive() const { return m_chunks.alive; }
    bool IsOpen() const override {
        m_device.Called();
        return m_events.IsOpen();
    }
    bool IsClosed() const { return !m_events.isOpen; }

private:
    class Parser final : public Zelmo::ISelfReliantChunkParser {
    public:
        explicit Parser(SweepData& data)
            : m_data(data),
              m_parser(new ScriptedChunks(data.m_chunks), [](ScriptedChunks* parser) { parser->Destroy(); }) {}

        void AttachBuffer(const void* buffer, std::int64_t sizeBytes, GenApi::AttachStatistics_t* statistics) override {
            m_data.m_device.Called();
            m_parser->AttachBuffer(buffer, sizeBytes, statistics);
        }
        void DetachBuffer() override {
            m_parser->DetachBuffer();
            m_data.m_device.Called();
        }
        void UpdateBuffer(const void*) override {}
        bool HasCRC() const override { return false; }
        bool CheckCRC() const override { return false; }
        GenApi::INodeMap* GetChunkDataNodeMap() override {
            m_data.m_device.Called();
            return m_parser->GetChunkDataNodeMap();
        }
        void Destroy() override {
            const SweptDevice& device = m_data.m_device;
            delete this;
            device.Called();
        }

    private:
        SweepData& m_data;
        const std::unique_ptr<ScriptedChunks, void (*)(ScriptedChunks*)> m_parser;
    };

    void Open() override {
        m_device.Called();
        m_events.Open();
    }
    void Close() override {
        m_events.Close();
        m_device.Called();
    }
    bool RetrieveEvent(Zelmo::EventResult& result) override {
        m_device.Called();
        return m_events.RetrieveEvent(result);
    }
    Zelmo::WaitObject& GetWaitObject() const override {
        m_device.Called();
        return m_events.GetWaitObject();
    }
    GenApi::INodeMap* GetNodeMap() override { return nullptr; }
    void DeliverMessage(const void* buffer, std::size_t sizeBytes) override {
        m_device.Called();
        m_events.DeliverMessage(buffer, sizeBytes);
    }

    SweptDevice& m_device;
    ChunkScript m_chunks;
    ScriptedEvents m_events;
};
