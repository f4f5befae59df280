// SPDX-License-Identifier: Apache-2.0
#include "DataDevice.h"
#include "Frames.h"

#include <zelmo/InstantCamera.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <stdexcept>
#include <vector>

namespace camera_bench {
namespace {

using Pace = Fakes::CNullStreamGrabber::EPace;

Pace PaceOf(const Flow& flow) {
    return flow.pace == EPace::Free ? Pace::Free : flow.pace == EPace::Sleeping ? Pace::Sleeping : Pace::Told;
}

class OurFrames final : public IFrames {
public:
    explicit OurFrames(const Flow& flow) : m_device(PaceOf(flow), flow.width, flow.height, flow.chunks) {
        for (unsigned i = 0; i < flow.chunks && flow.areChunksRead; ++i) {
            m_readChunks.push_back(chunk_image::NameOf(i).c_str());
        }
        m_camera.RegisterConfiguration(nullptr, Zelmo::RegistrationMode_ReplaceAll, Zelmo::Cleanup_None);
        m_camera.Attach(&m_device, Zelmo::Cleanup_None);
        m_camera.MaxNumBuffer.SetValue(flow.buffers);
        m_camera.MaxNumQueuedBuffer.SetValue(std::max(flow.buffers, 50U));
        m_camera.OutputQueueSize.SetValue(flow.outputQueueSize);
        m_camera.ChunkNodeMapsEnable.SetValue(flow.hasParserOfEach);
        m_camera.StartGrabbing(flow.strategy);
    }
    ~OurFrames() override { m_camera.DetachDevice(); }

    std::uint64_t Take() override {
        if (!m_camera.RetrieveResult(kTimeoutMs, m_result, Zelmo::TimeoutHandling_Return)) {
            throw std::runtime_error("no image came");
        }
        for (const GenApi::gcstring& name : m_readChunks) {
            benchmark::DoNotOptimize(GenApi::CIntegerPtr(m_result->GetChunkDataNodeMap(), name)->GetValue());
        }
        return static_cast<std::uint64_t>(m_result->GetID());
    }
    void Complete(unsigned frames) override { m_device.Grabber().Complete(frames); }
    int GetBystanders() const override { return 1; } // the removal thread
    std::uint64_t GetReady() const override { return static_cast<std::uint64_t>(m_camera.NumReadyBuffers.GetValue()); }

private:
    DataDevice m_device;
    std::vector<GenApi::gcstring> m_readChunks; // names
    Zelmo::CInstantCamera m_camera;
    Zelmo::CGrabResultPtr m_result; // used again and again
};

} // namespace

std::unique_ptr<IFrames> StartOurFrames(const Flow& flow) {
    return std::make_unique<OurFrames>(flow);
}

} // namespace camera_bench
