// SPDX-License-Identifier: Apache-2.0
#include "CommaLocale.h"
#include "MapFixture.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <sstream>
#include <thread>

namespace {

using namespace GenApi;
using namespace tests;
using testing::ElementsAre;
using testing::HasSubstr;

const std::string kGuid = "# {05D8C294-F295-4dfb-9D01-096BD04049F4}\n";
const std::string kSeveralGuid = "# {4709CB3C-7322-4460-84C3-DA11DDA09939}\n";
const std::string kStreamable = "<Streamable>Yes</Streamable>";

/// A register of four bytes at @p address, a further one for each number of the selectors.
std::string Register(const std::string& name, int address, const std::string& rest) {
    return Node("IntReg", name, kStreamable + Place(address, 4, rest + "<Endianess>LittleEndian</Endianess>"));
}

class PersistenceTest : public MapTest {
protected:
    /// @p features stand in the category Root.
    void LoadMap(const std::string& features, const std::string& nodes) {
        std::istringstream words(features);
        std::string list;
        for (std::string word; words >> word;) {
            list += "<pFeature>" + word + "</pFeature>";
        }
        Load(Node("Category", "Root", list) + nodes);
    }
    std::string Walk(const char* feature) {
        CSelectorSet set(Map->GetNode(feature));
        std::string positions;
        for (bool on = set.SetFirst(); on; on = set.SetNext()) {
            positions += set.ToString() + ";";
        }
        set.Restore();
        return positions;
    }
    static CFeatureBag Bag(const std::string& lines) {
        CFeatureBag bag;
        std::istringstream(kGuid + lines) >> bag;
        return bag;
    }
    std::string Stored() {
        CFeatureBag bag;
        bag.StoreToBag(Map.get());
        return std::string(bag.ToString().view()).substr(kGuid.size());
    }
    std::vector<std::string> Errors(const std::string& lines, bool verify = true) {
        gcstring_vector errors;
        const bool isGood = Bag(lines).LoadFromBag(Map.get(), verify, &errors);
        EXPECT_EQ(isGood, errors.empty());
        return {errors.begin(), errors.end()};
    }
};

const std::string kSelectsF = "<pSelected>F</pSelected>";
const std::string kTwo = "<Min>0</Min><Max>1</Max>";

std::string Entry(const std::string& name, int value, const std::string& rest = "") {
    return "<EnumEntry Name=\"" + name + "\">" + rest + "<Value>" + std::to_string(value) + "</Value></EnumEntry>";
}
const std::string kEntries =
    Entry("A", 0) + Entry("B", 1, "<pIsAvailable>Off</pIsAvailable>") + Entry("C", 2) + Entry("Again", 2);

TEST_F(PersistenceTest, SelectorsWalkTheirPositionsAndGoBackOrAreRefusedByName) {
    const std::vector<std::pair<std::string, const char*>> kinds{
        {Value("S"), ";"},
        {Node("Enumeration", "S", kEntries + "<Value>2</Value>" + kSelectsF), "S=A;S=C;"},
        {Value("S", 7, "<Min>-1</Min><Max>8</Max><Inc>4</Inc>" + kSelectsF), "S=-1;S=3;S=7;"},
        {Value("S", 5, "<ValidValueSet>5;9</ValidValueSet>" + kSelectsF), "S=5;S=9;"},
        {Node("Boolean", "S", "<Value>true</Value>" + kSelectsF), "S=0;S=1;"},
        {Value("S", 1, kTwo + "<ImposedAccessMode>RO</ImposedAccessMode>" + kSelectsF), "S=1;"},
        {Value("S", 4, "<Min>4</Min><Max>4</Max>" + kSelectsF), "S=4;"},
        {Node("Float", "S", "<Value>1</Value>" + kSelectsF), "S=1;"},
        {Value("S", 1, kTwo + "<pSelected>T</pSelected>") +
             Value("T", 0, kTwo + "<pSelected>S</pSelected>" + kSelectsF),
         "S=0,T=0;S=0,T=1;S=1,T=0;S=1,T=1;"}};
    for (const auto& [selector, positions] : kinds) {
        Load(Value("F") + selector + Value("Off"));
        const std::string before = Text("S");
        EXPECT_EQ(Walk("F"), positions) << selector;
        EXPECT_EQ(Text("S"), before) << selector;
    }
    const std::string all = "<Min>-9223372036854775808</Min><Max>9223372036854775807</Max>";
    std::string chain;
    for (int i = 0; i < 66; ++i) {
        chain += Value(Numbered("C", i), 0, i ? "<pSelected>" + Numbered("C", i - 1) + "</pSelected>" : "");
    }
    Load(Value("F") + Value("S", 3, all + kSelectsF) + chain);
    EXPECT_THAT(Failure([&] { Walk("F"); }), HasSubstr("Selector 'S' has more than 65536 positions"));
    EXPECT_THAT(Failure([&] { Walk("C0"); }), HasSubstr("Feature 'C0' has more than 64 selectors"));
    EXPECT_THROW(CSelectorSet(nullptr), GenICam::InvalidArgumentException);
}

TEST_F(PersistenceTest, SelectedValuesAreStoredForEachPositionAndSelectorsLast) {
    // line and level of a bank are its own, and each of its lines has a level
    LoadMap(
        "Bank Line Level",
        Above("Integer", "Bank", "BankReg", "<Min>0</Min><Max>1</Max><pSelected>Line</pSelected>") +
            Register("BankReg", 0, "") +
            Above("Integer", "Line", "LineReg", kStreamable + "<Min>0</Min><Max>2</Max><pSelected>Level</pSelected>") +
            Register("LineReg", 4, "<pIndex Offset=\"4\">Bank</pIndex>") +
            Register("Level", 16, "<pIndex Offset=\"12\">Bank</pIndex><pIndex Offset=\"4\">Line</pIndex>"));
    for (uint8_t i = 16; i < 40; i += 4) {
        Port.Memory[i] = i;
    }
    Port.Memory[0] = Port.Memory[4] = 1;
    Port.Memory[8] = 2; // the line of bank 1
    auto before = Port.Memory;
    const std::string text = Stored();
    EXPECT_EQ(text, "Bank\t0\nLine\t0\nLevel\t16\nLine\t1\nLevel\t20\nLine\t2\nLevel\t24\n"
                    "Bank\t1\nLine\t0\nLevel\t28\nLine\t1\nLevel\t32\nLine\t2\nLevel\t36\n"
                    "Bank\t0\nLine\t1\nBank\t1\nLine\t2\nBank\t1\n");
    EXPECT_EQ(Port.Memory, before) << "a bank's own line has to be put back too";
    std::fill(Port.Memory.begin(), Port.Memory.end(), uint8_t{0});
    Map->InvalidateNodes();
    gcstring differences;
    for (const CBagDifference& one : Bag(text).Compare(Map.get())) {
        differences += one.Name + "[" + one.Selectors + "] " + one.InBag + "," + one.InNodeMap + one.Problem + "; ";
    }
    EXPECT_EQ(differences,
              "Level[Bank=0,Line=0] 16,0; Level[Bank=0,Line=1] 20,0; Level[Bank=0,Line=2] 24,0; "
              "Level[Bank=1,Line=0] 28,0; Level[Bank=1,Line=1] 32,0; Level[Bank=1,Line=2] 36,0; Bank[] 1,0; ");
    EXPECT_EQ(Port.Memory, std::vector<uint8_t>(256)) << "a comparison leaves no trace";
    EXPECT_THAT(Errors(text), ElementsAre());
    EXPECT_TRUE(Bag(text).Compare(Map.get()).empty());
    CFeatureBag bag;
    gcstring_vector onlyLine(1, "Line");
    EXPECT_EQ(bag.StoreToBag(Map.get(), -1, &onlyLine), 5);
    EXPECT_EQ(bag.StoreToBag(Map.get(), 3), 3);
    EXPECT_EQ(Port.Memory, before);
    EXPECT_THAT(Errors("Bank\t7\nLine\t0\nLevel\t5\nBank\t1\nLine\t1\nLevel\t6\n"),
                ElementsAre("Bank: Value = 7 must be equal or smaller than Max = 1.",
                            HasSubstr("Line: Its selector 'Bank'"),
                            "Level: Its selector 'Line' could not be set. (Bank=7,Line=0)"));
    before[8] = 1;
    before[32] = 6;
    EXPECT_EQ(Port.Memory, before) << "nothing is written where the selector could not be set";
}

/// Makes half of what it is told.
struct HalvingDevice : MemoryPort {
    void Write(const void* pBuffer, int64_t Address, int64_t Length) override {
        MemoryPort::Write(pBuffer, Address, Length);
        Memory.at(size_t(Address)) /= 2;
    }
};

TEST_F(PersistenceTest, LinesThatDependOnLaterOnesAreTriedAgainAndVerifyTellsWhatTheDeviceMadeOfThem) {
    const std::string lowBits = "<LSB>0</LSB><MSB>3</MSB><Endianess>LittleEndian</Endianess>";
    LoadMap("Width Offset Low Exact",
            Node("IntSwissKnife", "Room", "<pVariable Name=\"O\">Offset</pVariable><Formula>10-O</Formula>") +
                Node("Integer", "Width", "<Value>1</Value><pMax>Room</pMax>") + Value("Offset", 9) +
                Register("Wide", 0, "") + Node("MaskedIntReg", "Low", Place(0, 4, lowBits)) +
                Node("FloatReg", "Real", Place(8, 4)) + Above("Float", "Exact", "Real", kStreamable));
    EXPECT_THAT(Errors("Low\t3\nWide\t0x10\nExact\t0.1\n"), ElementsAre("Low: It reads '0' instead of '3'."));
    EXPECT_THAT(Errors("Low\t3\nWide\t16\n", false), ElementsAre());
    EXPECT_EQ(Stored(), "Exact\t0.10000000149011612\n") << "what six digits would lose";
    EXPECT_TRUE(Bag("Exact\t0.1\nWide\t0x10\n").Compare(Map.get()).empty());
    EXPECT_EQ(Bag("Exact\t0.1001\nWide\t0x11\n").Compare(Map.get()).size(), 2u);
    EXPECT_THAT(Errors("Width\t8\nOffset\t2\n"), ElementsAre());
    EXPECT_EQ(Text("Width"), "8");
    EXPECT_THAT(Errors("Width\t9\nNope\t1\nRoot\t1\nWidth\tx\nOffset\t2\n"),
                ElementsAre("Width: Value = 9 must be equal or smaller than Max = 8.",
                            "Nope: There is no such feature.", HasSubstr("Root: "),
                            "Width: Node 'Width' : cannot convert string 'x' to int."));
    EXPECT_THAT(Failure([&] { Bag("Nope\t1\nOffset\t3\n").LoadFromBag(Map.get()); }),
                HasSubstr("Nope: There is no such"));
    EXPECT_EQ(Text("Offset"), "3") << "raised when all is through";
    EXPECT_THROW(CFeatureBag().LoadFromBag(nullptr), GenICam::InvalidArgumentException);
    LoadMap("A Odd", Register("A", 0, "") + Node("Float", "Odd", kStreamable + "<Value>NaN</Value>"));
    HalvingDevice device;
    Map->Connect(&device);
    EXPECT_THAT(Errors("A\t6\n"), ElementsAre("A: It reads '3' instead of '6'.")) << "not what the cache keeps";
    EXPECT_TRUE(Bag(Stored()).Compare(Map.get()).empty()) << "NaN is what it was";
}

TEST_F(PersistenceTest, StreamableFeaturesAreStoredAndTheDeviceIsToldOfBeginAndEndAlsoWhenItFails) {
    const char* names[] = {"DeviceFeaturePersistenceStart", "DeviceFeaturePersistenceEnd",
                           "DeviceRegistersStreamingStart", "DeviceRegistersStreamingEnd"};
    std::string nodes = Register("R", 0, "<Cachable>NoCache</Cachable>") + Value("V", 0, "<Max>3</Max>") +
                        Value("Hidden", 1, kStreamable) + Node("Category", "Root2", "<pFeature>B</pFeature>") +
                        Value("RO", 1, kStreamable + "<ImposedAccessMode>RO</ImposedAccessMode>") +
                        Value("B", 2, kStreamable);
    for (const char* name : names) {
        nodes += Node("Command", name, kStreamable + "<Value>0</Value><CommandValue>1</CommandValue>");
    }
    LoadMap("V RO DeviceRegistersStreamingEnd Root2 R", nodes);
    int told[4] = {};
    for (int i = 0; i < 4; ++i) {
        Count(names[i], told[i]);
    }
    EXPECT_EQ(Stored(), "R\t0\nB\t2\n") << "in the order of the file";
    EXPECT_THAT(Errors("V\t9\n"), ElementsAre()) << "the device checks the limits then";
    Port.TimesOut = true;
    EXPECT_THAT(Failure([&] { Stored(); }), HasSubstr("R: The device is asleep"));
    EXPECT_THAT(Errors("R\t1\n", false), ElementsAre("R: The device is asleep"));
    EXPECT_THAT(told, testing::Each(testing::Ge(2)));
    EXPECT_EQ(told[0], told[1]);
    LoadMap("B", Value("B", 2, kStreamable) + Register("R", 0, "") +
                     Above("Command", names[0], "R", "<CommandValue>1</CommandValue>"));
    gcstring_vector errors;
    CFeatureBag bag;
    EXPECT_EQ(bag.StoreToBag(Map.get(), -1, nullptr, &errors), 1);
    EXPECT_THAT(errors, ElementsAre("DeviceFeaturePersistenceStart: The device is asleep"));
}

TEST_F(PersistenceTest, EveryTextComesBackAsItWasInAnyLocale) {
    UseCommaLocale();
    LoadMap("Text Real", Node("String", "Text", kStreamable + "<Value></Value>") +
                             Node("Float", "Real", kStreamable + "<Value>1234567.5</Value>"));
    for (const std::string text :
         {"", " \tblanks and a tab\t ", "#escaped", "back\\nslash", "two\nlines\\n\r", "cr\r", "[x]", "\\"}) {
        As<IString>("Text").SetValue(gcstring(text.c_str()));
        CFeatureBag bag, read;
        bag.SetInfo("a remark\n#escaped\n");
        bag.StoreToBag(Map.get());
        As<IString>("Text").SetValue("other");
        std::stringstream stream;
        stream << bag;
        EXPECT_TRUE(stream >> read) << stream.str();
        EXPECT_EQ(read, bag) << stream.str();
        EXPECT_TRUE(read.LoadFromBag(Map.get())) << stream.str();
        EXPECT_EQ(Text("Text"), text);
        EXPECT_THAT(stream.str(), HasSubstr("Real\t1234567.5\n"));
    }
    EXPECT_EQ(Bag("# remark\r\n\r\nA\tb\\n\r\n#escaped\nB\tb\\n\nC\t\\n").GetEntries(),
              (std::vector<CFeatureBag::CEntry>{{"A", "b\\n"}, {"B", "b\n"}, {"C", "\\n"}}));
}

/// Keeps its first four bytes in user sets, four to a set, from 64 on, and in sequencer sets from 128 on.
struct SetDevice : MemoryPort {
    void Write(const void* pBuffer, int64_t Address, int64_t Length) override {
        const auto set = Memory.begin() + (Address % 8 ? 128 + 4 * Memory[36] : 64 + 4 * Memory[32]);
        if (Address == 40 || Address == 44) {
            std::copy_n(set, 4, Memory.begin());
        } else if (Address == 48 || Address == 52) {
            std::copy_n(Memory.begin(), 4, set);
        } else {
            MemoryPort::Write(pBuffer, Address, Length);
        }
    }
};

/// A command of the device's sets, which cannot be executed while @p lock is not 0.
std::string SetCommand(const std::string& name, int address, const std::string& lock) {
    return Node("IntReg", name + "Reg", Place(address, 4)) +
           Above("Command", name, name + "Reg", "<CommandValue>1</CommandValue><pIsLocked>" + lock + "</pIsLocked>");
}

TEST_F(PersistenceTest, SetsOfTheDeviceAreBaggedAndSavedAgain) {
    SetDevice device;
    LoadMap("A", Register("A", 0, "") + Register("User", 32, "") + Register("Seq", 36, "") + Value("Busy") +
                     Value("NotOn", 1) + Value("Off", 1) + Above("Enumeration", "UserSetSelector", "User", kEntries) +
                     Node("IntSwissKnife", "Fixed", "<pVariable Name=\"S\">User</pVariable><Formula>S=0</Formula>") +
                     SetCommand("UserSetLoad", 40, "Busy") + SetCommand("UserSetSave", 48, "Fixed") +
                     Above("Enumeration", "SequencerConfigurationMode", "NotOn", Entry("On", 0) + Entry("Off", 1)) +
                     Above("Integer", "SequencerSetSelector", "Seq", kTwo) +
                     SetCommand("SequencerSetLoad", 44, "NotOn") + SetCommand("SequencerSetSave", 52, "NotOn"));
    Map->Connect(&device);
    const int values[][2] = {{0, 7}, {32, 2}, {36, 1}, {68, 11}, {72, 12}, {128, 20}, {132, 21}};
    for (const auto& [address, value] : values) {
        device.Memory.at(size_t(address)) = uint8_t(value);
    }
    const auto before = device.Memory;
    const auto isAsBefore = [&] { return device.Memory == before && Text("SequencerConfigurationMode") == "Off"; };
    CFeatureBagger bagger, read;
    EXPECT_EQ(bagger.Bag(Map.get(), true, true, true), 5);
    EXPECT_TRUE(isAsBefore());
    std::stringstream stream;
    stream << bagger;
    const std::string a = kGuid + "A\t", user = "\n[UserSetSelector=", sequencer = "\n[SequencerSetSelector=";
    EXPECT_EQ(stream.str(), kSeveralGuid + "[All]\n" + a + "7" + sequencer + "0]\n" + a + "20" + sequencer + "1]\n" +
                                a + "21" + user + "B]\n" + a + "11" + user + "C]\n" + a + "12\n")
        << "A cannot be saved";
    device.Memory[0] = 1;
    std::fill(device.Memory.begin() + 64, device.Memory.end(), uint8_t{0});
    Map->InvalidateNodes();
    stream >> read;
    EXPECT_TRUE(read.UnBag(Map.get()));
    EXPECT_TRUE(isAsBefore());
    std::istringstream(kSeveralGuid + user + "B]\n" + a + "5\nNope\t1\n[Odd]\n" + kGuid) >> read;
    EXPECT_THAT(Failure([&] { read.UnBag(Map.get()); }),
                HasSubstr("UserSetSelector=B: Nope: There is no such feature.; UserSetSelector=B: The set was not "
                          "saved.; Odd: The bag is neither"));
    Int("Busy").SetValue(1);
    EXPECT_THAT(Failure([&] { bagger.Bag(Map.get(), false, true); }), HasSubstr("UserSetSelector=A: Node"));
    EXPECT_EQ(bagger.size(), 5);
    EXPECT_TRUE(isAsBefore());
    Load(Value("A"));
    EXPECT_EQ(bagger.Bag(Map.get(), true, true, true), 1);
    EXPECT_THAT(Failure([&] { read.UnBag(Map.get()); }), HasSubstr("UserSetSelector: The device has no such sets"));
}

TEST_F(PersistenceTest, OthersUseTheDeviceWhileItIsBusyWithACommand) {
    const char* const names[] = {"DeviceFeaturePersistenceStart", "DeviceRegistersStreamingStart", "UserSetLoad",
                                 "UserSetSave"};
    std::string nodes = Register("A", 0, "") + Node("Enumeration", "UserSetSelector", "<Value>2</Value>" + kEntries) +
                        Value("Off") + Node("IntReg", "Busy", Place(4, 4, "<Cachable>NoCache</Cachable>"));
    for (const char* name : names) {
        nodes += Above("Command", name, "Busy", "<CommandValue>1</CommandValue>");
    }
    LoadMap("A", nodes);
    std::atomic<bool> isOver = false;
    std::thread device([&] {
        while (!isOver) {
            const AutoLock lock(Map->GetLock()); // as whoever uses the camera does
            Port.Memory[4] = 0;
        }
    });
    CFeatureBag bag;
    CFeatureBagger bagger;
    EXPECT_NO_THROW(bag.StoreToBag(Map.get()));
    EXPECT_NO_THROW(bag.LoadFromBag(Map.get()));
    EXPECT_NO_THROW(bagger.Bag(Map.get(), true, true));
    EXPECT_NO_THROW(bagger.UnBag(Map.get()));
    isOver = true;
    device.join();
    EXPECT_THAT(Failure([&] { bag.StoreToBag(Map.get(), -1, nullptr, nullptr, 20); }),
                HasSubstr("DeviceFeaturePersistenceStart: The device was not done with the command within 20 milli"));
    EXPECT_THAT(Failure([&] { bag.LoadFromBag(Map.get(), false, nullptr, 20); }),
                HasSubstr("StreamingStart: The device was not"));
    EXPECT_THAT(Failure([&] { bagger.Bag(Map.get(), false, true, false, -1, nullptr, 20); }), HasSubstr("not done"));
}

/// Answers so many times and then never again.
struct VanishingDevice : SetDevice {
    void Read(void* pBuffer, int64_t Address, int64_t Length) override {
        Answer();
        SetDevice::Read(pBuffer, Address, Length);
    }
    void Write(const void* pBuffer, int64_t Address, int64_t Length) override {
        Answer();
        SetDevice::Write(pBuffer, Address, Length);
    }
    void Answer() {
        if (--Answers < 0) {
            throw TIMEOUT_EXCEPTION("No answer");
        }
    }
    int Answers = 0;
};

// Each access of a device that is gone may take a time-out.
TEST_F(PersistenceTest, ADeviceThatVanishesInTheMiddleIsNotAskedForAllTheRest) {
    constexpr int kFeatures = 200;
    VanishingDevice device;
    device.Memory.resize(4 * kFeatures + 1000);
    std::string features;
    std::string nodes = Node("IntReg", "Set", Place(32, 4)) + Above("Enumeration", "UserSetSelector", "Set", kEntries) +
                        Value("Off") + Value("Never") + SetCommand("UserSetLoad", 40, "Never") +
                        SetCommand("UserSetSave", 48, "Never");
    for (int i = 0; i < kFeatures; ++i) {
        features += Numbered("F", i) + " ";
        nodes += Register(Numbered("F", i), 1000 + 4 * i, "<Cachable>NoCache</Cachable>");
    }
    LoadMap(features, nodes);
    Map->Connect(&device);
    CFeatureBag bag;
    CFeatureBagger bagger;
    const std::vector<std::function<void()>> jobs = {
        [&] { bag.StoreToBag(Map.get()); }, [&] { bag.LoadFromBag(Map.get()); },
        [&] { bagger.Bag(Map.get(), true, true); }, [&] { bagger.UnBag(Map.get()); }};
    for (const auto& job : jobs) {
        device.Answers = 1000000;
        ASSERT_NO_THROW(job());
        const int needed = 1000000 - device.Answers;
        EXPECT_GE(needed, kFeatures);
        for (int answers = 1; answers < needed; answers += needed / 7) {
            device.Answers = answers;
            EXPECT_THAT(Failure(job), HasSubstr("No answer")) << answers;
            EXPECT_GT(device.Answers, -50) << "asked in vain, after " << answers << " answers";
        }
    }
    EXPECT_EQ(bag.GetEntries().size(), size_t{kFeatures}) << "a part does not replace the whole";
}

TEST(BagTextTest, DamagedTextsAreRefusedByLineAndLeaveTheBagAsItWas) {
    CFeatureBag bag;
    CFeatureBagger bagger;
    std::istringstream(kGuid + "A\t1\n") >> bag;
    std::istringstream(kGuid + "A\t1\n") >> bagger;
    const auto refuses = [](auto& target, const std::string& text, const char* message) {
        std::istringstream stream(text);
        EXPECT_THAT([&] { stream >> target; }, testing::ThrowsMessage<GenICam::RuntimeException>(HasSubstr(message)));
    };
    for (const auto& [text, message] : std::vector<std::pair<std::string, const char*>>{
             {"", "at its end"},
             {"Width\t1\n", "Line 1 of the feature bag, 'Width\t1', does not hold the identifier"},
             {kGuid + "A\t1\nWi" + '\0', "Line 3 of the feature bag, 'Wi?', has no tab"},
             {kGuid + "\t1\n", "Line 2 of the feature bag, '\t1', has no name"},
             {kGuid + "[B]\n", "Line 2 begins another"},
             {kGuid + "#escaped\nA\tx\\\n", "stands for nothing"}}) {
        refuses(bag, text, message);
        refuses(bagger, text, message);
    }
    struct : std::stringbuf {
        int_type underflow() override { throw 0; } // as a disk that fails
    } broken;
    std::istream fails(&broken);
    EXPECT_THAT([&] { fails >> bag; },
                testing::ThrowsMessage<GenICam::RuntimeException>(HasSubstr("behind its line 0")));
    refuses(bag, kSeveralGuid + "[All]\n" + kGuid, "several feature bags");
    refuses(bagger, kSeveralGuid + "# remark\nA\t1\n", "Line 3 of the feature bag, 'A\t1', does not begin");
    refuses(bagger, kSeveralGuid + "[All]\n" + kGuid + "[B]\n", "at its end");
    EXPECT_EQ(bag.ToString(), kGuid.c_str() + gcstring("A\t1\n"));
    EXPECT_EQ(bagger.size(), 1);
    EXPECT_EQ(bagger.at(0), bag);
    EXPECT_EQ(bagger.at(0).GetBagName(), "All");
    EXPECT_THROW(bagger.at(1), GenICam::OutOfRangeException);
}

} // namespace
