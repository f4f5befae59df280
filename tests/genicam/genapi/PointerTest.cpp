// SPDX-License-Identifier: Apache-2.0
#include <GenApi/GenApi.h>

#include "genicam/genapi/MapFixture.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

namespace {

using namespace GenApi;

struct CRegisters {
    std::uint32_t Width;
    std::uint16_t Height;
};

typedef CTestPortStruct<CRegisters> CTestPort;

TEST(PointerTest, FindsOtherInterfacesOfAnObjectAndIsInvalidWithout) {
    CTestPort port, second;
    IBase* const base = &port;
    CPortPtr asPort = base;
    EXPECT_TRUE(asPort == static_cast<IPort*>(&port));
    EXPECT_TRUE(static_cast<IPort*>(&port) == asPort);
    EXPECT_EQ(static_cast<IPort*>(asPort), static_cast<IPort*>(&port));
    EXPECT_TRUE(CPortReplayPtr(base) && IsReadable(asPort) && (*asPort).GetAccessMode() == asPort().GetAccessMode());
    const CPortPtr copy = asPort;
    asPort = static_cast<IBase*>(&second);
    EXPECT_TRUE(asPort != copy);
    asPort = nullptr;
    EXPECT_TRUE(!asPort.IsValid() && copy.IsValid());

    CIntegerPtr integer = base;
    EXPECT_TRUE(integer == CIntegerPtr());
    EXPECT_FALSE(IsReadable(integer) || IsWritable(integer) || IsImplemented(integer) || IsAvailable(integer));
    EXPECT_THROW(integer->GetValue(), GenICam::LogicalErrorException);
    EXPECT_THROW(static_cast<void>(static_cast<IInteger*>(integer)), GenICam::LogicalErrorException);
    EXPECT_THROW(CFloatPtr(base).GetIntAlias(), GenICam::LogicalErrorException);
}

// Compiled by g++ and clang with warnings about conversions of NULL as errors.
TEST(PointerTest, IsComparedWithNullInAllItsSpellings) {
    CTestPort port;
    const CPortPtr valid(&port);
    const CFloatPtr invalid(&port);
    // NOLINTBEGIN(modernize-use-nullptr): ported code spells it so
    const bool isNull[] = {invalid == NULL, invalid == nullptr, invalid == 0, NULL == invalid, nullptr == invalid,
                           !invalid,        valid != NULL,      valid != 0,   NULL != valid,   valid != nullptr};
    for (const bool is : isNull) {
        EXPECT_TRUE(is);
    }
    const bool converted[] = {invalid, valid == NULL, invalid != NULL, !valid};
    // NOLINTEND(modernize-use-nullptr)
    for (const bool is : converted) {
        EXPECT_FALSE(is);
    }
}

TEST(PointerTest, SaysWhatWasLookedFor) {
    tests::MapPtr map = tests::MakeMap(tests::Value("Width"));
    const CFloatPtr width(map->GetNode("Width"));
    const CFloatPtr misspelt(map.get(), "Wdith");
    CFloatPtr unnamed(map->GetNode("Wdith"));
    EXPECT_EQ(CIntegerPtr(*map, "Width")->GetValue(), 0);
    map.reset();
    const CIntegerPtr copy = CIntegerPtr(map.get(), "Width");
    const auto failure = [](const auto& pointer) {
        try {
            pointer->GetValue();
        } catch (const GenICam::LogicalErrorException& e) {
            return std::string(e.GetDescription());
        }
        return std::string();
    };
    EXPECT_EQ(failure(width), "NULL pointer dereferenced: an IFloat was looked for, but node 'Width' is an IInteger.");
    EXPECT_EQ(failure(misspelt),
              "NULL pointer dereferenced: an IFloat was looked for, but node map 'Device' has no node 'Wdith'.");
    EXPECT_EQ(failure(unnamed),
              "NULL pointer dereferenced: an IFloat was looked for, but the pointer was made from no node.");
    EXPECT_EQ(failure(copy), "NULL pointer dereferenced: an IInteger was looked for, but there is no node map to find "
                             "node 'Width' in.");
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
         {std::int64_t{0xFFF}, std::int64_t{0x1005}, std::int64_t{0}, INT64_MIN, INT64_MAX}) {
        EXPECT_THROW(port.Read(&width, address, 4), GenICam::OutOfRangeException) << address;
    }
    const std::vector<std::int64_t> lengths = {-1, 9, INT64_MAX, INT64_MIN};
    for (const std::int64_t length : lengths) {
        EXPECT_THROW(port.Read(&width, 0x1000, length), GenICam::OutOfRangeException) << length;
    }
}

TEST(PortWriteListTest, CarriesOutCopiesOfTheWritesInOrderAndPassesOnWhatThePortRefuses) {
    CTestPort port;
    CPortWriteList list;
    std::uint32_t width = 1;
    list.Write(&width, 0, 4);
    width = 2;
    list.Write(&width, 0, 4);
    const std::uint16_t height = 7;
    list.Write(&height, 4, 2);
    width = 99;
    for (const auto& replay : {std::function([&] { port.Replay(&list); }), {[&] { list.Replay(&port); }}}) {
        port.Width = port.Height = 0;
        replay();
        EXPECT_TRUE(port.Width == 2 && port.Height == 7) << "a list can be carried out again";
    }
    EXPECT_THROW(list.Write(nullptr, 0, 4), GenICam::InvalidArgumentException);
    EXPECT_THROW(list.Write(&port, 0, -1), GenICam::InvalidArgumentException);
    EXPECT_THROW(list.Replay(nullptr), GenICam::InvalidArgumentException);
    EXPECT_THROW(port.Replay(nullptr), GenICam::InvalidArgumentException);
    list.Write(&width, 100, 4);
    EXPECT_THROW(port.Replay(&list), GenICam::OutOfRangeException);
}

} // namespace
