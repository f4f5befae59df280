// SPDX-License-Identifier: Apache-2.0
#include <zelmo/Utilities.h>

#include "fakes/Failure.h"
#include "fakes/ScarceMemory.h"
#include "fakes/TempFolder.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

namespace {

using namespace Zelmo;
using Fakes::FailureOf;

TEST(HexEncodeTest, ProbeReportsSpaceAndWritingReportsText) {
    const unsigned char data[] = {0x0A, 0xFF};
    char buffer[6];
    EXPECT_EQ(HexEncodeString(data, 2, nullptr, 0, ":"), 6u);
    EXPECT_EQ(HexEncodeString(data, 2, buffer, 5, ":"), 6u);
    EXPECT_EQ(HexEncodeString(data, 2, buffer, 6, ":"), 5u);
    EXPECT_STREQ(buffer, "0a:ff");
    EXPECT_EQ(HexEncodeString(data, 2, nullptr), "0aff");
    EXPECT_EQ(HexEncodeString(data, 2, " - "), "0a - ff");
    EXPECT_EQ(HexEncodeString(data, 0, ":"), "");
    EXPECT_EQ(HexEncodeString(nullptr, 2, buffer, 6, ":"), 0u);
}

TEST(HexEncodeTest, TextTooLargeForMemoryNamesTheSize) {
    const char data = 0;
    EXPECT_EQ(FailureOf<GenICam::BadAllocException>([&] { HexEncodeString(&data, SIZE_MAX / 3, nullptr); }),
              "Out of memory when allocating string for hexencoding (cbData = 6148914691236517205)");
    const std::size_t wrapping = SIZE_MAX / 2 + 2; // twice that is 2
    char buffer[8] = "";
    EXPECT_EQ(HexEncodeString(&data, wrapping, buffer, sizeof(buffer), nullptr), SIZE_MAX);
    EXPECT_THROW(HexEncodeString(&data, wrapping, nullptr), GenICam::BadAllocException);
}

struct DecodeCase {
    const char* text;
    std::vector<unsigned char> bytes;
};

void PrintTo(const DecodeCase& c, std::ostream* stream) {
    *stream << testing::PrintToString(c.text);
}

class HexDecodeTest : public testing::TestWithParam<DecodeCase> {};

TEST_P(HexDecodeTest, PairsDigitsAndSkipsTheRest) {
    const auto& [text, bytes] = GetParam();
    std::vector<unsigned char> buffer(8, 0xEE);
    EXPECT_EQ(HexDecodeString(text, nullptr, 0), bytes.size());
    EXPECT_EQ(HexDecodeString(String_t(text), buffer.data(), buffer.size()), bytes.size());
    EXPECT_EQ(buffer[bytes.size()], 0xEE);
    buffer.resize(bytes.size());
    EXPECT_EQ(buffer, bytes);
}

INSTANTIATE_TEST_SUITE_P(Texts, HexDecodeTest,
                         testing::Values(DecodeCase{"0a:ff", {0x0A, 0xFF}}, DecodeCase{"0a:f", {}},
                                         DecodeCase{"0g", {}}, DecodeCase{"xAz9 8B\x80", {0xA9, 0x8B}},
                                         DecodeCase{"", {}}));

TEST(HexDecodeBufferTest, TooSmallBufferIsLeftAlone) {
    unsigned char buffer[1] = {0xEE};
    EXPECT_EQ(HexDecodeString("0102", buffer, 1), 2u);
    EXPECT_EQ(buffer[0], 0xEE);
    const char* none = nullptr;
    EXPECT_EQ(HexDecodeString(none, buffer, 1), 0u);
}

TEST(TrimTest, WhiteSpaceGoesFromOneEndOnly) {
    EXPECT_EQ(TrimLeft(" \t\na b "), "a b ");
    EXPECT_EQ(TrimRight(" a b\v\f\r "), " a b");
    EXPECT_EQ(TrimLeft("  "), "");
    EXPECT_EQ(TrimRight(""), "");
}

struct KeyValueCase {
    const char* text;
    const char* delimiters;
    size_t index;
    bool found;
    const char* key;
    const char* value;
};

void PrintTo(const KeyValueCase& c, std::ostream* stream) {
    *stream << testing::PrintToString(c.text) << " at " << c.index;
}

class KeyAndValueTest : public testing::TestWithParam<KeyValueCase> {};

TEST_P(KeyAndValueTest, ReadsTheElement) {
    const KeyValueCase& c = GetParam();
    String_t key("old key");
    String_t value("old value");
    EXPECT_EQ(getKeyAndValueFromString(c.text, c.delimiters, c.index, &key, &value), c.found);
    EXPECT_EQ(key, c.found ? c.key : "old key");
    EXPECT_EQ(value, c.found ? c.value : "old value");
}

INSTANTIATE_TEST_SUITE_P(
    Lists, KeyAndValueTest,
    testing::Values(KeyValueCase{"a=1;b=2", ";", 1, true, "b", "2"}, KeyValueCase{"a=1;b=2", ";", 2, false, "", ""},
                    KeyValueCase{"a=b=c", ";", 0, true, "a", "b"}, KeyValueCase{"a=1&b=2", "&&", 1, true, "b", "2"},
                    KeyValueCase{";;a=1;;;b=2", ";", 1, true, "b", "2"},
                    KeyValueCase{" key = two words\t; x", ";", 0, true, "key", "two words"},
                    KeyValueCase{"flag", ";", 0, true, "flag", ""}, KeyValueCase{"a=1;==", ";", 1, false, "", ""},
                    KeyValueCase{"a", ";", 0, false, "", ""}, KeyValueCase{";;", ";", 0, false, "", ""},
                    KeyValueCase{nullptr, ";", 0, false, "", ""}, KeyValueCase{"a=1", nullptr, 0, false, "", ""}));

TEST(KeyAndValueOutputTest, EitherOutputMayBeMissingButNotBoth) {
    String_t text;
    EXPECT_TRUE(getKeyAndValueFromString("a=1", ";", 0, &text, nullptr));
    EXPECT_EQ(text, "a");
    EXPECT_TRUE(getKeyAndValueFromString("a=1", ";", 0, nullptr, &text));
    EXPECT_EQ(text, "1");
    EXPECT_FALSE(getKeyAndValueFromString("a=1", ";", 0, nullptr, nullptr));
}

TEST(ValueByKeyTest, SearchIsCaseSensitiveAndEndsAtTheFirstElementWithoutKey) {
    String_t value("old");
    EXPECT_FALSE(getValueByKeyFromString("a=1;b=2", ";", "B", &value));
    EXPECT_EQ(value, "old");
    EXPECT_TRUE(getValueByKeyFromString("a=1;b=2;b=3", ";", "b", &value));
    EXPECT_EQ(value, "2");
    EXPECT_TRUE(getValueByKeyFromString("a=1;b=2", ";", "b", nullptr));
    EXPECT_FALSE(getValueByKeyFromString("a=1;=;b=2", ";", "b", &value));
    EXPECT_FALSE(getValueByKeyFromString("a=1", ";", nullptr, &value));
}

struct SubStringCase {
    const char* text;
    size_t index;
    const char* delimiter;
    bool found;
    const char* result;
};

void PrintTo(const SubStringCase& c, std::ostream* stream) {
    *stream << testing::PrintToString(c.text) << " at " << c.index;
}

class ExtractSubStringTest : public testing::TestWithParam<SubStringCase> {};

TEST_P(ExtractSubStringTest, TakesThePiece) {
    const SubStringCase& c = GetParam();
    String_t result("old");
    EXPECT_EQ(extractSubString(result, c.text, c.index, c.delimiter), c.found);
    EXPECT_EQ(result, c.result);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, ExtractSubStringTest,
    testing::Values(SubStringCase{"a||b", 0, "||", true, "a"}, SubStringCase{"a||b", 1, "||", true, "b"},
                    SubStringCase{"a||b", 2, "||", false, ""}, SubStringCase{"a|b||c", 0, "||", true, "a|b"},
                    SubStringCase{"a,", 1, ",", true, ""}, SubStringCase{"a,", 2, ",", false, ""},
                    SubStringCase{"", 0, ",", false, "old"}, SubStringCase{"a", 0, "", false, "old"},
                    SubStringCase{"a", 0, nullptr, false, "old"}));

class TextFileTest : public testing::Test {
protected:
    String_t Write(const std::string& bytes) {
        std::ofstream(m_folder.Path() / "file") << bytes;
        return (m_folder.Path() / "file").c_str();
    }

    Fakes::TempFolder m_folder;
    String_t m_content{"old"};
};

TEST_F(TextFileTest, LongFileIsReadWhole) {
    std::string text;
    for (int line = 0; line < 1500; ++line) {
        text += "line " + std::to_string(line) + "\n";
    }
    textFileToString(Write(text), m_content);
    EXPECT_EQ(m_content, text.c_str());
    textFileToString(Write(""), m_content);
    EXPECT_EQ(m_content, "");
}

TEST_F(TextFileTest, ZeroByteCutsItsBlockOnly) {
    textFileToString(Write("ab" + std::string(1, '\0') + std::string(3996, 'x') + "next block"), m_content);
    EXPECT_EQ(m_content, "abnext block");
}

TEST_F(TextFileTest, FailureNamesTheFileAndEmptiesTheContent) {
    const std::string missing = (m_folder.Path() / "missing").string();
    EXPECT_EQ(FailureOf([&] { textFileToString(missing.c_str(), m_content); }),
              "Failed to open file " + missing + " for content transfer to string.");
    EXPECT_EQ(m_content, "");

    m_content = "old";
    const std::string folder = m_folder.Path().string();
    EXPECT_EQ(FailureOf([&] { textFileToString(folder.c_str(), m_content); }),
              "Failed to read file " + folder + " for content transfer to string.");
    EXPECT_EQ(m_content, "");
}

TEST_F(TextFileTest, LackOfMemoryIsTold) {
    const String_t file("/proc/self/a name that is longer than what a string holds in itself");
    EXPECT_TRUE(ScarceMemory::Fails<GenICam::BadAllocException>(0, [&] { textFileToString(file, m_content); }));
}

} // namespace
