// SPDX-License-Identifier: Apache-2.0
#include "fakes/Failure.h"
#include "genicam/genapi/MapFixture.h"
#include <zelmo/PixelTypeMapper.h>

#include <gmock/gmock.h>

#include <cctype>
#include <limits>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

using namespace Zelmo;
using Fakes::FailureOf;
using tests::Node;

EPixelType ByName(const std::string& name) {
    return CPixelTypeMapper::GetZelmoPixelTypeByName(name.c_str());
}

std::string NameOf(EPixelType pixelType, int version) {
    return CPixelTypeMapper::GetNameByPixelType(pixelType, static_cast<SFNCVersion>(version));
}

// Of each type: its code, the SFNC 2 name, the SFNC 1 names.
const char* const kNamesOfTypes = R"(
0x01080001 - Mono8
0x01080002 Mono8s Mono8signed
0x01080008 - BayerGR8
0x01080009 - BayerRG8
0x0108000A - BayerGB8
0x0108000B - BayerBG8
0x010A0046 Mono10p -
0x010A0052 BayerBG10p -
0x010A0054 BayerGB10p -
0x010A0056 BayerGR10p -
0x010A0058 BayerRG10p -
0x010C0004 - Mono10Packed
0x010C0006 - Mono12Packed
0x010C002A - BayerGR12Packed
0x010C002B - BayerRG12Packed
0x010C002C - BayerGB12Packed
0x010C002D - BayerBG12Packed
0x010C0047 Mono12p -
0x010C0053 BayerBG12p -
0x010C0055 BayerGB12p -
0x010C0057 BayerGR12p -
0x010C0059 BayerRG12p -
0x01100003 - Mono10
0x01100005 - Mono12
0x01100007 - Mono16
0x0110000C - BayerGR10
0x0110000D - BayerRG10
0x0110000E - BayerGB10
0x0110000F - BayerBG10
0x01100010 - BayerGR12
0x01100011 - BayerRG12
0x01100012 - BayerGB12
0x01100013 - BayerBG12
0x0110002E - BayerGR16
0x0110002F - BayerRG16
0x01100030 - BayerGB16
0x01100031 - BayerBG16
0x020C001E YCbCr411_8 YUV411Packed
0x020C0112 YCbCr420_8_YY_CbCr_Semiplanar -
0x0210001F - YUV422Packed
0x02100032 YCbCr422_8 YUV422_YUYV_Packed,YUV422_8
0x02100113 YCbCr422_8_YY_CbCr_Semiplanar -
0x02180014 RGB8 RGB8Packed
0x02180015 BGR8 BGR8Packed
0x02180020 YCbCr8 YUV444Packed
0x02180021 RGB8_Planar RGB8Planar
0x02200016 RGBa8 RGBA8Packed
0x02200017 BGRa8 BGRA8Packed
0x0220001C - BGR10V1Packed
0x0220001D - BGR10V2Packed
0x02240034 - RGB12V1Packed
0x02300018 RGB10 RGB10Packed
0x02300019 BGR10 BGR10Packed
0x0230001A RGB12 RGB12Packed
0x0230001B BGR12 BGR12Packed
0x02300022 RGB10_Planar RGB10Planar
0x02300023 RGB12_Planar RGB12Planar
0x02300024 RGB16_Planar RGB16Planar
0x02300033 RGB16 RGB16Packed
0x8101000C Mono1p Mono1Packed
0x8102000D Mono2p Mono2Packed
0x8104000E Mono4p Mono4Packed
0x81400100 - Double
0x820C0040 - -
0x82100042 - -
0x82180044 - -
)";

struct NamedType {
    EPixelType pixelType;
    std::vector<std::string> sfnc2, sfnc1;
};

std::vector<std::string> SplitNames(const std::string& text) {
    std::vector<std::string> names;
    std::istringstream rest(text == "-" ? "" : text);
    for (std::string name; std::getline(rest, name, ',');) {
        names.push_back(name);
    }
    return names;
}

std::vector<NamedType> NamedTypes() {
    std::vector<NamedType> types;
    std::istringstream table(kNamesOfTypes);
    for (std::string code, sfnc2, sfnc1; table >> code >> sfnc2 >> sfnc1;) {
        types.push_back({static_cast<EPixelType>(std::stoll(code, nullptr, 16)), SplitNames(sfnc2), SplitNames(sfnc1)});
    }
    return types;
}

std::string Changed(std::string text, int (*change)(int)) {
    for (char& letter : text) {
        letter = static_cast<char>(change(letter));
    }
    return text;
}

TEST(PixelTypeNames, EachNameOfEitherGenerationLeadsToItsType) {
    std::set<std::string> names;
    for (const NamedType& type : NamedTypes()) {
        for (const auto& generation : {type.sfnc2, type.sfnc1}) {
            for (const std::string& name : generation) {
                EXPECT_EQ(ByName(name), type.pixelType) << name;
                EXPECT_EQ(ByName(Changed(name, std::tolower)), type.pixelType) << name;
                EXPECT_EQ(ByName(Changed(name, std::toupper)), type.pixelType) << name;
                names.insert(name);
            }
        }
    }
    EXPECT_EQ(names.size(), 84u);
    for (const char* name : {"", " ", "Mono", "Mono8 ", "Mono8x", "PixelType_Mono8", "YUV420Planar", "Undefined"}) {
        EXPECT_EQ(ByName(name), PixelType_Undefined) << name;
    }
    EXPECT_EQ(CPixelTypeMapper::GetZelmoPixelTypeByName(nullptr), PixelType_Undefined);
}

TEST(PixelTypeNames, FirstNameOfTheGenerationIsTheNameOfAType) {
    const std::vector<NamedType> types = NamedTypes();
    ASSERT_EQ(types.size(), 66u);
    for (const NamedType& type : types) {
        const std::string sfnc1 = type.sfnc1.empty() ? "" : type.sfnc1.front();
        EXPECT_EQ(NameOf(type.pixelType, SFNCVersion_1), sfnc1);
        EXPECT_EQ(NameOf(type.pixelType, SFNCVersion_2), type.sfnc2.empty() ? sfnc1 : type.sfnc2.front());
        for (const int version : {150, 0, 2, -1, 201}) {
            EXPECT_EQ(NameOf(type.pixelType, version), "");
        }
    }
    for (const auto noType : {PixelType_Undefined, EPixelType{0}, EPixelType{0x01080003}}) {
        EXPECT_EQ(NameOf(noType, 1) + NameOf(noType, 200), "");
    }
}

/// What the fakes leave out of a value.
template <class Face>
struct Value : Face {
    GenApi::EAccessMode GetAccessMode() const override { return GenApi::RO; }
    GenICam::gcstring ToString(bool, bool) override { return ""; }
    void FromString(const GenICam::gcstring&, bool) override {}
    bool IsValueCacheValid() const override { return true; }
};

struct Entry final : Value<GenApi::IEnumEntry> {
    std::int64_t GetValue() override { return 0; }
    GenICam::gcstring GetSymbolic() const override { return symbolic; }
    double GetNumericValue() override { return 0; }
    bool IsSelfClearing() override { return false; }

    std::string symbolic;
};

/// A pixel format node that counts how often it is asked.
struct FormatNode : Value<GenApi::IEnumeration> {
    void GetSymbolics(GenApi::StringList_t&) override {}
    void GetEntries(GenApi::NodeList_t&) override {}
    GenApi::IEnumeration& operator=(const GenICam::gcstring&) override { return *this; }
    void SetIntValue(std::int64_t, bool) override {}
    GenICam::gcstring operator*() override { return ""; }
    std::int64_t GetIntValue(bool, bool) override { return 0; }
    GenApi::IEnumEntry* GetEntryByName(const GenICam::gcstring&) override { return nullptr; }
    GenApi::IEnumEntry* GetEntry(const std::int64_t value) override {
        ++asked;
        if (isAsleep) {
            throw TIMEOUT_EXCEPTION("The device is asleep");
        }
        const auto entry = entries.find(value);
        return entry != entries.end() ? &entry->second : nullptr;
    }
    GenApi::IEnumEntry* GetCurrentEntry(bool, bool) override { return nullptr; }

    std::map<std::int64_t, Entry> entries;
    int asked = 0;
    bool isAsleep = false;
};

class PixelTypeMapperTest : public testing::Test {
protected:
    PixelTypeMapperTest() {
        m_node.entries[3].symbolic = "Mono12p";
        m_node.entries[std::numeric_limits<std::int64_t>::min()].symbolic = "BAYERRG8";
        m_node.entries[4].symbolic = "Confidence8";
        m_node.entries[5].symbolic = "";
    }
    EPixelType Get(std::int64_t value) const { return m_mapper.GetZelmoPixelTypeFromNodeValue(value); }

    FormatNode m_node;
    CPixelTypeMapper m_mapper{&m_node};
};

TEST_F(PixelTypeMapperTest, NumbersLeadToTypesByTheNamesOfTheNode) {
    EXPECT_TRUE(m_mapper.IsValid());
    EXPECT_EQ(Get(3), PixelType_Mono12p);
    EXPECT_EQ(Get(std::numeric_limits<std::int64_t>::min()), PixelType_BayerRG8);
    EXPECT_EQ(Get(PixelType_Mono8), PixelType_Undefined); // a number is no code
}

TEST_F(PixelTypeMapperTest, NodeIsAskedOnceForEachNumberThatHasAName) {
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(Get(3), PixelType_Mono12p);
        EXPECT_EQ(Get(4), PixelType_Undefined); // unknown name
    }
    EXPECT_EQ(m_node.asked, 2);
    for (const std::int64_t value : {5, 6}) { // no name, no entry: both may come later
        m_node.asked = 0;
        EXPECT_EQ(Get(value), PixelType_Undefined);
        EXPECT_EQ(Get(value), PixelType_Undefined);
        EXPECT_EQ(m_node.asked, 2);
        m_node.entries[value].symbolic = "Mono8";
        EXPECT_EQ(Get(value), PixelType_Mono8);
    }
    for (int value = 100; value < 120; ++value) { // more than there was room for
        m_node.entries[value].symbolic = "Mono16";
        Get(value);
    }
    m_node.entries.clear();
    EXPECT_EQ(Get(3), PixelType_Mono12p);
    EXPECT_EQ(Get(119), PixelType_Mono16);
}

TEST_F(PixelTypeMapperTest, AnotherNodeIsAskedAnew) {
    EXPECT_EQ(Get(3), PixelType_Mono12p);
    FormatNode other;
    other.entries[3].symbolic = "RGB8";
    m_mapper.SetPixelFormatEnumNode(&other);
    EXPECT_EQ(Get(3), PixelType_RGB8Packed);
    other.entries[3].symbolic = "BGR8";
    m_mapper.SetPixelFormatEnumNode(&other); // the same node, too
    EXPECT_EQ(Get(3), PixelType_BGR8Packed);
}

TEST_F(PixelTypeMapperTest, WithoutANodeThereIsNoAnswer) {
    const std::string noNode = "SetPixeltypeEnumNode not called.";
    Get(3);
    m_mapper.SetPixelFormatEnumNode(nullptr);
    EXPECT_FALSE(m_mapper.IsValid());
    EXPECT_EQ(FailureOf([&] { Get(3); }), noNode);
    const CPixelTypeMapper unbound;
    const CPixelTypeMapper boundToNull(nullptr);
    for (const CPixelTypeMapper* mapper : {&unbound, &boundToNull}) {
        EXPECT_FALSE(mapper->IsValid());
        EXPECT_EQ(FailureOf([&] { mapper->GetZelmoPixelTypeFromNodeValue(3); }), noNode);
    }
    m_mapper.SetPixelFormatEnumNode(&m_node);
    EXPECT_EQ(Get(3), PixelType_Mono12p);
}

TEST_F(PixelTypeMapperTest, FailureOfTheNodePassesAndIsForgotten) {
    m_node.isAsleep = true;
    EXPECT_THROW(Get(3), GenICam::TimeoutException);
    m_node.isAsleep = false;
    EXPECT_EQ(Get(3), PixelType_Mono12p);
}

/// An object that is an enumeration twice, so that no cast tells which one is meant.
template <int>
struct Half : FormatNode {};
struct Twin final : Half<1>, Half<2> {
    GenApi::EAccessMode GetAccessMode() const override { return GenApi::RO; }
    GenICam::gcstring ToString(bool, bool) override { return ""; }
    void FromString(const GenICam::gcstring&, bool) override {}
    bool IsValueCacheValid() const override { return true; }
};

TEST_F(PixelTypeMapperTest, NodeThatFailsTheCastKnowsNoNumber) {
    Twin twin;
    Half<1>& half = twin;
    half.entries[3].symbolic = "Mono8";
    m_mapper.SetPixelFormatEnumNode(&half);
    EXPECT_FALSE(m_mapper.IsValid());
    EXPECT_EQ(Get(3), PixelType_Undefined);
    EXPECT_EQ(half.asked, 0);
}

TEST(PixelTypeMapper, TakesTheNodeOfADescription) {
    const tests::MapPtr map =
        tests::MakeMap(Node("Enumeration", "PixelFormat",
                            Node("EnumEntry", "Mono8", "<Value>17</Value>") +
                                Node("EnumEntry", "YUV422_8", "<Value>34603058</Value>") + "<Value>17</Value>"));
    const GenApi::CEnumerationPtr format(map.get(), "PixelFormat");
    const CPixelTypeMapper mapper(format);
    EXPECT_EQ(mapper.GetZelmoPixelTypeFromNodeValue(format->GetIntValue()), PixelType_Mono8);
    EXPECT_EQ(mapper.GetZelmoPixelTypeFromNodeValue(34603058), PixelType_YUV422_YUYV_Packed);
    EXPECT_EQ(mapper.GetZelmoPixelTypeFromNodeValue(18), PixelType_Undefined);
}

} // namespace
