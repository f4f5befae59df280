// SPDX-License-Identifier: Apache-2.0
#include "fakes/Failure.h"
#include "genicam/genapi/MapFixture.h"
#include <zelmo/EnumParameterT.h>
#include <zelmo/IntegerParameter.h>

#include "ZelmoBase/parameter/EnumAccess.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace {

using namespace Zelmo;
using Fakes::FailureOf;
using testing::ElementsAre;
using tests::Node;

enum ColorEnums : int { Color_Red, Color_Green, Color_Blue };

class ColorEnumParameter : public CEnumParameterT<ColorEnums> {
public:
    using CEnumParameterT::CEnumParameterT;
    using CEnumParameterT::operator=;
    const Table_t& GetTable() const override {
        static constexpr Table_t::Entry kEntries[] = {{"Red", 4}, {"Green", 6}, {"Blue", 5}};
        static constexpr Table_t kTable{kEntries, 3};
        return kTable;
    }
};

/// "Color" has the entries Red, Green (only while "Gate" is 1), Infrared (which is not implemented) and Teal.
class EnumParameterTest : public tests::MapTest {
protected:
    EnumParameterTest() {
        const auto entry = [](const char* name, int value, const char* rest = "") {
            return Node("EnumEntry", name, rest + ("<Value>" + std::to_string(value) + "</Value>"));
        };
        const std::string entries = entry("Red", 10) + entry("Green", 20, "<pIsAvailable>Gate</pIsAvailable>") +
                                    entry("Infrared", 30, "<pIsImplemented>Never</pIsImplemented>") + entry("Teal", 40);
        std::string nodes = tests::Value("Gate", 1) + tests::Value("Never", 0) +
                            Node("IntReg", "Word", tests::Place(0, 4)) + Node("StringReg", "Text", tests::Place(8, 8));
        for (const std::string mode : {"RW", "RO", "WO"}) {
            nodes += Node("Enumeration", "Color" + mode,
                          "<ImposedAccessMode>" + mode + "</ImposedAccessMode>" + entries + "<pValue>Word</pValue>");
        }
        Load(nodes);
        Port.Memory[0] = 10;
    }
    void CloseGate() { Int("Gate") = 0; }
};

TEST_F(EnumParameterTest, NamesAreSetWhereTheirEntryIsAvailable) {
    CEnumParameter color(*Map, "ColorRW");
    CloseGate();
    for (const char* name : {"Green", "Infrared", "Violet"}) {
        EXPECT_FALSE(color.CanSetValue(name) || color.TrySetValue(name)) << name;
    }
    EXPECT_TRUE(color.CanSetValue("Teal"));
    EXPECT_TRUE(color.TrySetValue("Teal"));
    EXPECT_EQ(*color, "Teal");
    CEnumParameter readOnly(*Map, "ColorRO");
    CEnumParameter none;
    EXPECT_FALSE(readOnly.CanSetValue("Red") || readOnly.TrySetValue("Red") || none.CanSetValue("Red") ||
                 none.TrySetValue("Red"));
    EXPECT_EQ(Port.Writes, 1);
    Port.TimesOut = true;
    EXPECT_TRUE(color.CanSetValue("Red")) << "which asks the camera nothing here";
    EXPECT_THROW(color.TrySetValue("Red"), GenICam::TimeoutException);
}

TEST_F(EnumParameterTest, FirstSettableNameOfAListIsSet) {
    CEnumParameter color(*Map, "ColorRW");
    const char* either[] = {"Green", "Teal", nullptr};
    color.SetValue(either);
    EXPECT_EQ(*color, "Green");
    CloseGate();
    EXPECT_TRUE(color.TrySetValue(either));
    EXPECT_EQ(*color, "Teal");
    const char* neither[] = {"Green", "Violet", nullptr};
    const char** const null = nullptr;
    CEnumParameter readOnly(*Map, "ColorRO");
    for (const auto& set :
         std::vector<std::function<void()>>{[&] { color.SetValue(neither); }, [&] { color.TrySetValue(neither); }}) {
        EXPECT_EQ(FailureOf<GenICam::AccessException>(set), "Invalid enumeration values passed for ColorRW.");
    }
    EXPECT_FALSE(readOnly.TrySetValue(neither) || CEnumParameter().TrySetValue(neither));
    for (const auto& set :
         std::vector<std::function<void()>>{[&] { color.SetValue(null); }, [&] { readOnly.TrySetValue(null); }}) {
        EXPECT_EQ(FailureOf<GenICam::InvalidArgumentException>(set), "The passed parameter list must not be NULL.");
    }
    EXPECT_EQ(SetFirstOf(&As<GenApi::IValue>("Text"), either), 1U) << "as some cameras have it";
    EXPECT_EQ(Text("Text"), "Green");
    EXPECT_EQ(SetFirstOf(&Int("Word"), either), 0U);
}

TEST_F(EnumParameterTest, ListsOfNamesAreThoseOfAvailableAndOfImplementedEntries) {
    CEnumParameter color(*Map, "ColorRO");
    CloseGate();
    StringList_t names{1, "left over"};
    const auto list = [&names] { return std::vector<std::string>(names.begin(), names.end()); };
    color.GetSettableValues(names);
    EXPECT_THAT(list(), ElementsAre("Red", "Teal"));
    color.GetAllValues(names);
    EXPECT_THAT(list(), ElementsAre("Red", "Green", "Teal"));
}

TEST_F(EnumParameterTest, EntriesAreParameters) {
    CEnumParameter color(*Map, "ColorRW");
    EXPECT_TRUE(color.GetCurrentEntryAsParameter().Equals(color.GetEntryByNameAsParameter("Red")));
    EXPECT_FALSE(color.GetEntryByNameAsParameter("Violet").IsValid());
    Port.Memory[0] = 99;
    Map->InvalidateNodes();
    EXPECT_FALSE(color.GetCurrentEntryAsParameter().IsValid());
}

TEST_F(EnumParameterTest, WhetherAnEnumeratorCanBeSetIsAnsweredByTheNodeOrNotAtAll) {
    const tests::MapPtr map = tests::MakeMap(
        tests::Value("Zero") +
        tests::Node("IntSwissKnife", "Quotient", "<pVariable Name='Z'>Zero</pVariable><Formula>1 / Z</Formula>") +
        tests::Node("Enumeration", "Color",
                    "<pIsLocked>Quotient</pIsLocked>" + tests::Node("EnumEntry", "Red", "<Value>1</Value>") +
                        "<Value>1</Value>"));
    ColorEnumParameter color;
    color.Attach(*map, "Color");
    EXPECT_THROW(color.CanSetValue(Color_Red), GenICam::GenericException);
    EXPECT_FALSE(color.CanSetValue("Red") || color.TrySetValue(Color_Red));
}

TEST_F(EnumParameterTest, TypedValuesAreEnumerators) {
    ColorEnumParameter color;
    color.Attach(*Map, "ColorRW");
    IEnumParameterT<ColorEnums>& typed = color; // as a catalogue shows it
    EXPECT_TRUE(typed.IsValid());
    EXPECT_EQ(typed.GetValue(), Color_Red);
    typed = Color_Green;
    EXPECT_EQ(typed(), Color_Green);
    EXPECT_EQ(typed.ToString(), "Green");
    EXPECT_EQ(typed.GetEntry(Color_Green), color.GetCurrentEntry());
    EXPECT_EQ(typed.GetEntry(Color_Blue), nullptr) << "the camera has none";
    CloseGate();
    EXPECT_FALSE(typed.CanSetValue(Color_Green) || typed.TrySetValue(Color_Green) || typed.TrySetValue(Color_Blue));
    EXPECT_TRUE(typed.TrySetValue(Color_Red));
    EXPECT_TRUE(typed.TrySetValue("Teal")) << "text goes as well";
    EXPECT_EQ(FailureOf<GenICam::AccessException>([&] { typed.GetValue(); }), "EnumEntry Teal not found in table.");
    EXPECT_THROW(typed.GetValueOrDefault(Color_Blue), GenICam::AccessException) << "it can be read";
    ColorEnumParameter writeOnly;
    writeOnly.Attach(*Map, "ColorWO");
    EXPECT_EQ(writeOnly.GetValueOrDefault(Color_Blue), Color_Blue);
}

TEST_F(EnumParameterTest, WhatIsNoEnumeratorIsRefused) {
    ColorEnumParameter color;
    color.Attach(*Map, "ColorRW");
    EXPECT_EQ(FailureOf<GenICam::AccessException>([&] { color.SetValue(ColorEnums(7)); }),
              "Enum index 7 is invalid. Valid values range from 0 to 2");
    EXPECT_EQ(FailureOf<GenICam::AccessException>([&] { color.SetValue(ColorEnums(-1)); }),
              "Enum index -1 is invalid. Valid values range from 0 to 2");
    EXPECT_EQ(color.GetEntry(ColorEnums(3)), nullptr);
    EXPECT_FALSE(color.CanSetValue(ColorEnums(3)));
    Port.Memory[0] = 99;
    Map->InvalidateNodes();
    EXPECT_THROW(color.GetValue(), GenICam::GenericException) << "a value without an entry";
    ColorEnumParameter none;
    EXPECT_EQ(none.GetValueOrDefault(Color_Green), Color_Green);
    EXPECT_EQ(FailureOf<GenICam::AccessException>([&] { none.GetValue(); }),
              "Parameter not found in CEnumParameter::GetCurrentEntry. (No node attached.)");
}

} // namespace
