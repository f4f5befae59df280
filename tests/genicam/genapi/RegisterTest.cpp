// SPDX-License-Identifier: Apache-2.0
#include "fakes/LogRecorder.h"
#include "genicam/genapi/MapFixture.h"
#include "genicam/genapi/nodes/RawCache.h"

#include <gmock/gmock.h>

#include <cfloat>
#include <limits>
#include <numeric>

// Registers: which bytes are read and written, and what number, text or bit field they are.

namespace {

using namespace GenApi;
using testing::ElementsAre;
using tests::Node;
using tests::Place;

typedef std::vector<uint8_t> Bytes;

class RegisterTest : public tests::MapTest {
protected:
    void Fill(size_t address, const Bytes& bytes) {
        std::copy(bytes.begin(), bytes.end(), Port.Memory.begin() + static_cast<std::ptrdiff_t>(address));
    }
    Bytes At(size_t address, size_t length) const {
        const auto begin = Port.Memory.begin() + static_cast<std::ptrdiff_t>(address);
        return {begin, begin + static_cast<std::ptrdiff_t>(length)};
    }
};

struct IntegerForm {
    int length;
    const char* elements;
    Bytes bytes;
    int64_t value;
};

class IntegerFormTest : public RegisterTest, public testing::WithParamInterface<IntegerForm> {};

TEST_P(IntegerFormTest, IsReadAndWrittenInTheSameBytes) {
    const auto& [length, elements, bytes, value] = GetParam();
    Load(Node("IntReg", "R", Place(16, length, elements)));
    Fill(16, bytes);
    EXPECT_EQ(Int("R").GetValue(), value);
    Fill(16, Bytes(bytes.size(), 0));
    Int("R").SetValue(value, false);
    EXPECT_EQ(At(16, bytes.size()), bytes);
    EXPECT_EQ(Port.Memory[16 + bytes.size()], 0) << "nothing behind it is touched";
}

const char* const kLittle = "<Endianess>LittleEndian</Endianess>";
const char* const kBig = "<Endianess>BigEndian</Endianess>";
const char* const kLittleSigned = "<Sign>Signed</Sign><Endianess>LittleEndian</Endianess>";
const char* const kBigSigned = "<Sign>Signed</Sign><Endianess>BigEndian</Endianess>";

INSTANTIATE_TEST_SUITE_P(
    All, IntegerFormTest,
    testing::Values(IntegerForm{1, kLittle, {0xFF}, 255}, IntegerForm{1, kLittleSigned, {0xFF}, -1},
                    IntegerForm{2, kLittle, {0x34, 0x12}, 0x1234}, IntegerForm{2, kBig, {0x12, 0x34}, 0x1234},
                    IntegerForm{3, kBigSigned, {0xFF, 0xFF, 0xFE}, -2}, IntegerForm{3, "", {1, 2, 3}, 0x030201},
                    IntegerForm{4, kBigSigned, {0x80, 0, 0, 0}, INT32_MIN},
                    IntegerForm{4, kLittle, {0, 0, 0, 0x80}, 0x80000000},
                    IntegerForm{7, kBig, {1, 0, 0, 0, 0, 0, 2}, 0x01000000000002},
                    IntegerForm{8, kLittle, {1, 0, 0, 0, 0, 0, 0, 0x80}, INT64_MIN + 1},
                    IntegerForm{8, kBigSigned, {0x7F, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}, INT64_MAX}));

TEST_F(RegisterTest, FieldsOfNearlyAllBitsHaveTheirWholeRange) {
    for (const int msb : {61, 62, 63}) {
        const std::string bits = "<LSB>0</LSB><MSB>" + std::to_string(msb) + "</MSB>";
        Load(Node("MaskedIntReg", "U", Place(0, 8, bits)) +
             Node("MaskedIntReg", "S", Place(0, 8, bits + kLittleSigned)));
        for (const char* name : {"U", "S"}) {
            for (const int64_t value : {Int(name).GetMin(), int64_t(1), Int(name).GetMax()}) {
                Int(name).SetValue(value);
                EXPECT_EQ(Int(name).GetValue(false, true), value) << name << msb;
            }
        }
    }
}

struct BitField {
    const char* bits; // elements
    bool bigEndian;
    uint32_t mask; // of the register's value
    int shift;
};

class BitFieldTest : public RegisterTest, public testing::WithParamInterface<BitField> {};

TEST_P(BitFieldTest, IsReadAndWrittenWithoutItsNeighbours) {
    const auto& [bits, bigEndian, mask, shift] = GetParam();
    const char* const order = bigEndian ? kBig : kLittle;
    Load(Node("MaskedIntReg", "Field", Place(4, 4, std::string(bits) + order)) +
         Node("MaskedIntReg", "Signed", Place(4, 4, std::string(bits) + "<Sign>Signed</Sign>" + order)) +
         Node("IntReg", "Whole", Place(4, 4, order)));
    Int("Whole").SetValue(0xA5C3F00F);
    EXPECT_EQ(Int("Field").GetValue(), static_cast<int64_t>((0xA5C3F00Fu & mask) >> shift));
    const int64_t highest = static_cast<int64_t>(mask >> shift);
    EXPECT_EQ(Int("Field").GetMin(), 0);
    EXPECT_EQ(Int("Field").GetMax(), highest);
    EXPECT_EQ(Int("Signed").GetMin(), -(highest / 2) - 1);
    EXPECT_EQ(Int("Signed").GetMax(), highest / 2);
    Int("Field").SetValue(0);
    EXPECT_EQ(Int("Whole").GetValue(), 0xA5C3F00Fu & ~mask);
    Int("Whole").SetValue(0);
    Int("Signed").SetValue(-1);
    EXPECT_EQ(Int("Whole").GetValue(), mask);
    EXPECT_EQ(Int("Signed").GetValue(), -1);
    EXPECT_THROW(Int("Field").SetValue(highest + 1), GenICam::OutOfRangeException);
    EXPECT_THROW(Int("Field").SetValue(highest + 1, false), GenICam::OutOfRangeException);
    EXPECT_EQ(Int("Whole").GetValue(), mask) << "a refused value changes nothing";
    Int("Whole").SetValue(0xFFFFFFFF);
    Map->GetNode("Field")->ImposeAccessMode(WO);
    Int("Field").SetValue(0);
    EXPECT_EQ(Int("Whole").GetValue(), ~mask) << "who may not read the field leaves its neighbours all the same";
}

INSTANTIATE_TEST_SUITE_P(All, BitFieldTest,
                         testing::Values(BitField{"<LSB>4</LSB><MSB>11</MSB>", false, 0xFF0, 4},
                                         BitField{"<LSB>11</LSB><MSB>4</MSB>", false, 0xFF0, 4},
                                         BitField{"<LSB>11</LSB><MSB>4</MSB>", true, 0x0FF00000, 20},
                                         BitField{"<LSB>4</LSB><MSB>11</MSB>", true, 0x0FF00000, 20},
                                         BitField{"<LSB>31</LSB><MSB>0</MSB>", true, 0xFFFFFFFF, 0},
                                         BitField{"<LSB>0</LSB><MSB>31</MSB>", false, 0xFFFFFFFF, 0},
                                         BitField{"<LSB>0</LSB><MSB>2</MSB>", false, 7, 0},
                                         BitField{"<LSB>31</LSB><MSB>30</MSB>", true, 3, 0}));

TEST_F(RegisterTest, SingleBitsAreCountedFromTheByteOrdersOwnEnd) {
    Load(Node("MaskedIntReg", "FirstBig", Place(0, 4, std::string("<Bit>0</Bit>") + kBig)) +
         Node("MaskedIntReg", "LastBig", Place(0, 4, std::string("<Bit>31</Bit>") + kBig)) +
         Node("MaskedIntReg", "First", Place(0, 4, std::string("<Bit>0</Bit>") + kLittle)) +
         Node("MaskedIntReg", "Signed", Place(0, 4, std::string("<Bit>0</Bit><Sign>Signed</Sign>") + kLittle)));
    Int("FirstBig").SetValue(1);
    EXPECT_THAT(At(0, 4), ElementsAre(0x80, 0, 0, 0));
    Int("LastBig").SetValue(1);
    EXPECT_THAT(At(0, 4), ElementsAre(0x80, 0, 0, 1));
    Int("First").SetValue(1);
    EXPECT_THAT(At(0, 4), ElementsAre(0x81, 0, 0, 1));
    EXPECT_EQ(Int("Signed").GetValue(), -1) << "one bit with a sign is 0 or -1";
}

TEST_F(RegisterTest, AFieldIsWrittenOverWhatIsCachedAndOverZerosWhereNothingCanBeRead) {
    Load(Node("MaskedIntReg", "Low", Place(0, 2, "<LSB>0</LSB><MSB>7</MSB>")) +
         Node("MaskedIntReg", "Blind",
              "<Address>4</Address><Length>2</Length><AccessMode>WO</AccessMode><pPort>Device</pPort>"
              "<LSB>0</LSB><MSB>7</MSB>") +
         Node("MaskedIntReg", "Fresh", Place(8, 2, "<Cachable>NoCache</Cachable><LSB>0</LSB><MSB>7</MSB>")));
    Fill(0, {0x11, 0x22});
    Int("Low").SetValue(0x33);
    EXPECT_THAT(At(0, 2), ElementsAre(0x33, 0x22));
    const int reads = Port.Reads;
    Port.Memory[1] = 0x99; // changed behind the cache
    Int("Low").SetValue(0x44);
    EXPECT_THAT(At(0, 2), ElementsAre(0x44, 0x22));
    Fill(4, {0x11, 0x22});
    Int("Blind").SetValue(0x33);
    EXPECT_THAT(At(4, 2), ElementsAre(0x33, 0));
    EXPECT_EQ(Port.Reads, reads);
    Fill(8, {0x11, 0x22});
    Int("Fresh").SetValue(0x33);
    EXPECT_THAT(At(8, 2), ElementsAre(0x33, 0x22));
    EXPECT_EQ(Port.Reads, reads + 1);
}

TEST_F(RegisterTest, FieldsOutsideTheirRegisterFailWhenUsed) {
    Load(Node("MaskedIntReg", "F", Place(0, 2, "<LSB>8</LSB><MSB>16</MSB>")) +
         Node("MaskedIntReg", "Negative", Place(0, 2, "<Bit>-3</Bit>")) + Node("IntReg", "Long", Place(0, 9)) +
         Node("IntReg", "Empty", Place(0, 0)) + Node("FloatReg", "Odd", Place(0, 6)) +
         Node("Register", "Huge", Place(0, 0x7FFFFFFF)) + Node("IntReg", "Wraps", Place(-3, 4)) +
         Node("IntReg", "Last", Place(-4, 4)));
    EXPECT_THROW(Int("F").GetValue(), GenICam::RuntimeException);
    EXPECT_THROW(Int("Negative").SetValue(0), GenICam::RuntimeException);
    EXPECT_THROW(Int("Long").GetValue(), GenICam::RuntimeException);
    EXPECT_THROW(Int("Empty").GetMax(), GenICam::RuntimeException);
    EXPECT_THROW(Float("Odd").GetValue(), GenICam::RuntimeException);
    EXPECT_THROW(As<IRegister>("Huge").GetLength(), GenICam::RuntimeException) << "64 MiB at most";
    EXPECT_THAT(Failure([this] { Int("Wraps").SetValue(1, false); }),
                testing::HasSubstr("0xfffffffffffffffd reaches beyond"));
    EXPECT_EQ(As<IRegister>("Last").GetAddress(), -4);
    EXPECT_EQ(Port.Reads + Port.Writes, 0);
}

TEST_F(RegisterTest, NoPortIsAskedForNoBytes) {
    Load(Node("Register", "Empty", Place(0, 0)) + Node("StringReg", "NoText", Place(0, 0)));
    EXPECT_EQ(Text("Empty") + Text("NoText"), "0x");
    As<IRegister>("Empty").Set(nullptr, 0);
    As<IRegister>("Empty").Get(nullptr, 0);
    EXPECT_EQ(Port.Reads + Port.Writes, 0) << "with a null pointer";
}

TEST_F(RegisterTest, StructuresExpandToFieldsThatShareTheirRegister) {
    Load("<StructReg Comment=\"Status\"><ToolTip>shared</ToolTip><Visibility>Guru</Visibility><Address>8</Address>"
         "<Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort><Cachable>NoCache</Cachable>"
         "<Endianess>BigEndian</Endianess><pInvalidator>High</pInvalidator>"
         "<PollingTime>0</PollingTime><pBlockPolling>One</pBlockPolling>"
         "<StructEntry Name=\"High\"><LSB>15</LSB><MSB>0</MSB></StructEntry>"
         "<StructEntry "
         "Name=\"Flag\"><ToolTip>own</ToolTip><pBlockPolling>Zero</pBlockPolling><pInvalidator>Flag</"
         "pInvalidator><AccessMode>RO</AccessMode>"
         "<Cachable>WriteThrough</Cachable><Bit>31</Bit></StructEntry></StructReg>" +
         Node("Integer", "One", "<Value>1</Value>") + Node("Integer", "Zero", "<Value>0</Value>"));
    int polled = 0, blocked = 0;
    Count("Flag", polled);
    Count("High", blocked);
    Map->Poll(1);
    EXPECT_EQ(polled * 10 + blocked, 10) << "the entry asks its own blocker alone";
    Fill(8, {0x12, 0x34, 0, 1});
    EXPECT_EQ(Int("High").GetValue(), 0x1234);
    EXPECT_EQ(Int("Flag").GetValue(), 1);
    EXPECT_EQ(Mode("High"), RW);
    EXPECT_EQ(Mode("Flag"), RO) << "what the entry says itself counts";
    EXPECT_EQ(Map->GetNode("High")->GetToolTip(), "shared");
    EXPECT_EQ(Map->GetNode("Flag")->GetToolTip(), "own");
    EXPECT_EQ(Map->GetNode("Flag")->GetVisibility(), Guru);
    EXPECT_FALSE(Map->GetNode("High")->IsCachable());
    EXPECT_TRUE(Map->GetNode("Flag")->IsCachable());
    EXPECT_EQ(As<IRegister>("Flag").GetAddress(), 8);
    EXPECT_EQ(Map->GetNode("Status"), nullptr);
    GenICam::gcstring value, attribute;
    EXPECT_TRUE(Map->GetNode("Flag")->GetProperty("AccessMode", value, attribute));
    EXPECT_EQ(value, "RO");
    EXPECT_TRUE(Map->GetNode("Flag")->GetProperty("pInvalidator", value, attribute));
    EXPECT_EQ(value, "High\tFlag") << "invalidators are added";
}

TEST_F(RegisterTest, AnAddressIsASumAndAnIndexCountsInItsOffset) {
    Load(
        Node("Integer", "Base", "<Value>0x20</Value>") + Node("Integer", "Index", "<Value>3</Value>") +
        Node("Integer", "Step", "<Value>5</Value>") +
        Node("IntReg", "Sum",
             "<Address>1</Address><Address>2</Address><pAddress>Base</pAddress><pIndex Offset=\"16\">Index</pIndex>"
             "<IntSwissKnife Name=\"Extra\"><pVariable Name=\"I\">Index</pVariable><Formula>I*100</Formula>"
             "</IntSwissKnife><Length>2</Length><pPort>Device</pPort>") +
        Node("IntReg", "ByLength", "<pIndex>Index</pIndex><Length>4</Length><pPort>Device</pPort>") +
        Node("IntReg", "ByNode", "<pIndex pOffset=\"Step\">Index</pIndex><Length>4</Length><pPort>Device</pPort>") +
        Node("IntReg", "Wrapping", "<Address>-1</Address><Address>9</Address><Length>1</Length><pPort>Device</pPort>"));
    EXPECT_EQ(As<IRegister>("Sum").GetAddress(), 3 + 0x20 + 48 + 300);
    EXPECT_EQ(As<IRegister>("ByLength").GetAddress(), 12);
    EXPECT_EQ(As<IRegister>("ByNode").GetAddress(), 15);
    EXPECT_EQ(As<IRegister>("Wrapping").GetAddress(), 8);
    EXPECT_EQ(Int("Extra").GetValue(), 300) << "a formula inside an address is a node of its own";
    Int("Index").SetValue(0);
    EXPECT_EQ(As<IRegister>("Sum").GetAddress(), 3 + 0x20);
    EXPECT_EQ(As<IRegister>("ByLength").GetAddress(), 0);
}

TEST_F(RegisterTest, AMovedRegisterForgetsWhatItReadElsewhere) {
    Load(Node("Integer", "Selector", "<Value>0</Value>") +
         Node("IntReg", "Bank",
              "<pIndex Offset=\"4\">Selector</pIndex><Length>4</Length><AccessMode>RW</AccessMode>"
              "<pPort>Device</pPort>") +
         Node("Integer", "Feature", "<pValue>Bank</pValue>"));
    Fill(0, {10, 0, 0, 0, 20, 0, 0, 0, 30, 0, 0, 0});
    EXPECT_EQ(Int("Feature").GetValue(), 10);
    Int("Selector").SetValue(2);
    EXPECT_EQ(Int("Feature").GetValue(), 30);
    Int("Feature").SetValue(31);
    EXPECT_EQ(Port.Memory[8], 31);
    Port.Memory[0] = 11;
    Int("Selector").SetValue(0);
    EXPECT_EQ(Int("Feature").GetValue(), 11) << "read anew";
}

TEST_F(RegisterTest, ARegisterThatIsMovedByTheDeviceForgetsToo) {
    Load(Node("IntReg", "Selector", Place(32, 1, "<Cachable>NoCache</Cachable>")) +
         Node("IntReg", "Bank", "<pIndex Offset=\"4\">Selector</pIndex><Length>4</Length><pPort>Device</pPort>") +
         Node("Integer", "Above", "<pValue>Bank</pValue>"));
    for (const char* name : {"Bank", "Above"}) {
        Fill(0, {10, 0, 0, 0, 20, 0, 0, 0});
        Port.Memory[32] = 0;
        EXPECT_EQ(Int(name).GetValue(false, true), 10);
        Port.Memory[32] = 1;
        EXPECT_EQ(Int(name).GetValue(), 20);
        Port.Memory[32] = 0;
        Port.Memory[0] = 11;
        EXPECT_EQ(Int(name).GetValue(), 11) << name;
    }
    EXPECT_EQ(Map->GetNode("Bank")->GetCachingMode(), WriteThrough) << "as declared";
}

TEST_F(RegisterTest, InvalidatingReachesTheBytesThatAnotherNodeHasRead) {
    Load(Node("IntReg", "Reader", Place(0, 4)) + Node("IntReg", "Twin", Place(0, 4)));
    Int("Reader").GetValue();
    Port.Memory[0] = 5;
    Map->GetNode("Twin")->InvalidateNode();
    EXPECT_EQ(Int("Twin").GetValue(), 5);
}

TEST_F(RegisterTest, APlaceThatCannotBeFoundNowSpoilsNothingElse) {
    Load(Node("Integer", "There", "<Value>0</Value>") +
         Node("Integer", "Where", "<pIsAvailable>There</pIsAvailable><Value>0</Value>") +
         Node("IntReg", "Lost", "<pAddress>Where</pAddress><Length>4</Length><pPort>Device</pPort>") +
         Node("Integer", "Index", "<Value>0</Value>") +
         Node("Integer", "I",
              "<pIndex>Index</pIndex><ValueIndexed Index=\"0\">3</ValueIndexed>"
              "<pValueIndexed Index=\"1\">Lost</pValueIndexed><ValueDefault>9</ValueDefault>"));
    EXPECT_EQ(Int("I").GetMax(), INT64_MAX);
    EXPECT_FALSE(As<IValue>("Lost").IsValueCacheValid());
}

TEST_F(RegisterTest, AVariableLengthIsFollowed) {
    Load(Node("Integer", "Size", "<Value>2</Value>") +
         Node("Register", "R",
              "<Address>0</Address><pLength>Size</pLength><AccessMode>RW</AccessMode>"
              "<pPort>Device</pPort>"));
    Fill(0, {1, 2, 3, 4});
    EXPECT_EQ(Text("R"), "0x0102");
    Int("Size").SetValue(4);
    EXPECT_EQ(Text("R"), "0x01020304");
    Int("Size").SetValue(-1);
    EXPECT_THROW(Text("R"), GenICam::RuntimeException);
    Int("Size").SetValue(0);
    EXPECT_EQ(As<IRegister>("R").GetLength(), 0);
}

TEST_F(RegisterTest, BytesAreReadInPartAndWrittenPadded) {
    Load(Node("Register", "R", Place(8, 4)) + Node("IntReg", "I", Place(8, 4)));
    auto& bytes = As<IRegister>("R");
    const uint8_t two[] = {0xAA, 0xBB};
    Fill(8, {1, 2, 3, 4, 5});
    bytes.Set(two, 2);
    EXPECT_THAT(At(8, 5), ElementsAre(0xAA, 0xBB, 0, 0, 5));
    EXPECT_EQ(Int("I").GetValue(), 0xBBAA) << "the same bytes through another node";
    uint8_t three[3] = {};
    bytes.Get(three, 3);
    EXPECT_THAT(three, ElementsAre(0xAA, 0xBB, 0));
    uint8_t many[5];
    EXPECT_THROW(bytes.Get(many, 5), GenICam::OutOfRangeException);
    EXPECT_THROW(bytes.Set(many, 5), GenICam::OutOfRangeException);
    EXPECT_THROW(bytes.Set(nullptr, 2), GenICam::OutOfRangeException);
    EXPECT_THROW(bytes.Get(many, -1), GenICam::OutOfRangeException);
    As<IValue>("R").FromString("01020304");
    EXPECT_EQ(Text("R"), "0x01020304");
    EXPECT_THROW(As<IValue>("R").FromString("0x0102"), GenICam::OutOfRangeException);
    EXPECT_THROW(As<IValue>("R").FromString("0x0102030G"), GenICam::InvalidArgumentException);
    As<IRegister>("I").Set(two, 2);
    EXPECT_EQ(Int("I").GetValue(), 0xBBAA) << "an integer register has bytes too";
}

TEST_F(RegisterTest, FloatsAreIeeeInTheirByteOrder) {
    Load(Node("FloatReg", "Small", Place(0, 4, kBig)) + Node("FloatReg", "Double", Place(8, 8, kLittle)));
    Float("Small").SetValue(-1.5);
    EXPECT_THAT(At(0, 4), ElementsAre(0xBF, 0xC0, 0, 0));
    EXPECT_EQ(Float("Small").GetValue(), -1.5);
    Float("Double").SetValue(1.0);
    EXPECT_THAT(At(8, 8), ElementsAre(0, 0, 0, 0, 0, 0, 0xF0, 0x3F));
    EXPECT_EQ(Float("Small").GetMax(), static_cast<double>(FLT_MAX));
    EXPECT_EQ(Float("Double").GetMin(), -DBL_MAX);
    Float("Small").SetValue(0.1);
    EXPECT_EQ(Float("Small").GetValue(), static_cast<double>(0.1f)) << "rounded as the device has it";
    EXPECT_THROW(Float("Small").SetValue(1e39), GenICam::OutOfRangeException);
    EXPECT_THROW(Float("Small").SetValue(1e39, false), GenICam::OutOfRangeException);
    EXPECT_THROW(Float("Small").SetValue(std::numeric_limits<double>::quiet_NaN()), GenICam::OutOfRangeException);
}

TEST_F(RegisterTest, PortsOfOldDevicesSwapWholeWords) {
    Load("<Port Name=\"Old\"><SwapEndianess>Yes</SwapEndianess></Port>" +
         Node("IntReg", "Word", "<Address>0</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Old</pPort>") +
         Node("StringReg", "Text",
              "<Address>8</Address><Length>3</Length><AccessMode>RW</AccessMode><pPort>Old</pPort>"));
    ASSERT_TRUE(Map->Connect(&Port, "Old"));
    Int("Word").SetValue(0x01020304);
    EXPECT_THAT(At(0, 4), ElementsAre(1, 2, 3, 4));
    Map->InvalidateNodes();
    EXPECT_EQ(Int("Word").GetValue(), 0x01020304);
    As<IString>("Text").SetValue("abc");
    EXPECT_THAT(At(8, 3), ElementsAre('a', 'b', 'c')) << "texts are no words";
    EXPECT_EQ(As<IPortConstruct>("Old").GetSwapEndianess(), Yes);
}

// The bytes that a port keeps: against a plain model of which entries a write makes void.
TEST(RawCacheTest, AWriteMakesVoidExactlyWhatItOverlaps) {
    struct Range {
        int64_t address, length;
    };
    const std::vector<Range> ranges = {{0, 4},   {0, 1},  {1, 2},     {2, 8},         {4, 4},
                                       {8, 1},   {-4, 4}, {-2, 4},    {100, 64},      {163, 1},
                                       {164, 1}, {99, 1}, {-50, 200}, {INT64_MIN, 2}, {INT64_MAX - 1, 2}};
    for (const Range& written : ranges) {
        RawCache cache;
        for (const Range& range : ranges) {
            cache.At(range.address, range.length).stamp = 1;
        }
        cache.DropOverlapping(written.address, written.length);
        for (const Range& range : ranges) {
            const auto begin = std::max<long double>(written.address, range.address);
            const auto end = std::min<long double>(static_cast<long double>(written.address) + written.length,
                                                   static_cast<long double>(range.address) + range.length);
            EXPECT_EQ(cache.At(range.address, range.length).IsValid(), begin >= end)
                << written.address << "+" << written.length << " over " << range.address << "+" << range.length;
        }
    }
}

TEST_F(RegisterTest, AccessesOfTheDeviceCanBeLogged) {
    Load(Node("IntReg", "R", Place(16, 2)));
    const Fakes::LogRecorder log("GenApi.Device");
    Int("R") = 0x1234;
    Port.Memory[16] = 0;
    Int("R").GetValue(false, true);
    EXPECT_EQ(log.Count("GenApi.Device", GenICam::LogPriority_Debug, "Device: wrote 2 bytes at 0x10: 34 12"), 1u);
    EXPECT_EQ(log.Count("GenApi.Device", GenICam::LogPriority_Debug, "Device: read 2 bytes at 0x10: 00 12"), 1u);
}

TEST(RawCacheTest, EntriesOfMovingRegistersDoNotPileUp) {
    RawCache cache;
    const uint32_t first = cache.Generation();
    cache.At(0, 4).stamp = 1;
    for (int64_t address = 1; address < 200000; ++address) {
        cache.At(address * 8, 8);
    }
    EXPECT_NE(cache.Generation(), first);
    EXPECT_FALSE(cache.At(0, 4).IsValid());
    for (int64_t address = 0; address < 10; ++address) {
        cache.At(address, 60 << 20);
    }
    EXPECT_NE(cache.Generation(), first + 1) << "nor do their bytes";
}

} // namespace
