// SPDX-License-Identifier: Apache-2.0
#include "camera/GrabSupport.h"

#include "ZelmoBase/camera/InstantCameraParameters.h"
#include "ZelmoBase/camera/InstantCameraQueuePort.h"

#include <zelmo/InstantCameraParams.h>
#include <zelmo/ThreadPriority.h>

#include <GenApi/EnumClasses.h>
#include <GenApi/GenApi.h>

#include <algorithm>
#include <array>
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
    const char *name, *summary, *displayName, *toolTip, *description;
};

constexpr Row kRows[] = {
    {"MaxNumBuffer", "10 of 1 to 4294967295, Beginner, streamable, locked by GrabParamsLocked, in Root",
     "Maximum Number Of Buffers", "The maximum number of buffers that are allocated and used for grabbing.", ""},
    {"MaxNumQueuedBuffer", "50 of 1 to 4294967295, Beginner, streamable, locked by GrabParamsLocked, in Root",
     "Maximum Number Of Queued Buffers",
     "The maximum number of buffers that are queued in the stream grabber input queue.", ""},
    {"MaxNumGrabResults", "4294967295 of 1 to 4294967295, Beginner, streamable, locked by GrabParamsLocked, in Root",
     "Maximum Number Of Grab Results",
     "The maximum number of grab results available at any time during a grab session. This value can be limited to "
     "save resources. Furthermore, it can be used to check that the grab results are returned correctly.",
     ""},
    {"StaticChunkNodeMapPoolSize", "0 of 0 to 4294967295, Guru, streamable, locked by GrabParamsLocked, in Root",
     "Static Chunk Node Map Cache Size",
     "If larger than 0, a static chunk node map pool is used instead of dynamic chunk node map creation.", ""},
    {"GrabLoopThreadTimeout", "5000 of 0 to 4294967294, Beginner, locked by GrabParamsLocked, in GrabLoopThread",
     "Grab Loop Thread Timeout",
     "A custom timeout for the grab loop thread's call to RetrieveResult. RetrieveResult is configured to throw an "
     "exception on timeout, which will stop the grab session.",
     ""},
    {"AcquisitionStartStopExecutionEnable", "true, Guru, streamable, locked by GrabParamsLocked, in Root",
     "Call AcquisitionStart in StartGrabbing Enable",
     "If set, this will automatically execute AcquisitionStart when calling StartGrabbing and AcquisitionStop when "
     "calling StopGrabbing. This option is enabled by default.",
     ""},
    {"ClearBufferModeEnable", "false, Guru, streamable, locked by GrabParamsLocked, in Root",
     "Empty Buffer Before Grab Enable",
     "If set, all buffers will be cleared (set to 0) before grabbing an image. Note that this requires additional "
     "processing time per frame.",
     ""},
    {"ChunkNodeMapsEnable", "true, Guru, streamable, locked by GrabParamsLocked, in Root", "Chunk Node Maps Enable",
     "Enables/disables the use of a chunk node map for each grab result. Grab result chunk node maps can be disabled "
     "to save resources.",
     ""},
    {"GrabCameraEvents", "false, Expert, streamable, locked by AccessModeParamsLocked, in Root", "Grab Camera Events",
     "Enables/disables the grabbing of camera events while images are grabbed. Is writable when the camera object is "
     "closed.",
     ""},
    {"MonitorModeActive", "false, Guru, streamable, locked by AccessModeParamsLocked, in Root", "Monitor Mode",
     "The camera object is set to monitor mode when enabled, e.g. when using the GigE multicast feature. Is writable "
     "when the camera object is closed.",
     ""},
    {"MigrationModeActive", "false, Guru, streamable, locked by AccessModeParamsLocked, in Root", "Migration Mode",
     "The migration mode is set up according to this setting at defined points e.g., when the camera is opened.", ""},
    {"GrabLoopThreadUseTimeout", "false, Guru, locked by GrabParamsLocked, in GrabLoopThread",
     "Grab Loop Thread Use Timeout",
     "If enabled, the user can set a custom timeout for the grab loop thread's call to RetrieveResult. RetrieveResult "
     "is configured to throw an exception on timeout, which will stop the grab session.",
     ""},
    {"InternalGrabEngineThreadPriorityOverride",
     "false, Guru, streamable, locked by GrabParamsLocked, in InternalGrabEngineThread",
     "Grab Engine Thread Priority Override",
     "If enabled, the user can set a custom priority for the internal grab engine thread operating the stream grabber. "
     "Otherwise the priority defaults to 25.",
     ""},
    {"InternalGrabEngineThreadPriority",
     "0 of 0 to 0, Guru, streamable, locked by GrabEngineThreadPriority_IsLocked, in InternalGrabEngineThread",
     "Grab Engine Thread Priority", "The internal grab engine thread priority.",
     "This value sets the absolute thread priority for the internal grab engine thread operating the stream grabber."},
    {"GrabLoopThreadPriorityOverride", "false, Guru, locked by GrabParamsLocked, in GrabLoopThread",
     "Grab Loop Thread Priority Override",
     "If enabled, the user can set a custom priority for the grab loop thread. Otherwise, the priority of the newly "
     "created thread is not changed.",
     ""},
    {"GrabLoopThreadPriority", "0 of 0 to 0, Guru, locked by GrabLoopThreadPriority_IsLocked, in GrabLoopThread",
     "Grab Loop Thread Priority", "The grab loop thread priority.",
     "This value sets the absolute thread priority for the grab loop thread."},
    {"NumQueuedBuffers",
     "0x10 RO NoCache 1000 GrabParamsLocked Unsigned LittleEndian, Expert, locked by nothing, in Root",
     "Number of Queued Buffers", "The number of buffers queued at Low Level API stream grabber.",
     "This is the number of buffers that are queued for grabbing in the stream grabber. The number is influenced by "
     "the number of available free buffers and the maximum number of buffers that can be queued. See also the "
     "MaxNumBuffer and MaxNumQueuedBuffer parameters. This parameter can be used to check whether the number of "
     "buffers ready for grabbing is stable, which means that the image processing is fast enough to keep up with the "
     "rate of incoming images when using the GrabStrategy_OneByOne grab strategy."},
    {"NumReadyBuffers",
     "0x20 RO NoCache 1000 GrabParamsLocked Unsigned LittleEndian, Expert, locked by nothing, in Root",
     "Number of Ready Buffers", "The number of grab result buffers in the output queue that are ready for retrieval.",
     ""},
    {"NumEmptyBuffers",
     "0x30 RO NoCache 1000 GrabParamsLocked Unsigned LittleEndian, Expert, locked by nothing, in Root",
     "Number of Empty Buffers", "The number of empty buffers that are not used for grabbing yet.", ""},
    {"OutputQueueSize",
     "0x40 RW NoCache 1000 GrabParamsLocked Unsigned LittleEndian, Expert, locked by QueueParamsLocked, in Root",
     "Output Queue Size", "The size of the grab result buffer output queue.", ""},
};

TEST_F(InstantCameraParametersTest, EachNodeIsAsDocumented) {
    ASSERT_TRUE(m_nodes->Connect(&m_port, "QueuePort"));
    Harlix_InstantCameraParams::CInstantCameraParams_Params catalogue;
    catalogue._Initialize(&*m_nodes);
    for (const Row& row : kRows) {
        EXPECT_EQ(Summary(row.name), row.summary) << row.name;
        EXPECT_EQ(Node(row.name).GetDisplayName(), row.displayName) << row.name;
        EXPECT_EQ(Node(row.name).GetToolTip(), row.toolTip) << row.name;
        EXPECT_EQ(PropertyOf(Node(row.name), "Description"), row.description) << row.name;
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
    const auto texts = [this](const char* name) {
        return std::array{std::string(Node(name).GetToolTip().c_str()),
                          std::string(Node(name).GetDisplayName().c_str())};
    };
    EXPECT_THAT(texts("Root"), ElementsAre("Instant camera parameters.", "Root"));
    EXPECT_THAT(texts("GrabLoopThread"),
                ElementsAre("Parameters of the optional grab loop  thread.", "Grab Loop Thread"));
    EXPECT_THAT(texts("InternalGrabEngineThread"),
                ElementsAre("Parameters of the internal grab engine thread.", "Internal Grab Engine Thread"));
    EXPECT_EQ(Node("QueuePort").GetToolTip(), "Port node giving access to queue data.");
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
