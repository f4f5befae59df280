// SPDX-License-Identifier: Apache-2.0
#include <Base/GCException.h>
#include <Base/GCStringVector.h>

#include <gmock/gmock.h>

using GenICam::gcstring;
using GenICam::gcstring_vector;
using testing::ElementsAre;

namespace {

TEST(GCStringVectorTest, IndexAndIteratorFormsPutAndTakeAtThePlaceGiven) {
    gcstring_vector texts{"b", "d"};
    texts.insert(std::size_t(0), "a");
    texts.insert(2, "c");
    texts.insert(texts.size(), "e");
    EXPECT_THAT(texts, ElementsAre("a", "b", "c", "d", "e"));
    texts.erase(4);
    texts.erase(std::size_t(0));
    EXPECT_EQ(*texts.erase(texts.begin()), "c");
    EXPECT_EQ(*texts.insert(texts.end(), "z"), "z");
    EXPECT_THAT(texts, ElementsAre("c", "d", "z"));
    EXPECT_TRUE(texts.contains("d"));
    EXPECT_FALSE(texts.contains("a"));
}

TEST(GCStringVectorTest, IndexBehindTheEndIsOutOfRange) {
    gcstring_vector texts{"a"};
    const gcstring_vector& constTexts = texts;
    EXPECT_THROW(texts.at(1), GenICam::OutOfRangeException);
    EXPECT_THROW(constTexts.at(1), GenICam::OutOfRangeException);
    EXPECT_THROW(texts.erase(1), GenICam::OutOfRangeException);
    EXPECT_THROW(texts.insert(2, "x"), GenICam::OutOfRangeException);
    EXPECT_THROW(texts.resize(texts.max_size() + 1), GenICam::BadAllocException);
    EXPECT_THAT(texts, ElementsAre("a"));
}

} // namespace
