// SPDX-License-Identifier: Apache-2.0
#include "fakes/Failure.h"
#include "genicam/genapi/MapFixture.h"
#include <zelmo/PixelTypeMapper.h>

#include <gtest/gtest.h>

#include <limits>
#include <map>
#include <string>

namespace {

using namespace Zelmo;
using Fakes::FailureOf;
using tests::Node;

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
