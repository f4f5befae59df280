// SPDX-License-Identifier: Apache-2.0

// Lists of infos, and the set of access modes.

#include <zelmo/AccessMode.h>
#include <zelmo/DeviceInfo.h>

#include <Base/GCException.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

using namespace Zelmo;
using testing::ElementsAre;

namespace {

TlInfoList ListOf(std::initializer_list<const char*> names) {
    TlInfoList list;
    for (const char* const name : names) {
        CTlInfo info;
        info.SetFullName(name);
        list.push_back(info);
    }
    return list;
}

std::vector<std::string> Names(const TlInfoList& list) {
    std::vector<std::string> names;
    for (const CTlInfo& info : list) {
        names.emplace_back(info.GetFullName());
    }
    return names;
}

TEST(ListTest, InsertsAndErasesByIndexAndByIterator) {
    TlInfoList list = ListOf({"a", "b", "c"});
    const CTlInfo x = ListOf({"x"}).front();
    EXPECT_EQ(list.insert(list.begin() + 1, x)->GetFullName(), "x");
    list.insert(std::size_t{4}, x);
    EXPECT_THAT(Names(list), ElementsAre("a", "x", "b", "c", "x"));
    EXPECT_EQ(list.erase(list.begin())->GetFullName(), "x");
    const TlInfoList::iterator behind = list.erase(list.end() - 1);
    EXPECT_TRUE(behind == list.end());
    list.erase(std::size_t{1});
    EXPECT_THAT(Names(list), ElementsAre("x", "c"));
}

TEST(ListTest, CopyOfAListSharesNothing) {
    TlInfoList list = ListOf({"a"});
    const TlInfoList copy(list);
    list[0].SetFullName("changed");
    list.push_back(copy.at(0));
    EXPECT_THAT(Names(copy), ElementsAre("a"));
    list = copy;
    EXPECT_THAT(Names(list), ElementsAre("a"));
    const TlInfoList taken(std::move(list));
    EXPECT_THAT(Names(taken), ElementsAre("a"));
    EXPECT_TRUE(list.empty()); // NOLINT(bugprone-use-after-move)
}

TEST(AccessModeSetTest, HighPositionsFoldAsA32BitShiftDoes) {
    EXPECT_EQ(AccessModeSet().set(31).to_ulong(), 0xFFFFFFFF80000000u);
    EXPECT_TRUE(AccessModeSet().set(31).test(31));
    EXPECT_EQ(AccessModeSet().set(64), AccessModeSet().set(0));
    EXPECT_EQ(AccessModeSet().set(33), AccessModeSet(Control));
    EXPECT_TRUE(AccessModeSet(Stream).test(35));
}

TEST(AccessModeSetTest, PositionsAbove64AreRefusedWithTheLimit) {
    try {
        static_cast<void>(AccessModeSet().test(65));
        FAIL() << "test(65) must fail";
    } catch (const GenICam::OutOfRangeException& e) {
        EXPECT_STREQ(e.GetDescription(), "Parameter pos exceeds maximum size. Max size is 64");
    }
    AccessModeSet set(Event);
    EXPECT_THROW(set.set(65), GenICam::OutOfRangeException);
    EXPECT_EQ(set, AccessModeSet(Event));
}

} // namespace
