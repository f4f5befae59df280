// SPDX-License-Identifier: Apache-2.0
#include "fakes/Failure.h"
#include "fakes/VirtualSlots.h"
#include "genicam/genapi/MapFixture.h"
#include <zelmo/ArrayParameter.h>
#include <zelmo/BooleanParameter.h>
#include <zelmo/CommandParameter.h>
#include <zelmo/EnumParameterT.h>
#include <zelmo/FloatParameter.h>
#include <zelmo/IntegerParameter.h>
#include <zelmo/StringParameter.h>

#include <gmock/gmock.h>

#include <cmath>

namespace {

using namespace Zelmo;
using Fakes::FailureOf;
using Fakes::Slots;
using testing::ElementsAre;
using tests::Node;

class ParameterTest : public tests::MapTest {
protected:
    ParameterTest() {
        Load(tests::Value("Width", 64, "<Min>0</Min><Max>100</Max>") + Node("IntReg", "Register", tests::Place(0, 4)) +
             Node("Float", "Gain", "<ToolTip>Louder</ToolTip><DisplayName>Volume</DisplayName><Value>1.5</Value>") +
             Node("IntReg", "Gate", tests::Place(4, 4, "<Cachable>NoCache</Cachable>")) +
             Node("Integer", "Trigger", "<ImposedAccessMode>WO</ImposedAccessMode><pValue>Register</pValue>") +
             Node("Integer", "Gated", "<pIsAvailable>Gate</pIsAvailable><Value>3</Value>"));
    }
};

TEST_F(ParameterTest, AttachesToTheNodeItselfHoweverItIsGiven) {
    CIntegerParameter named(*Map, "Width");
    CParameter untyped(&named);
    for (const CIntegerParameter& made :
         {CIntegerParameter(named), CIntegerParameter(Map.get(), "Width"), CIntegerParameter(Map->GetNode("Width")),
          CIntegerParameter(&Int("Width")), CIntegerParameter(&named)}) {
        EXPECT_TRUE(made.IsValid());
        EXPECT_TRUE(made.Equals(&Int("Width")));
        EXPECT_TRUE(made.Equals(untyped));
        EXPECT_TRUE(made.Equals(named));
    }
    EXPECT_TRUE(named.Attach(*Map, "Register"));
    EXPECT_TRUE(named.Equals(Map->GetNode("Register")));
    EXPECT_FALSE(named.Equals(untyped) || named.Equals(Map->GetNode("Width")) || named.Equals(&named));
    EXPECT_TRUE(named.Attach(&untyped)) << "also to itself";
    EXPECT_EQ(*named, 64) << "also to itself";
    EXPECT_TRUE(named.Attach(&named)) << "also to itself";
    EXPECT_EQ((untyped = CParameter(*Map, "Gain")).GetNode(), Map->GetNode("Gain"));
}

TEST_F(ParameterTest, FailedAttachLeavesNoNode) {
    CIntegerParameter none;
    for (const auto& attempt : std::vector<std::function<bool(CParameter&)>>{
             [](CParameter& p) { return p.Attach(static_cast<GenApi::INodeMap*>(nullptr), "Width"); },
             [&](CParameter& p) { return p.Attach(*Map, nullptr) || p.Attach(Map.get(), "Widht"); },
             [](CParameter& p) { return p.Attach(static_cast<GenApi::INode*>(nullptr)); },
             [](CParameter& p) { return p.Attach(static_cast<GenApi::IValue*>(nullptr)); },
             [&](CParameter& p) { return p.Attach(Map->GetNode("Device")); }, // a port has no value
             [&](CParameter& p) { return p.Attach(&none) || (p = none).IsValid(); },
             [](CParameter& p) { return p.Release(), p.IsValid(); }}) {
        CIntegerParameter integer(*Map, "Width");
        CParameter untyped(*Map, "Width");
        EXPECT_FALSE(attempt(integer) || attempt(untyped) || integer.IsValid() || untyped.IsValid());
        EXPECT_EQ(integer.GetValueOrDefault(7), 7) << "nor that of its kind";
        EXPECT_TRUE(integer.Equals(none));
        EXPECT_TRUE(untyped.Equals(static_cast<GenApi::INode*>(nullptr)));
    }
}

TEST_F(ParameterTest, NodesOfAnotherKindAreNoneAlsoThroughTheBase) {
    CIntegerParameter integer(*Map, "Width");
    CParameter& base = integer;
    EXPECT_FALSE(base.Attach(*Map, "Gain") || integer.IsValid() || CIntegerParameter(Map->GetNode("Gain")).IsValid());
    EXPECT_TRUE(base.Attach(&Int("Width")));
    EXPECT_TRUE(integer.IsValid());
    EXPECT_FALSE((base = CFloatParameter(*Map, "Gain")).Equals(Map->GetNode("Gain")) || integer.IsValid());
}

TEST_F(ParameterTest, TextsDescribeTheNode) {
    CParameter gain(*Map, "Gain");
    EXPECT_EQ(gain.GetInfo(ParameterInfo_Name), "Gain");
    EXPECT_EQ(gain.GetInfo(ParameterInfo_DisplayName), "Volume");
    EXPECT_EQ(gain.GetInfoOrDefault(ParameterInfo_ToolTip, "x") + gain.GetInfo(ParameterInfo_Description), "Louder");
    EXPECT_EQ(FailureOf<GenICam::InvalidArgumentException>([&] { gain.GetInfo(EParameterInfo(7)); }),
              "Invalid value 7 for EParameterInfo passed.");
    EXPECT_THROW(gain.GetInfoOrDefault(EParameterInfo(7), "none"), GenICam::InvalidArgumentException);
    EXPECT_EQ(CParameter().GetInfoOrDefault(EParameterInfo(7), "none"), "none");
}

TEST_F(ParameterTest, StandsForItsNodeWithAllFlags) {
    CIntegerParameter parameter(*Map, "Register");
    GenApi::IInteger& node = parameter;
    node.FromString("0x10", true);
    EXPECT_EQ(node.ToString(), "16");
    EXPECT_TRUE(node.IsValueCacheValid());
    EXPECT_EQ(Port.Reads, 0);
    EXPECT_EQ(node.ToString(false, true), "16") << "past the cache";
    EXPECT_EQ(node.GetValue(), 16) << "past the cache";
    EXPECT_EQ(Port.Reads, 1) << "past the cache";
    EXPECT_EQ(node.GetValue(false, true), 16);
    EXPECT_EQ(Port.Reads, 2);
    CParameter width(*Map, "Width");
    EXPECT_THROW(width.FromString("101"), GenICam::OutOfRangeException);
    width.FromString("101", false);
    EXPECT_THROW(width.ToString(true), GenICam::OutOfRangeException);
    EXPECT_EQ(width.ToStringOrDefault("x"), "101");
}

TEST_F(ParameterTest, WithoutANodeOrAReadableValueTheDefaultIsTheAnswer) {
    CParameter unknown(*Map, "Widht");
    EXPECT_FALSE(unknown.IsReadable() || unknown.IsWritable() || unknown.GetAccessMode() != GenApi::NI);
    CParameter writeOnly(*Map, "Trigger");
    EXPECT_TRUE(writeOnly.IsWritable());
    EXPECT_FALSE(writeOnly.IsReadable());
    EXPECT_EQ(writeOnly.ToStringOrDefault("x"), "x");
    EXPECT_EQ(unknown.ToStringOrDefault("x"), "x");
    EXPECT_EQ(Port.Reads, 0);
}

TEST_F(ParameterTest, FailureOfTheNodePassesButWhereOnlyAccessIsAsked) {
    CIntegerParameter gated(*Map, "Gated");
    Port.TimesOut = true;
    EXPECT_FALSE(gated.IsReadable() || gated.IsWritable());
    EXPECT_THROW(gated.ToStringOrDefault("x"), GenICam::TimeoutException);
    EXPECT_THROW(gated.GetValueOrDefault(1), GenICam::TimeoutException);
    EXPECT_THROW(gated.TrySetValue(1) || gated.TrySetToMaximum(), GenICam::TimeoutException);
    EXPECT_EQ(FailureOf<GenICam::TimeoutException>([&] { gated.ToString(); }), "The device is asleep");
}

/// Each operation, given by its name and how to call it on @p object, must fail for want of a node.
template <class Object, class Call, class... Rest>
void ExpectNoNode(const std::string& className, Object& object, const char* name, Call call, Rest... rest) {
    EXPECT_EQ(FailureOf<GenICam::AccessException>([&] { std::invoke(call, object); }),
              "Parameter not found in " + className + "::" + name + ". (No node attached.)");
    if constexpr (sizeof...(rest) > 0) {
        ExpectNoNode(className, object, rest...);
    }
}

template <class N, class Correction>
void ExpectNoNodeOfNumber(const std::string& className, N n, Correction correction) {
    const auto correct = [correction](N& p) { p.SetValue(1, correction); };
    const auto uncorrected = [](N& p) { p.SetValue(1, Correction()); };
    const auto assign = [](N& p) { p = 1; };
    const auto setPercent = [](N& p) { p.SetValuePercentOfRange(NAN); };
    ExpectNoNode(className, n, "operator()", &N::operator(), "operator*", &N::operator*, "GetMax", &N::GetMax,
                 "GetUnit", &N::GetUnit, "SetToMinimum", &N::SetToMinimum, "GetValuePercentOfRange",
                 &N::GetValuePercentOfRange, "SetValuePercentOfRange", setPercent, "SetValue", correct, "SetValue",
                 uncorrected, "operator=", assign);
}

TEST(ParameterWithoutNodeTest, FailuresNameClassAndOperation) {
    CParameter p;
    const auto toString = [](CParameter& o) { o.ToString(); };
    const auto fromString = [](CParameter& o) { o.FromString("1"); };
    const auto getInfo = [](CParameter& o) { o.GetInfo(EParameterInfo(7)); };
    ExpectNoNode("CParameter", p, "GetNode", &CParameter::GetNode, "IsValueCacheValid", &CParameter::IsValueCacheValid,
                 "ToString", toString, "FromString", fromString, "GetInfo", getInfo);
    ExpectNoNodeOfNumber("CIntegerParameter", CIntegerParameter(), IntegerValueCorrection_Up);
    ExpectNoNodeOfNumber("CFloatParameter", CFloatParameter(), FloatValueCorrection_ClipToRange);
    CBooleanParameter boolean;
    using B = CBooleanParameter;
    ExpectNoNode(
        "CBooleanParameter", boolean, "operator()", &B::operator(), "SetValue", [](B& o) { o.SetValue(true); },
        "operator=", [](B& o) { o = true; });
    CStringParameter text;
    using S = CStringParameter;
    ExpectNoNode("CStringParameter", text, "operator*", &S::operator*, "GetMaxLength", &S::GetMaxLength,
                 "operator=", [](S& o) { o = "x"; });
    CCommandParameter command;
    using C = CCommandParameter;
    ExpectNoNode(
        "CCommandParameter", command, "operator()", &C::operator(), "Execute", [](C& o) { o.Execute(); }, "IsDone",
        [](C& o) { o.IsDone(); });
    CArrayParameter array;
    using A = CArrayParameter;
    ExpectNoNode(
        "CArrayParameter", array, "GetLength", &A::GetLength, "GetAddress", &A::GetAddress, "Set",
        [](A& o) { o.Set(nullptr, 0); }, "Get", [](A& o) { o.Get(nullptr, 0); });
    CEnumParameter choice;
    using E = CEnumParameter;
    StringList_t names;
    const char* list[] = {"x", nullptr};
    ExpectNoNode(
        "CEnumParameter", choice, "operator*", &E::operator*, "GetValue", [](E& o) { o.GetValue(); }, "SetValue",
        [](E& o) { o.SetValue("x"); }, "SetValue", [&](E& o) { o.SetValue(list); }, "GetSettableValues",
        [&](E& o) { o.GetSettableValues(names); }, "GetEntryByNameAsParameter",
        [](E& o) { o.GetEntryByNameAsParameter("x"); }, "GetCurrentEntryAsParameter", &E::GetCurrentEntryAsParameter,
        "operator=", [](E& o) { o = "x"; });
}

// Applications are built apart from the library and call through tables of virtual operations.
TEST(ParameterOrderTest, OperationsKeepTheirPlaces) {
    using P = CParameter;
    EXPECT_THAT(Slots(&P::GetAccessMode, &P::GetNode, &P::ToString, &P::FromString, &P::IsValueCacheValid,
                      &P::IsReadable, &P::IsWritable, &P::IsValid, &P::GetInfo, &P::GetInfoOrDefault,
                      &P::ToStringOrDefault, &P::Release),
                ElementsAre(0, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 20)); // behind the first, the destructor's two
    EXPECT_EQ((Fakes::Slot<bool(GenApi::INodeMap*, const char*)>(&P::Attach)), 13u);
    EXPECT_EQ(Fakes::Slot<bool(GenApi::INode*)>(&P::Attach), 15u);
    using I = IIntegerEx;
    using F = IFloatEx;
    EXPECT_THAT(Slots(&I::GetValueOrDefault, &I::GetValuePercentOfRange, &I::SetValuePercentOfRange,
                      &I::TrySetValuePercentOfRange, &I::SetToMaximum, &I::SetToMinimum, &I::TrySetToMaximum,
                      &I::TrySetToMinimum, &CIntegerParameter::Release, &CIntegerParameter::IsValid),
                ElementsAre(22, 25, 26, 27, 28, 29, 30, 31, 39, 40));
    EXPECT_THAT(Slots(&F::GetValueOrDefault, &F::SetValuePercentOfRange, &F::SetToMaximum, &F::TrySetToMaximum,
                      &F::GetAlternativeIntegerRepresentation, &CFloatParameter::Release, &CFloatParameter::IsValid),
                ElementsAre(25, 29, 31, 33, 35, 43, 44));
    EXPECT_THAT(Slots(&CBooleanParameter::Release, &CStringParameter::Release, &CCommandParameter::Release,
                      &CArrayParameter::Release),
                ElementsAre(20, 22, 18, 18));
    using E = CEnumParameter;
    EXPECT_THAT(Slots(&E::Release, &E::GetSymbolics, &E::GetEntries, &E::SetIntValue, &E::GetIntValue,
                      &E::GetEntryByName, &E::GetCurrentEntry, &E::GetValueOrDefault, &E::GetSettableValues,
                      &E::GetAllValues, &E::GetEntryByNameAsParameter, &E::GetCurrentEntryAsParameter),
                ElementsAre(20, 24, 25, 27, 29, 30, 32, 33, 40, 41, 42, 43));
}

} // namespace
