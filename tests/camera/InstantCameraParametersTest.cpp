// SPDX-License-Identifier: Apache-2.0
#include "camera/GrabSupport.h"

#include "ZelmoBase/camera/InstantCameraParameters.h"
#include "ZelmoBase/camera/InstantCameraQueuePort.h"

#include <zelmo/InstantCameraParams.h>
#include <zelmo/ThreadPriority.h>

#include <GenApi/EnumClasses.h>
#include <GenApi/GenApi.h>

#include <algorithm>
#include <string>

using namespace Zelmo;
using testing::ElementsAre;

namespace {

std::string PropertyOf(GenApi::INode& node, const char* name) {
    GenICam::gcstring value, attribute;
    node.GetProperty(name, value, attribute);
    return value.c_str();
}

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
    std::vector<std::string> FeaturesOf(const char* category) {
        GenApi::FeatureList_t features;
        dynamic_cast<GenApi::ICategory&>(Node(category)).GetFeatures(features);
        std::vector<std::string> names;
        for (GenApi::IValue* feature : features) {
            names.emplace_back(feature->GetNode()->GetName().c_str());
        }
        return names;
    }
    std::string CategoryOf(const std::string& name) {
        for (const char* category : {"Root", "InternalGrabEngineThread", "GrabLoopThread"}) {
            const auto names = FeaturesOf(category);
            if (std::find(names.begin(), names.end(), name) != names.end()) {
                return category;
            }
        }
        return "none";
    }
    /// Value and limits, or the properties of a register; who sees and who locks it; its category.
    std::string Summary(const std::string& name) {
        GenApi::INode& node = Node(name);
        std::string text;
        if (auto* const entry = dynamic_cast<GenApi::IRegister*>(&node)) {
            char address[8];
            std::snprintf(address, sizeof(address), "%#llx", static_cast<long long>(entry->GetAddress()));
            text = address;
            for (const char* property :
                 {"AccessMode", "Cachable", "PollingTime", "pInvalidator", "Sign", "Endianess"}) {
                text += " " + PropertyOf(node, property);
            }
            EXPECT_EQ(entry->GetLength(), 4) << name;
            EXPECT_EQ(PropertyOf(node, "pPort"), "QueuePort") << name;
        } else if (auto* const boolean = dynamic_cast<GenApi::IBoolean*>(&node)) {
            text = boolean->GetValue() ? "true" : "false";
        } else {
            auto& integer = Int(name);
            text = std::to_string(integer.GetValue()) + " of " + std::to_string(integer.GetMin()) + " to " +
                   std::to_string(integer.GetMax());
        }
        const std::string lock = PropertyOf(node, "pIsLocked");
        return text + ", " + GenApi::EVisibilityClass::ToString(node.GetVisibility()).c_str() +
               (node.IsStreamable() ? ", streamable" : "") + ", locked by " + (lock.empty() ? "nothing" : lock) +
               ", in " + CategoryOf(name);
    }

    CGrabEngine m_engine{nullptr, *this};
    CInstantCameraQueuePort m_port{m_engine};
    CInstantCameraNodeMapPtr m_nodes;
    CGrabEngine& Engine() override { return m_engine; }
};

struct Row {
    const char *name, *summary;
};

constexpr Row kRows[] = {
    {"MaxNumBuffer", "10 of 1 to 4294967295, Beginner, streamable, locked by GrabParamsLocked, in Root"},
    {"MaxNumQueuedBuffer", "50 of 1 to 4294967295, Beginner, streamable, locked by GrabParamsLocked, in Root"},
    {"MaxNumGrabResults", "4294967295 of 1 to 4294967295, Beginner, streamable, locked by GrabParamsLocked, in Root"},
    {"StaticChunkNodeMapPoolSize", "0 of 0 to 4294967295, Guru, streamable, locked by GrabParamsLocked, in Root"},
    {"GrabLoopThreadTimeout", "5000 of 0 to 4294967294, Beginner, locked by GrabParamsLocked, in GrabLoopThread"},
    {"AcquisitionStartStopExecutionEnable", "true, Guru, streamable, locked by GrabParamsLocked, in Root"},
    {"ClearBufferModeEnable", "false, Guru, streamable, locked by GrabParamsLocked, in Root"},
    {"ChunkNodeMapsEnable", "true, Guru, streamable, locked by GrabParamsLocked, in Root"},
    {"GrabCameraEvents", "false, Expert, streamable, locked by AccessModeParamsLocked, in Root"},
    {"MonitorModeActive", "false, Guru, streamable, locked by AccessModeParamsLocked, in Root"},
    {"MigrationModeActive", "false, Guru, streamable, locked by AccessModeParamsLocked, in Root"},
    {"GrabLoopThreadUseTimeout", "false, Guru, locked by GrabParamsLocked, in GrabLoopThread"},
    {"InternalGrabEngineThreadPriorityOverride",
     "false, Guru, streamable, locked by GrabParamsLocked, in InternalGrabEngineThread"},
    {"InternalGrabEngineThreadPriority",
     "0 of 0 to 0, Guru, streamable, locked by GrabEngineThreadPriority_IsLocked, in InternalGrabEngineThread"},
    {"GrabLoopThreadPriorityOverride", "false, Guru, locked by GrabParamsLocked, in GrabLoopThread"},
    {"GrabLoopThreadPriority", "0 of 0 to 0, Guru, locked by GrabLoopThreadPriority_IsLocked, in GrabLoopThread"},
    {"NumQueuedBuffers",
     "0x10 RO NoCache 1000 GrabParamsLocked Unsigned LittleEndian, Expert, locked by nothing, in Root"},
    {"NumReadyBuffers",
     "0x20 RO NoCache 1000 GrabParamsLocked Unsigned LittleEndian, Expert, locked by nothing, in Root"},
    {"NumEmptyBuffers",
     "0x30 RO NoCache 1000 GrabParamsLocked Unsigned LittleEndian, Expert, locked by nothing, in Root"},
    {"OutputQueueSize",
     "0x40 RW NoCache 1000 GrabParamsLocked Unsigned LittleEndian, Expert, locked by QueueParamsLocked, in Root"},
};

TEST_F(InstantCameraParametersTest, EachNodeIsAsDocumented) {
    ASSERT_TRUE(m_nodes->Connect(&m_port, "QueuePort"));
    Harlix_InstantCameraParams::CInstantCameraParams_Params catalogue;
    catalogue._Initialize(&*m_nodes);
    for (const Row& row : kRows) {
        EXPECT_EQ(Summary(row.name), row.summary) << row.name;
    }
    EXPECT_TRUE(catalogue.StaticChunkNodeMapPoolSize.IsWritable());
    EXPECT_EQ(catalogue.OutputQueueSize.GetValue(), 5);
    EXPECT_EQ(catalogue.NumEmptyBuffers.GetValue(), 0);
}

TEST_F(InstantCameraParametersTest, CategoriesAndHiddenNodesAreAsDocumented) {
    EXPECT_THAT(FeaturesOf("Root"),
                ElementsAre("MaxNumBuffer", "MaxNumQueuedBuffer", "MaxNumGrabResults", "ChunkNodeMapsEnable",
                            "StaticChunkNodeMapPoolSize", "GrabCameraEvents", "MonitorModeActive",
                            "MigrationModeActive", "NumQueuedBuffers", "NumReadyBuffers", "NumEmptyBuffers",
                            "OutputQueueSize", "GrabLoopThread", "InternalGrabEngineThread", "ClearBufferModeEnable",
                            "AcquisitionStartStopExecutionEnable"));
    EXPECT_THAT(FeaturesOf("InternalGrabEngineThread"),
                ElementsAre("InternalGrabEngineThreadPriorityOverride", "InternalGrabEngineThreadPriority"));
    EXPECT_THAT(FeaturesOf("GrabLoopThread"), ElementsAre("GrabLoopThreadUseTimeout", "GrabLoopThreadTimeout",
                                                          "GrabLoopThreadPriorityOverride", "GrabLoopThreadPriority"));
    std::vector<std::string> hidden{"GrabParamsLocked", "AccessModeParamsLocked", "QueueParamsLocked"};
    for (const char* thread : {"GrabEngineThreadPriority", "GrabLoopThreadPriority"}) {
        for (const char* part : {"_Override", "_Value", "_Min", "_Max", "_IsLocked"}) {
            hidden.push_back(std::string(thread) + part);
        }
    }
    for (const std::string& name : hidden) {
        EXPECT_EQ(Node(name).GetVisibility(), GenApi::Invisible) << name;
        EXPECT_EQ(Int(name).GetValue(), name.ends_with("_IsLocked") ? 1 : 0) << name;
    }
    EXPECT_EQ(PropertyOf(Node("GrabEngineThreadPriority_IsLocked"), "Formula"),
              "(PRIORITY_OVERRIDE = 0) || (GRAB_PARAMS_LOCKED <> 0)");
    EXPECT_EQ(m_nodes->GetDeviceName(), "Device");
}

TEST_F(InstantCameraParametersTest, LockNodesLockTheirParameters) {
    for (const Row& row : kRows) {
        if (const std::string lock = PropertyOf(Node(row.name), "pIsLocked");
            !lock.empty() && !lock.ends_with("_IsLocked")) {
            Int(lock).SetValue(1);
            EXPECT_FALSE(GenApi::IsWritable(&Node(row.name))) << row.name;
            Int(lock).SetValue(0);
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
