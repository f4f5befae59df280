#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <GenApi/GenApi.h>

namespace {

using namespace GenApi;

struct CRegisters {
    std::uint32_t Width;
    std::uint16_t Height;
};

typedef CTestPortStruct<CRegisters> CTestPort;

TEST(PointerTest, FindsOtherInterfacesOfAnObject) {
    CTestPort port;
    IBase* const base = &port;
    const CPortPtr asPort = base;
    const CPortReplayPtr asReplay(base);
    ASSERT_TRUE(asPort.IsValid());
    ASSERT_TRUE(asReplay);
    EXPECT_TRUE(asPort == static_cast<IPort*>(&port));
    EXPECT_EQ(static_cast<IPort*>(asPort), static_cast<IPort*>(&port));
    EXPECT_EQ(asPort->GetAccessMode(), RW);
    EXPECT_EQ((*asPort).GetAccessMode(), asPort().GetAccessMode());
    EXPECT_TRUE(IsReadable(asPort));
    EXPECT_TRUE(asPort != nullptr);
    EXPECT_TRUE(asPort != 0);
}

TEST(PointerTest, AnObjectWithoutTheInterfaceGivesAnInvalidPointer) {
    CTestPort port;
    CIntegerPtr integer = static_cast<IBase*>(&port);
    EXPECT_FALSE(integer.IsValid());
    EXPECT_FALSE(integer);
    EXPECT_TRUE(integer == 0);
    EXPECT_TRUE(integer == CIntegerPtr());
    EXPECT_FALSE(IsReadable(integer) || IsWritable(integer) || IsImplemented(integer) || IsAvailable(integer));
    EXPECT_THROW(integer->GetValue(), GenICam::LogicalErrorException);
    EXPECT_THROW(*integer, GenICam::LogicalErrorException);
    EXPECT_THROW(static_cast<void>(static_cast<IInteger*>(integer)), GenICam::LogicalErrorException);
}

TEST(PointerTest, TakesAnotherObjectByAssignment) {
    CTestPort first, second;
    CPortPtr port = static_cast<IBase*>(&first);
    const CPortPtr copy = port;
    port = static_cast<IBase*>(&second);
    EXPECT_TRUE(port != copy);
    port = nullptr;
    EXPECT_FALSE(port.IsValid());
    EXPECT_TRUE(copy.IsValid());
    CFloatPtr number;
    number = static_cast<IBase*>(&first);
    EXPECT_THROW(number.GetIntAlias(), GenICam::LogicalErrorException);
}

TEST(AccessModeTest, TwoModesLeaveWhatBothAllow) {
    const EAccessMode modes[] = {NI, NA, WO, RO, RW};
    const EAccessMode expected[5][5] = {
        {NI, NI, NI, NI, NI}, {NI, NA, NA, NA, NA}, {NI, NA, WO, NA, WO}, {NI, NA, NA, RO, RO}, {NI, NA, WO, RO, RW}};
    for (int a = 0; a < 5; ++a)
        for (int b = 0; b < 5; ++b)
            EXPECT_EQ(Combine(modes[a], modes[b]), expected[a][b]) << a << " with " << b;
    EXPECT_EQ(Combine(Beginner, Guru), Guru);
    EXPECT_EQ(Combine(WriteThrough, WriteAround), WriteAround);
    EXPECT_EQ(Combine(WriteAround, NoCache), NoCache);
    EXPECT_EQ(Combine(WriteThrough, WriteThrough), WriteThrough);
}

TEST(EnumClassTest, NamesLeadToValuesAndBack) {
    EAccessMode mode = NI;
    EXPECT_TRUE(EAccessModeClass::FromString("RW", &mode));
    EXPECT_EQ(mode, RW);
    EXPECT_FALSE(EAccessModeClass::FromString("rw", &mode));
    EXPECT_EQ(mode, RW);
    EXPECT_EQ(EAccessModeClass::ToString(_UndefinedAccesMode), "_UndefinedAccesMode");
    EXPECT_EQ(EDisplayNotationClass::ToString(fnFixed), "Fixed");
    EDisplayNotation notation = fnFixed;
    EXPECT_TRUE(EDisplayNotationClass::FromString("Automatic", &notation));
    EXPECT_EQ(notation, fnAutomatic);
    EXPECT_EQ(EVisibilityClass::ToString(static_cast<EVisibility>(50)), "");
}

TEST(StructPortTest, ReachesExactlyItsMemory) {
    CTestPortStruct<CRegisters> port(0x1000);
    const std::uint16_t height = 480;
    port.Write(&height, 0x1000 + offsetof(CRegisters, Height), 2);
    EXPECT_EQ(port.Height, 480);
    port.Width = 640;
    std::uint32_t width = 0;
    port.Read(&width, 0x1000, 4);
    EXPECT_EQ(width, 640u);
    for (const std::int64_t address :
         {std::int64_t{0xFFF}, std::int64_t{0x1005}, std::int64_t{0}, INT64_MIN, INT64_MAX})
        EXPECT_THROW(port.Read(&width, address, 4), GenICam::OutOfRangeException) << address;
    const std::vector<std::int64_t> lengths = {-1, 9, INT64_MAX, INT64_MIN};
    for (const std::int64_t length : lengths)
        EXPECT_THROW(port.Read(&width, 0x1000, length), GenICam::OutOfRangeException) << length;
}

TEST(PortWriteListTest, CarriesOutCopiesOfTheWritesInOrder) {
    CTestPort port;
    CPortWriteList list;
    std::uint32_t width = 1;
    list.Write(&width, 0, 4);
    width = 2;
    list.Write(&width, 0, 4);
    const std::uint16_t height = 7;
    list.Write(&height, 4, 2);
    width = 99;
    port.Replay(&list);
    EXPECT_EQ(port.Width, 2u);
    EXPECT_EQ(port.Height, 7);
    port.Width = 0;
    list.Replay(&port);
    EXPECT_EQ(port.Width, 2u) << "a list can be carried out again";
    list.SetCookie(42);
    EXPECT_EQ(list.GetCookie(), 42);
}

TEST(PortWriteListTest, RefusesWhatItCannotCopyAndPassesOnWhatThePortRefuses) {
    CTestPort port;
    CPortWriteList list;
    EXPECT_THROW(list.Write(nullptr, 0, 4), GenICam::InvalidArgumentException);
    EXPECT_THROW(list.Write(&port, 0, -1), GenICam::InvalidArgumentException);
    EXPECT_THROW(list.Replay(nullptr), GenICam::InvalidArgumentException);
    EXPECT_THROW(port.Replay(nullptr), GenICam::InvalidArgumentException);
    const std::uint32_t value = 5;
    list.Write(&value, 100, 4);
    EXPECT_THROW(port.Replay(&list), GenICam::OutOfRangeException);
}

} // namespace
