#include <Base/GCException.h>
#include <Base/GCStringVector.h>

#include <gmock/gmock.h>

#include <algorithm>

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

TEST(GCStringVectorTest, CopiesShareNothing) {
    gcstring_vector texts(2, "x");
    gcstring_vector copy = texts;
    copy[0] = "y";
    copy.front() += copy.back();
    EXPECT_THAT(texts, ElementsAre("x", "x"));
    EXPECT_TRUE(copy.contains("yx"));
    EXPECT_FALSE(copy.contains("y"));
    std::sort(copy.begin(), copy.end());
    texts.assign(copy);
    EXPECT_THAT(texts, ElementsAre("x", "yx"));
}

} // namespace
