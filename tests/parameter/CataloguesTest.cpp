// SPDX-License-Identifier: Apache-2.0

// The compiled classes of all catalogues beside their lists.

#include "fakes/Failure.h"
#include "genicam/genapi/MapFixture.h"
#include "parameter/CatalogueVisitor.h"
#include <zelmo/UniversalCameraParamsClasses.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <type_traits>
#include <vector>

namespace {

using Fakes::FailureOf;
using namespace Harlix_UniversalCameraParams;
using CameraFeatures = CUniversalCameraParams_Params_v6_1_0;
using tests::CatalogueRow;
using tests::CatalogueUnderTest;
using tests::Node;
using tests::VisitedCatalogue;

// Else `camera.Width = camera.Height` would compile and do nothing.
static_assert(!std::is_copy_assignable_v<Zelmo::IIntegerEx> && !std::is_copy_assignable_v<Zelmo::IFloatEx> &&
              !std::is_copy_assignable_v<Zelmo::IBooleanEx> && !std::is_copy_assignable_v<Zelmo::IStringEx> &&
              !std::is_copy_assignable_v<Zelmo::IEnumParameterT<GainAutoEnums>>);
static_assert(!std::is_copy_constructible_v<CameraFeatures> && !std::is_copy_assignable_v<CameraFeatures>);

struct Expected {
    const char* space;
    const char* name;
    std::map<std::string, int> kinds;
};

const Expected kExpected[] = {
    {"Harlix_UniversalCameraParams",
     "CUniversalCameraParams_Params_v6_1_0",
     {{"Boolean", 80}, {"Integer", 313}, {"Float", 91}, {"Enum", 197}, {"String", 14}, {"Command", 49}, {"Array", 2}}},
    {"Harlix_UniversalTLParams",
     "CUniversalTLParams_Params_v6_1_0",
     {{"Boolean", 4}, {"Integer", 40}, {"Float", 18}, {"Enum", 19}, {"String", 9}, {"Command", 1}}},
    {"Harlix_UniversalStreamParams",
     "CUniversalStreamParams_Params_v6_1_0",
     {{"Boolean", 4}, {"Integer", 45}, {"Enum", 7}, {"String", 3}}},
    {"Harlix_UniversalEventParams", "CUniversalEventParams_Params_v6_1_0", {{"Integer", 8}, {"Enum", 1}}},
    {"Harlix_UniversalInterfaceParams",
     "CUniversalInterfaceParams_Params_v6_1_0",
     {{"Boolean", 1}, {"Integer", 8}, {"Float", 10}, {"Enum", 6}, {"String", 7}, {"Command", 4}}},
    {"Harlix_UniversalChunkDataParams",
     "CUniversalChunkDataParams_Params_v6_1_0",
     {{"Integer", 27}, {"Float", 2}, {"Enum", 3}}},
    {"Harlix_InstantCameraParams", "CInstantCameraParams_Params_v6_1_0", {{"Boolean", 9}, {"Integer", 11}}},
    {"Harlix_ImageFormatConverterParams",
     "CImageFormatConverterParams_Params_v6_1_0",
     {{"Integer", 2}, {"Float", 1}, {"Enum", 4}}},
    {"Harlix_VideoWriterParams", "CVideoWriterParams_Params_v6_1_0", {{"Integer", 6}, {"Float", 2}, {"Enum", 1}}},
};

/// A node of that kind; an enumeration has the entries of the row, numbered as no enumerator is.
std::string NodeOf(const std::string& kind, const CatalogueRow& row) {
    if (kind == "Enum") {
        std::string elements;
        for (const auto& [entry, enumerator] : row.enumeration.entries) {
            elements += Node("EnumEntry", entry, "<Value>" + std::to_string(1000 - enumerator) + "</Value>");
        }
        if (elements.empty()) {
            elements = Node("EnumEntry", "One", "<Value>1000</Value>");
        }
        return Node("Enumeration", row.name, elements + "<Value>1000</Value>");
    }
    if (kind == "Array") {
        return Node("Register", row.name, tests::Place(0, 4));
    }
    const std::string value = kind == "Command" ? "<Value>0</Value><CommandValue>1</CommandValue>" : "<Value>1</Value>";
    return Node(kind, row.name, value);
}

/// A node of any kind but that of the row.
std::string OtherNodeOf(const CatalogueRow& row) {
    static const std::vector<std::string> kKinds{"Boolean", "Integer", "Float", "Enum", "String", "Command", "Array"};
    const auto own = std::find(kKinds.begin(), kKinds.end(), row.kind) - kKinds.begin();
    return NodeOf(kKinds[static_cast<std::size_t>(own + 1) % kKinds.size()], row);
}

/// A map that hides one node of another one.
class HidingMap final : public GenApi::INodeMap {
public:
    HidingMap(const GenApi::INodeMap& map, const std::string& hidden) : m_map(map), m_hidden(hidden) {}
    void GetNodes(GenApi::NodeList_t& nodes) const override { m_map.GetNodes(nodes); }
    GenApi::INode* GetNode(const GenICam::gcstring& name) const override {
        return m_hidden == name.c_str() ? nullptr : m_map.GetNode(name);
    }
    void InvalidateNodes() const override { m_map.InvalidateNodes(); }
    bool Connect(GenApi::IPort*, const GenICam::gcstring&) const override { return false; }
    bool Connect(GenApi::IPort*) const override { return false; }
    GenICam::gcstring GetDeviceName() override { return "Hiding"; }
    void Poll(int64_t) override {}
    GenApi::CLock& GetLock() const override { return m_map.GetLock(); }
    uint64_t GetNumNodes() const override { return m_map.GetNumNodes(); }
    bool ParseSwissKnifes(GenICam::gcstring_vector*) const override { return true; }

private:
    const GenApi::INodeMap& m_map;
    const std::string m_hidden;
};

class CataloguesTest : public testing::TestWithParam<Expected> {
protected:
    CataloguesTest() : m_catalogue(Find().make()) {}
    ~CataloguesTest() override { m_catalogue.destroy(); }

    static const CatalogueUnderTest& Find() {
        for (const CatalogueUnderTest* one : CatalogueUnderTest::All()) {
            if (one->name == GetParam().name && one->space == GetParam().space) {
                return *one;
            }
        }
        throw LOGICAL_ERROR_EXCEPTION("There is no catalogue %s", GetParam().name);
    }

    tests::MapPtr MakeMap(std::string (*node)(const CatalogueRow&)) const {
        std::string nodes = Node("Port", "Device", "");
        for (const CatalogueRow& row : m_catalogue.rows) {
            nodes += node(row);
        }
        return tests::MakeMap(nodes);
    }
    tests::MapPtr MakeMap() const {
        return MakeMap([](const CatalogueRow& row) { return NodeOf(row.kind, row); });
    }

    std::vector<std::string> Invalid() const {
        std::vector<std::string> names;
        for (const CatalogueRow& row : m_catalogue.rows) {
            if (!row.parameter->IsValid()) {
                names.push_back(row.name);
            }
        }
        return names;
    }

    VisitedCatalogue m_catalogue;
};

TEST_P(CataloguesTest, HoldsAReferenceForEachParameterInTheOrderOfTheBytesOfTheNames) {
    std::map<std::string, int> kinds;
    for (const CatalogueRow& row : m_catalogue.rows) {
        ++kinds[row.kind];
    }
    EXPECT_EQ(kinds, GetParam().kinds);
    auto rows = m_catalogue.rows;
    std::sort(rows.begin(), rows.end(), [](const auto& a, const auto& b) { return a.name < b.name; });
    ASSERT_EQ(rows.size(), m_catalogue.addresses.size());
    for (std::size_t i = 0; i < rows.size(); ++i) {
        EXPECT_EQ(rows[i].address, m_catalogue.addresses[i]) << rows[i].name;
    }
}

TEST_P(CataloguesTest, EachParameterIsTheNodeOfItsNameAndOfNoOther) {
    EXPECT_EQ(Invalid().size(), m_catalogue.rows.size());
    const tests::MapPtr map = MakeMap();
    m_catalogue.initialize(map.get());
    for (const CatalogueRow& row : m_catalogue.rows) {
        EXPECT_TRUE(row.parameter->IsValid()) << row.name;
        EXPECT_EQ(row.parameter->GetInfoOrDefault(Zelmo::ParameterInfo_Name, "none"), row.name);
    }
    for (const CatalogueRow& row : m_catalogue.rows) {
        HidingMap hiding(*map, row.name);
        m_catalogue.initialize(&hiding);
        EXPECT_THAT(Invalid(), testing::ElementsAre(row.name));
    }
    m_catalogue.initialize(nullptr);
    EXPECT_EQ(Invalid().size(), m_catalogue.rows.size());
}

TEST_P(CataloguesTest, NodesOfOtherKindsLeaveAllInvalid) {
    const tests::MapPtr others = MakeMap(OtherNodeOf);
    m_catalogue.initialize(others.get());
    EXPECT_EQ(Invalid().size(), m_catalogue.rows.size());
}

TEST_P(CataloguesTest, EnumeratorsAreThePlacesOfTheirNamesWhateverTheCamerasNumbers) {
    const tests::MapPtr map = MakeMap();
    m_catalogue.initialize(map.get());
    for (const CatalogueRow& row : m_catalogue.rows) {
        const tests::EnumRow& one = row.enumeration;
        EXPECT_EQ(one.table, one.entries) << row.name;
        EXPECT_TRUE(std::is_sorted(one.table.begin(), one.table.end())) << row.name;
        for (const auto& [entry, enumerator] : one.entries) {
            one.set(enumerator);
            EXPECT_EQ(row.parameter->ToString(), entry) << row.name;
            EXPECT_EQ(one.get(), enumerator) << row.name << " " << entry;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(All, CataloguesTest, testing::ValuesIn(kExpected),
                         [](const auto& one) { return std::string(one.param.space).substr(7); });

TEST(CatalogueListTest, HasNineCataloguesWhoseEnumerationsAreTypesOfTheirOwn) {
    std::map<std::string, std::set<std::vector<std::pair<std::string, int>>>> tables;
    for (const CatalogueUnderTest* one : CatalogueUnderTest::All()) {
        const VisitedCatalogue catalogue = one->make();
        for (const CatalogueRow& row : catalogue.rows) {
            tables[row.name].insert(row.enumeration.table);
        }
        catalogue.destroy();
    }
    EXPECT_EQ(CatalogueUnderTest::All().size(), std::size(kExpected));
    std::vector<std::string> different;
    for (const auto& [name, kinds] : tables) {
        if (kinds.size() > 1 && kinds.count({}) == 0) { // with an empty one, it is a plain number elsewhere
            different.push_back(name);
        }
    }
    EXPECT_THAT(different, testing::ElementsAre("CxpLinkConfiguration", "EventNotification", "EventSelector",
                                                "PixelFormat", "Status"));
}

TEST(CatalogueUseTest, ReadsAndWritesByNameAndIsHarmlessWithoutAMap) {
    CameraFeatures camera;
    EXPECT_FALSE(camera.Width.IsValid());
    EXPECT_EQ(camera.Width.GetValueOrDefault(10), 10);
    EXPECT_EQ(FailureOf<GenICam::AccessException>([&] { camera.ReverseX.GetValue(); }),
              "Parameter not found in CBooleanParameter::GetValue. (No node attached.)");
    const tests::MapPtr map = tests::MakeMap(
        tests::Value("Width", 8) + Node("Enumeration", "GainAuto",
                                        Node("EnumEntry", "Once", "<Value>7</Value>") +
                                            Node("EnumEntry", "Off", "<Value>1</Value>") + "<Value>7</Value>"));
    camera._Initialize(map.get());
    camera.Width = 16;
    EXPECT_EQ(camera.Width.GetValue(), 16);
    EXPECT_EQ(camera.GainAuto.GetValue(), GainAuto_Once);
    camera.GainAuto = GainAuto_Off;
    EXPECT_EQ(camera.GainAuto.ToString(), "Off");
    EXPECT_FALSE(camera.GainAuto.CanSetValue(GainAuto_Continuous));
}

/// What g++ inlines and sees the class of.
inline std::string TextOf(EnumParameterClasses::GainAutoEnumParameter& one) {
    return one.IsValid() ? one.ToString().c_str() : "none";
}

TEST(CatalogueUseTest, CallsOnObjectsOfKnownClassArriveWhateverTheCompilerInlines) {
    const tests::MapPtr map =
        tests::MakeMap(Node("Enumeration", "GainAuto",
                            Node("EnumEntry", "Once", "<Value>7</Value>") +
                                Node("EnumEntry", "Off", "<Value>1</Value>") + "<Value>7</Value>"));
    EnumParameterClasses::GainAutoEnumParameter one;
    EXPECT_EQ(TextOf(one), "none");
    const auto attach = [&one, &map] { return one.Attach(map.get(), "GainAuto"); };
    EXPECT_TRUE(attach());
    EXPECT_EQ(TextOf(one), "Once");
    const auto set = [&one](const char* text) { one.SetValue(text); };
    set("Off");
    const auto get = [&one] { return *one; };
    EXPECT_EQ(get(), "Off");
    const auto release = [&one] { one.Release(); };
    release();
    EXPECT_EQ(TextOf(one), "none");
}

TEST(CatalogueUseTest, ClassOfAnEnumerationIsAViewOfANodeOfAnyName) {
    using EnumParameterClasses::GainAutoEnumParameter;
    const tests::MapPtr map = tests::MakeMap(
        Node("Enumeration", "Other", Node("EnumEntry", "Once", "<Value>7</Value>") + "<Value>7</Value>"));
    GainAutoEnumParameter one(*map, "Other");
    EXPECT_EQ(one.GetValue(), GainAuto_Once);
    GainAutoEnumParameter copy(one);
    EXPECT_TRUE(copy.Equals(one));
    GainAutoEnumParameter third(map.get(), "None");
    EXPECT_FALSE(third.IsValid());
    third = copy;
    EXPECT_TRUE(third.Equals(map->GetNode("Other")));
    EXPECT_TRUE(GainAutoEnumParameter(map->GetNode("Other")).IsValid());
    EXPECT_TRUE(GainAutoEnumParameter(dynamic_cast<GenApi::IEnumeration*>(map->GetNode("Other"))).IsValid());
}

} // namespace
