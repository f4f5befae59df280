// SPDX-License-Identifier: Apache-2.0
#include <zelmo/ThreadPriority.h>

#include <GenApi/GenApi.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <pthread.h>
#include <string>
#include <vector>

namespace {

using namespace Zelmo;

std::string IntegerNode(const std::string& name, const std::string& content) {
    return "<Integer Name=\"" + name + "\">" + content + "</Integer>";
}

class ThreadPriorityNodesTest : public testing::Test {
protected:
    ThreadPriorityNodesTest() { GetRTThreadPriorityCapabilities(m_min, m_max); }

    // Nodes "T_Min" and so on. The node "T_Value" keeps its value in "Backing".
    void Load(const std::string& valueNode, int min, int max, int override) {
        const auto plain = [](int value) { return "<Value>" + std::to_string(value) + "</Value>"; };
        m_nodes._LoadXMLFromString(
            ("<RegisterDescription ModelName=\"M\" VendorName=\"V\" StandardNameSpace=\"None\" "
             "SchemaMajorVersion=\"1\" "
             "SchemaMinorVersion=\"1\" SchemaSubMinorVersion=\"0\" MajorVersion=\"1\" MinorVersion=\"0\" "
             "SubMinorVersion=\"0\" ProductGuid=\"1\" VersionGuid=\"2\" "
             "xmlns=\"http://www.genicam.org/GenApi/Version_1_1\">" +
             IntegerNode("T_Min", plain(min)) + IntegerNode("T_Max", plain(max)) +
             IntegerNode("T_Override", plain(override)) + IntegerNode("Backing", plain(-7)) + valueNode +
             "</RegisterDescription>")
                .c_str());
    }
    std::int64_t Value(const char* name) { return GenApi::CIntegerPtr(m_nodes._GetNode(name))->GetValue(); }

    const std::string m_value = IntegerNode("T_Value", "<pValue>Backing</pValue>");
    const std::string m_unreadableValue =
        IntegerNode("T_Value", "<ImposedAccessMode>WO</ImposedAccessMode><pValue>Backing</pValue>");
    GenApi::CNodeMapRef m_nodes;
    int m_min = -1;
    int m_max = -1;
};

TEST_F(ThreadPriorityNodesTest, CapabilitiesAndTheirMiddleAreWritten) {
    Load(m_value, 5, 6, 0);
    SetupRTThreadPriorityCapabilities(m_nodes._Ptr(), "T");
    EXPECT_EQ(Value("T_Min"), m_min);
    EXPECT_EQ(Value("T_Max"), m_max);
    EXPECT_EQ(Value("T_Value"), (m_max - m_min + 1) / 2 + m_min);
    EXPECT_THROW(SetupRTThreadPriorityCapabilities(m_nodes._Ptr(), "U"), GenICam::LogicalErrorException);
}

TEST_F(ThreadPriorityNodesTest, ValueGoesToTheThreadAndARefusalIsNoFailure) {
    Load(m_value, 0, 99, 1);
    for (const auto priority : std::vector<std::int64_t>{m_max, 0, 1000, 0x100000001}) { // the last two are refused
        GenApi::CIntegerPtr(m_nodes._GetNode("T_Value"))->SetValue(priority);
        const bool possible = priority <= m_max && SetRTThreadPriority(pthread_self(), static_cast<int>(priority)) == 0;
        SetRTThreadPriority(pthread_self(), 0);
        SetNodemapRTThreadPriority(m_nodes._Ptr(), "T", pthread_self());
        EXPECT_EQ(GetRTThreadPriority(pthread_self()), possible ? priority : 0);
        EXPECT_EQ(Value("T_Value"), priority);
    }
}

struct ReflectCase {
    int min;
    int max;
    int minAfter;
    int maxAfter;
};

class ThreadPriorityReflectTest : public ThreadPriorityNodesTest, public testing::WithParamInterface<ReflectCase> {};

TEST_P(ThreadPriorityReflectTest, UnreadableValueTakesTheThreadsPriorityWithItsLimits) {
    Load(m_unreadableValue, GetParam().min, GetParam().max, 0);
    SetNodemapRTThreadPriority(m_nodes._Ptr(), "T", pthread_self()); // of normal scheduling: 0
    EXPECT_EQ(Value("Backing"), 0);
    EXPECT_EQ(Value("T_Min"), GetParam().minAfter);
    EXPECT_EQ(Value("T_Max"), GetParam().maxAfter);
}

INSTANTIATE_TEST_SUITE_P(Limits, ThreadPriorityReflectTest,
                         testing::Values(ReflectCase{-5, 99, -5, 99}, ReflectCase{1, 99, 0, 99},
                                         ReflectCase{-5, -1, -5, 0}));

TEST_F(ThreadPriorityNodesTest, OverrideMakesTheFailureTheCallers) {
    Load(m_unreadableValue, 0, 99, 1);
    EXPECT_THROW(SetNodemapRTThreadPriority(m_nodes._Ptr(), "T", pthread_self()), GenICam::AccessException);
    EXPECT_EQ(Value("Backing"), -7);
}

} // namespace
