// SPDX-License-Identifier: Apache-2.0
#include "fakes/Failure.h"
#include "genicam/genapi/MapFixture.h"
#include <zelmo/ArrayParameter.h>
#include <zelmo/BooleanParameter.h>
#include <zelmo/CommandParameter.h>
#include <zelmo/IntegerParameter.h>
#include <zelmo/StringParameter.h>

#include <gmock/gmock.h>

#include <array>
#include <string>

namespace {

using namespace Zelmo;
using tests::Node;

/// A boolean, a string and a command with each access mode, over registers of the device.
class PlainParameterTest : public tests::MapTest {
protected:
    PlainParameterTest() {
        std::string nodes = Node("IntReg", "Word", tests::Place(0, 4)) + Node("Register", "Table", tests::Place(16, 4));
        for (const std::string mode : {"RW", "RO", "WO"}) {
            const std::string imposed = "<ImposedAccessMode>" + mode + "</ImposedAccessMode>";
            nodes += tests::Above("Boolean", "Bool" + mode, "Word", imposed);
            nodes += Node("StringReg", "Text" + mode, imposed + tests::Place(32, 8));
            nodes += tests::Above("Command", "Run" + mode, "Word", imposed + "<CommandValue>1</CommandValue>");
        }
        Load(nodes);
    }
};

TEST_F(PlainParameterTest, BooleanStandsForItsNode) {
    CBooleanParameter b(*Map, "BoolRW");
    b = true;
    EXPECT_TRUE(b());
    EXPECT_EQ(Port.Memory[0], 1);
    Port.Memory[0] = 0;
    EXPECT_TRUE(b.GetValue()) << "from the cache";
    EXPECT_FALSE(b.GetValue(false, true)) << "past it";
    EXPECT_TRUE(b.TrySetValue(true));
    EXPECT_TRUE(b.GetValueOrDefault(false));
    EXPECT_FALSE(CBooleanParameter(*Map, "BoolRO").TrySetValue(false));
    EXPECT_EQ(Port.Memory[0], 1);
    for (const char* name : {"BoolWO", "Unknown"}) {
        EXPECT_TRUE(CBooleanParameter(*Map, name).GetValueOrDefault(true)) << name;
        EXPECT_FALSE(CBooleanParameter(*Map, name).GetValueOrDefault(false)) << name;
    }
}

TEST_F(PlainParameterTest, StringStandsForItsNode) {
    CStringParameter s(*Map, "TextRW");
    s = "one";
    EXPECT_EQ(s() + *s, "oneone");
    EXPECT_EQ(s.GetMaxLength(), 8);
    EXPECT_TRUE(s.TrySetValue("two"));
    EXPECT_EQ(s.GetValueOrDefault("none"), "two");
    EXPECT_THROW(s.TrySetValue("longer than eight"), GenICam::GenericException);
    EXPECT_FALSE(CStringParameter(*Map, "TextRO").TrySetValue("three"));
    EXPECT_EQ(s.GetValue(false, true), "two");
    EXPECT_EQ(CStringParameter(*Map, "TextWO").GetValueOrDefault("none"), "none");
    EXPECT_FALSE(CStringParameter(*Map, "Word").IsValid()) << "an integer is no text";
}

TEST_F(PlainParameterTest, CommandIsExecutedWhereItCanBe) {
    CCommandParameter run(*Map, "RunRW");
    run.Execute();
    EXPECT_EQ(Port.Memory[0], 1);
    EXPECT_FALSE(run.IsDone()) << "the device still shows the value";
    Port.Memory[0] = 0;
    EXPECT_TRUE(run.IsDone());
    EXPECT_TRUE(run.TryExecute());
    run();
    EXPECT_EQ(Port.Writes, 3);
    EXPECT_FALSE(CCommandParameter(*Map, "RunRO").TryExecute() || CCommandParameter().TryExecute());
    EXPECT_EQ(Port.Writes, 3);
    Port.TimesOut = true;
    EXPECT_THROW(run.TryExecute(), GenICam::TimeoutException) << "a failure is no answer";
}

TEST_F(PlainParameterTest, ArrayIsTheBytesOfItsRegister) {
    CArrayParameter table(*Map, "Table");
    EXPECT_EQ(table.GetLength(), 4);
    EXPECT_EQ(table.GetAddress(), 16);
    const std::array<std::uint8_t, 4> written{1, 2, 3, 4};
    table.Set(written.data(), 4);
    EXPECT_EQ(Port.Memory[18], 3);
    std::array<std::uint8_t, 4> read{};
    Port.Memory[16] = 9;
    table.Get(read.data(), 4, false, true);
    EXPECT_THAT(read, testing::ElementsAre(9, 2, 3, 4));
}

} // namespace
