// SPDX-License-Identifier: Apache-2.0
#include "camera/GrabSupport.h"

#include "ZelmoBase/camera/InstantCameraParameters.h"
#include "ZelmoBase/camera/InstantCameraQueuePort.h"

#include <zelmo/ThreadPriority.h>

#include <GenApi/GenApi.h>

#include <algorithm>
#include <string>

using namespace Zelmo;

namespace {

class InstantCameraParametersTest : public GrabTest {
protected:
    GenApi::INode& Node(const std::string& name) {
        GenApi::INode* const node = m_nodes->GetNode(name.c_str());
        if (node == nullptr) {
            throw LOGICAL_ERROR_EXCEPTION("There is no such node: %s", name.c_str());
        }
        return *node;
    }
    GenApi::IInteger& Int(const std::string& name) { return dynamic_cast<GenApi::IInteger&>(Node(name)); }
    CGrabEngine m_engine{nullptr, *this};
    CInstantCameraQueuePort m_port{m_engine};
    CInstantCameraNodeMapPtr m_nodes;
    CGrabEngine& Engine() override { return m_engine; }
};

TEST_F(InstantCameraParametersTest, LockNodesLockTheirParameters) {
    const std::pair<const char*, std::vector<const char*>> locks[]{
        {"GrabParamsLocked",
         {"MaxNumBuffer", "MaxNumQueuedBuffer", "MaxNumGrabResults", "StaticChunkNodeMapPoolSize",
          "GrabLoopThreadTimeout", "AcquisitionStartStopExecutionEnable", "ClearBufferModeEnable",
          "ChunkNodeMapsEnable", "GrabLoopThreadUseTimeout", "InternalGrabEngineThreadPriorityOverride",
          "GrabLoopThreadPriorityOverride"}},
        {"AccessModeParamsLocked", {"GrabCameraEvents", "MonitorModeActive", "MigrationModeActive"}}};
    for (const auto& [lock, names] : locks) {
        for (const bool isLocked : {true, false}) {
            Int(lock).SetValue(isLocked ? 1 : 0);
            for (const char* name : names) {
                EXPECT_NE(GenApi::IsWritable(&Node(name)), isLocked) << name;
            }
        }
    }
    m_nodes.MaxNumBuffer->SetValue(3);
    m_nodes.GrabParamsLocked->SetValue(1);
    EXPECT_THROW(m_nodes.MaxNumBuffer->SetValue(4), GenICam::AccessException);
}

TEST_F(InstantCameraParametersTest, PrioritiesAreThoseOfTheProcessAndAreSetWhereOverridden) {
    int min = 0;
    int max = 0;
    GetRTThreadPriorityCapabilities(min, max);
    m_nodes.SetThreadPriorities();
    GenApi::IInteger& engine = Int("InternalGrabEngineThreadPriority");
    EXPECT_EQ(engine.GetValue(), std::max(std::min(25, max), min));
    EXPECT_EQ(Int("GrabLoopThreadPriority").GetValue(), min);
    for (const char* name : {"InternalGrabEngineThreadPriority", "GrabLoopThreadPriority"}) {
        EXPECT_EQ(Int(name).GetMin(), min) << name;
        EXPECT_EQ(Int(name).GetMax(), max) << name;
        EXPECT_FALSE(GenApi::IsWritable(&Int(name))) << name;
    }
    m_nodes.InternalGrabEngineThreadPriorityOverride->SetValue(true);
    EXPECT_TRUE(GenApi::IsWritable(&engine));
    m_nodes.GrabParamsLocked->SetValue(1);
    EXPECT_FALSE(GenApi::IsWritable(&engine));
}

TEST_F(InstantCameraParametersTest, QueuePortAnswersForTheEngine) {
    const auto read = [this](std::int64_t address, std::int64_t length) {
        std::uint64_t value = 0;
        m_port.Read(&value, address, length);
        return value;
    };
    const auto write = [this](std::int64_t address, std::int64_t length) {
        const std::uint64_t value = 0x100000002; // of which 4 bytes are taken
        m_port.Write(&value, address, length);
    };
    for (const auto& [address, length, message] :
         {std::tuple{0x10, 8, "Invalid buffer size while reading from instant camera queue port."},
          {0x14, 4, "Invalid address while reading from instant camera queue port."},
          {0x14, 8, "Invalid address while reading from instant camera queue port."}}) {
        EXPECT_EQ(Fakes::FailureOf([&, a = address, l = length] { read(a, l); }), message);
    }
    for (const auto& [address, length, message] :
         {std::tuple{0x14, 8, "Invalid buffer size while writing to instant camera queue port."},
          {0x10, 4, "Invalid address while while writing to instant camera queue port."},
          {0x40, 8, "Invalid buffer size while writing to instant camera queue port."}}) {
        EXPECT_EQ(Fakes::FailureOf([&, a = address, l = length] { write(a, l); }), message);
    }
    EXPECT_EQ(m_port.GetAccessMode(), GenApi::RW);
    m_engine.StartEngine(&m_grabber, GrabStrategy_LatestImages, 4, 50, 0, false, 64, 0, false);
    m_grabber.Deliver(3);
    EXPECT_TRUE(Settles(3, 1));
    EXPECT_EQ(read(0x10, 4), 1U);
    EXPECT_EQ(read(0x20, 4), 3U);
    EXPECT_EQ(read(0x30, 4), 0U);
    EXPECT_EQ(read(0x40, 4), 5U);
    write(0x40, 4);
    EXPECT_EQ(read(0x40, 4), 2U);
    EXPECT_EQ(read(0x20, 4), 2U) << "the oldest is lost";
    m_engine.StopEngine();
    EXPECT_EQ(read(0x40, 4), 2U);
}

TEST_F(InstantCameraParametersTest, WithoutANodeMapTheFirstUseTells) {
    const CZelmoPowerNodeMapPtr none;
    CKeptNode<GenApi::IInteger> unreachable(none, "MaxNumBuffer");
    CKeptNode<GenApi::IInteger> unknown(m_nodes, "MaxNumBufer");
    EXPECT_EQ(Fakes::FailureOf([&] { unreachable->GetValue(); }), "NULL pointer dereferenced");
    EXPECT_EQ(Fakes::FailureOf([&] { unknown->GetValue(); }),
              "The camera's own node map has no such node 'MaxNumBufer'.");
}

} // namespace
