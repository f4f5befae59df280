#pragma once

#include <GenApi/GenApi.h>
#include <zelmo/PixelType.h>
#include <zelmo/StreamGrabber.h>
#include <zelmo/WaitObject.h>

#include <cstdlib>
#include <deque>
#include <functional>
#include <set>
#include <sstream>
#include <string>

#include "fakes/plugins/FakeDevice.h"

/// A stream grabber that plays the words of the environment variable ZELMO_TEST_SCRIPT, one for each buffer that is
/// queued:
///   image, failed, short (less data than it tells), strange (a pixel format that nobody writes), gap (an image behind
///   two lost ones), removed (the camera goes). When the words are over nothing comes any more.
/// Words that act elsewhere and may stand anywhere: isopen, openfails, preparefails, startfails.
/// Logs each call, and "BROKEN" when the caller breaks a rule.
class ScriptedGrabber final : public Zelmo::IStreamGrabber {
public:
    static constexpr std::int64_t payloadSize = 16;

    explicit ScriptedGrabber(std::function<void()> onRemoved)
        : m_onRemoved(std::move(onRemoved)), m_signal(Zelmo::WaitObjectEx::Create()),
          m_nodeMap(GenApi::CNodeMapFactory(description).CreateNodeMap()) {
        const char* words = std::getenv("ZELMO_TEST_SCRIPT");
        std::istringstream script(words != nullptr ? words : "");
        for (std::string word; script >> word;)
            (std::set<std::string>{"isopen", "openfails", "preparefails", "startfails"}.count(word) ? m_failures
                                                                                                    : m_script)
                .push_back(word);
    }
    ~ScriptedGrabber() { dynamic_cast<GenApi::IDestroy*>(m_nodeMap)->Destroy(); }

    void Open() override { Called("Open", "openfails"); }
    void Close() override { Called("Close"); }
    bool IsOpen() const override { return Fails("isopen"); }
    void PrepareGrab() override {
        const auto size = dynamic_cast<GenApi::IInteger&>(*m_nodeMap->GetNode("MaxBufferSize")).GetValue();
        const auto number = dynamic_cast<GenApi::IInteger&>(*m_nodeMap->GetNode("MaxNumBuffer")).GetValue();
        Fakes::LogCall("MaxBufferSize %d MaxNumBuffer %d", static_cast<int>(size), static_cast<int>(number));
        Called("PrepareGrab", "preparefails");
    }
    Zelmo::StreamBufferHandle RegisterBuffer(void* buffer, std::size_t sizeBytes) override {
        Called("RegisterBuffer");
        m_registered.insert(buffer);
        return sizeBytes < payloadSize ? nullptr : buffer;
    }
    void* DeregisterBuffer(Zelmo::StreamBufferHandle handle) override {
        Called("DeregisterBuffer");
        m_registered.erase(handle);
        return handle;
    }
    bool IsStreaming() const override { return false; }
    void StartStreaming() override { Called("StartStreaming", "startfails"); }
    void StopStreaming() override { Called("StopStreaming"); }
    void FinishGrab() override {
        Called("FinishGrab");
        if (!m_registered.empty() || !m_queued.empty() || !m_results.empty())
            Fakes::LogCall("BROKEN: %d buffers are left", static_cast<int>(m_registered.size()));
    }
    void QueueBuffer(Zelmo::StreamBufferHandle handle, void* context) override {
        if (m_registered.count(handle) == 0)
            Fakes::LogCall("%s", "BROKEN: queued without being registered");
        Zelmo::GrabResult result;
        result.context = context;
        result.handle = handle;
        result.buffer = handle;
        result.bufferSize = payloadSize;
        m_queued.push_back(result);
        PlayNextWord();
    }
    void FlushBuffers() override {
        Called("FlushBuffers");
        for (; !m_queued.empty(); m_queued.pop_front()) {
            m_queued.front().status = Zelmo::GrabStatus_Canceled;
            Deliver(m_queued.front());
        }
    }
    std::size_t GetNumQueuedBuffers() const override { return m_queued.size(); }
    bool RetrieveResult(Zelmo::GrabResult& result) override {
        if (m_results.empty()) {
            m_signal.Reset();
            return false;
        }
        result = m_results.front();
        m_results.pop_front();
        return true;
    }
    Zelmo::WaitObject& GetWaitObject() const override { return m_signal; }
    GenApi::INodeMap* GetNodeMap() override { return m_nodeMap; }

private:
    static constexpr const char* description =
        "<RegisterDescription ModelName='S' VendorName='T' StandardNameSpace='None' SchemaMajorVersion='1' "
        "SchemaMinorVersion='1' SchemaSubMinorVersion='0' MajorVersion='1' MinorVersion='0' SubMinorVersion='0' "
        "ToolTip='' ProductGuid='1' VersionGuid='1' xmlns='http://www.genicam.org/GenApi/Version_1_1'>"
        "<Category Name='Root'><pFeature>PayloadSize</pFeature><pFeature>MaxBufferSize</pFeature>"
        "<pFeature>MaxNumBuffer</pFeature></Category>"
        "<Integer Name='PayloadSize'><ImposedAccessMode>RO</ImposedAccessMode><Value>16</Value></Integer>"
        "<Integer Name='MaxBufferSize'><Value>0</Value></Integer>"
        "<Integer Name='MaxNumBuffer'><Value>0</Value></Integer></RegisterDescription>";

    bool Fails(const std::string& word) const {
        return std::find(m_failures.begin(), m_failures.end(), word) != m_failures.end();
    }
    void Called(const char* name, const char* failure = "") {
        Fakes::LogCall("%s", name);
        if (Fails(failure))
            throw RUNTIME_EXCEPTION("%s was told to fail", name);
    }
    void Deliver(const Zelmo::GrabResult& result) {
        m_results.push_back(result);
        m_signal.Signal();
    }
    void PlayNextWord() {
        if (m_script.empty() || m_queued.empty())
            return;
        const std::string word = m_script.front();
        m_script.pop_front();
        if (word == "removed")
            return m_onRemoved();
        Zelmo::GrabResult result = m_queued.front();
        m_queued.pop_front();
        result.status = word == "failed" ? Zelmo::GrabStatus_Failed : Zelmo::GrabStatus_Grabbed;
        result.errorDescription = word == "failed" ? "lines are missing" : "";
        result.pixelType = word == "strange" ? Zelmo::PixelType_Double : Zelmo::PixelType_Mono8;
        result.sizeX = result.sizeY = 4;
        result.payloadSize = word == "short" ? payloadSize - 1 : payloadSize;
        result.blockId = m_blockId += word == "gap" ? 3 : 1;
        Deliver(result);
    }

    std::function<void()> m_onRemoved;
    mutable Zelmo::WaitObjectEx m_signal;
    GenApi::INodeMap* m_nodeMap; // owned
    std::deque<std::string> m_script;
    std::deque<std::string> m_failures;
    std::set<void*> m_registered;
    std::deque<Zelmo::GrabResult> m_queued;
    std::deque<Zelmo::GrabResult> m_results;
    std::uint64_t m_blockId = 0;
};
