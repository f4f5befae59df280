// SPDX-License-Identifier: Apache-2.0
#include <Base/GCException.h>
#include <Base/GCString.h>

#include <gtest/gtest.h>

#include <sstream>

using GenICam::gcstring;

namespace {

const std::string kWithZero("a\0b", 3);

TEST(GCStringTest, NullTextIsTheEmptyText) {
    const char* const null = nullptr;
    gcstring text(null);
    EXPECT_TRUE(text.empty());
    text = "x";
    EXPECT_TRUE(text.assign(null).empty());
    EXPECT_TRUE(text.assign(null, 5).empty());
    EXPECT_TRUE((text += null).empty());
    EXPECT_TRUE(text == null);
    EXPECT_EQ(text.find(null), 0u);
}

TEST(GCStringTest, ZeroBytesInsideSurvive) {
    const gcstring text(kWithZero.data(), kWithZero.size());
    const gcstring copy = text + gcstring(kWithZero);
    EXPECT_EQ(copy.view(), kWithZero + kWithZero);
    EXPECT_NE(text, "a") << "comparing with a plain text looks behind the zero, too";
    EXPECT_GT(text, gcstring("a"));
    EXPECT_LT(gcstring("z").compare("\xC3\xA4"), 0) << "bytes count as unsigned";
    EXPECT_NE(std::hash<gcstring>()(text), std::hash<gcstring>()("a"));
    EXPECT_EQ(copy.find('\0', 2), 4u);
    std::ostringstream stream;
    stream << text;
    EXPECT_EQ(stream.str(), "a") << "streams get c_str()";
}

std::size_t LengthOf(std::string_view text) {
    return text.size();
}
std::size_t LengthOfString(const gcstring& text) {
    return text.size();
}

TEST(GCStringTest, StandardTextsComeAndGoWithoutACast) {
    const std::string_view view = kWithZero;
    gcstring text = kWithZero;
    EXPECT_EQ(text.size(), 3u);
    EXPECT_TRUE(text == kWithZero && kWithZero == text && text == view && view == text);
    EXPECT_FALSE(text != kWithZero || view != text || text < view || kWithZero > text);
    EXPECT_LT(text, std::string("b"));
    EXPECT_GE(std::string_view("b"), text);
    text = view;
    EXPECT_EQ(LengthOf(text) + LengthOfString(kWithZero) + LengthOfString(view), 9u);
    EXPECT_EQ((text + kWithZero + view).size(), 9u);
    const std::string whole = text.str();
    const std::string_view seen = text;
    EXPECT_TRUE(whole == kWithZero && seen == kWithZero);
    std::string assigned;
    assigned = text; // and what goes by way of const char* still does
    assigned += text;
    EXPECT_EQ(assigned, "aa");
}

TEST(GCStringTest, TextMayBeAPartOfTheStringItself) {
    gcstring text("a text that is too long for the small buffer");
    text += text.c_str();
    EXPECT_EQ(text.size(), 88u);
    text.append(text);
    EXPECT_EQ(text.size(), 176u);
    text = text.c_str() + 171;
    EXPECT_EQ(text, "uffer");
    text = static_cast<const gcstring&>(text);
    EXPECT_EQ(text, "uffer");
}

TEST(GCStringTest, FindTakesOffsetAndCountOfTheSoughtText) {
    const gcstring text("Gain_Gain");
    EXPECT_EQ(text.find("Gain", 1), 5u);
    EXPECT_EQ(text.find("Gamma", 1, 2), 5u) << "only 'Ga' is looked for";
    EXPECT_EQ(text.find(gcstring("Gamma"), 1, 2), 5u);
    EXPECT_EQ(text.find("Gamma"), GCSTRING_NPOS);
    EXPECT_EQ(text.find("", 99), gcstring::npos);
    EXPECT_EQ(text.find_first_of("_n"), 3u);
    EXPECT_EQ(text.find_first_not_of("Gain"), 4u);
    EXPECT_EQ(text.find_last_of("G", 4), 0u);
    EXPECT_EQ(text.find_last_not_of("ain"), 5u);
}

TEST(GCStringTest, PositionsBehindTheEndAreOutOfRange) {
    gcstring text("abc");
    EXPECT_EQ(text.substr(3), "");
    EXPECT_EQ(text.substr(1, 99), "bc");
    EXPECT_THROW(text.substr(4), GenICam::OutOfRangeException);
    EXPECT_THROW(text.erase(4), GenICam::OutOfRangeException);
    EXPECT_EQ(text.erase(1, 1), "ac");
}

TEST(GCStringTest, ImpossibleLengthIsBadAllocAndLeavesTheTextAlone) {
    gcstring text("abc");
    EXPECT_THROW(text.resize(gcstring::npos), GenICam::BadAllocException);
    EXPECT_THROW(text.reserve(text.max_size() + 1), GenICam::BadAllocException);
    EXPECT_THROW(text.append(text.max_size(), 'x'), GenICam::BadAllocException);
    EXPECT_THROW(gcstring(gcstring::npos, 'x'), GenICam::BadAllocException);
    EXPECT_EQ(text, "abc");
    text.resize(5);
    EXPECT_EQ(text.view(), std::string_view("abc\0\0", 5));
}

TEST(GCStringTest, ReadsWordsAndLines) {
    std::istringstream stream("one two\nthree four;five");
    gcstring word, rest, line, field;
    stream >> word;
    getline(stream, rest);
    getline(stream, line, ';');
    getline(stream, field);
    EXPECT_EQ(word, "one");
    EXPECT_EQ(rest, " two");
    EXPECT_EQ(line, "three four");
    EXPECT_EQ(field, "five");
    EXPECT_FALSE(getline(stream, field));
}

} // namespace
