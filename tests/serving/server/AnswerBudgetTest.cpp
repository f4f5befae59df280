// SPDX-License-Identifier: Apache-2.0
#include "serving/server/AnswerBudget.h"
#include "serving/server/RareNotes.h"

#include <gmock/gmock.h>

namespace {

using Serving::CAnswerBudget;

constexpr std::int64_t kSecondNs = 1'000'000'000;
constexpr std::size_t kAnswer = 512; // bytes

/// How many answers a source gets at one moment.
std::size_t TakeAll(CAnswerBudget& budget, std::uint32_t source, std::int64_t nowNs) {
    std::size_t taken = 0;
    while (budget.Take(source, kAnswer, nowNs)) {
        ++taken;
    }
    return taken;
}

TEST(AnswerBudgetTest, SourceHasItsBurstAndThenItsRate) {
    CAnswerBudget budget;
    EXPECT_EQ(TakeAll(budget, 1, 0), (1u << 20) / kAnswer);
    EXPECT_EQ(TakeAll(budget, 1, kSecondNs), (256u << 10) / kAnswer);
    EXPECT_EQ(TakeAll(budget, 1, 100 * kSecondNs), (1u << 20) / kAnswer) << "a burst is never more";
    EXPECT_EQ(TakeAll(budget, 2, 100 * kSecondNs), (1u << 20) / kAnswer) << "another source has its own";
    EXPECT_EQ(budget.Refused(), 4u);
}

TEST(AnswerBudgetTest, AnyNumberOfSourcesShareTheBurstAndRateOfAll) {
    CAnswerBudget budget;
    std::size_t answered = 0;
    constexpr std::uint32_t sources = 1'000'000; // within 10 seconds
    for (std::uint32_t source = 0; source < sources; ++source) {
        answered += budget.Take(source, kAnswer, std::int64_t{source} * 10'000) ? 1 : 0;
    }
    EXPECT_NEAR(static_cast<double>(answered), ((4 << 20) + 10.0 * (1 << 20)) / kAnswer, 2);
    EXPECT_EQ(answered + budget.Refused(), sources);
}

TEST(AnswerBudgetTest, RemembersThoseWhoAskUntilManyOthersHave) {
    CAnswerBudget budget;
    TakeAll(budget, 0, 0);
    for (std::uint32_t other = 1; other < CAnswerBudget::kSources; ++other) {
        EXPECT_TRUE(budget.Take(other, kAnswer, 0));
        EXPECT_FALSE(budget.Take(0, kAnswer, 0));
    }
    for (std::uint32_t other = 1; other <= CAnswerBudget::kSources; ++other) {
        budget.Take(other, kAnswer, 0);
    }
    EXPECT_TRUE(budget.Take(0, kAnswer, 0));
}

TEST(RareNotesTest, TellsOneAMinuteAndHowManyMoreThereWere) {
    std::vector<std::string> told;
    Serving::CRareNotes notes([&](const std::string& text) { told.push_back(text); });
    for (int second = 0; second < 120; ++second) {
        notes.Note("note", second * kSecondNs);
    }
    EXPECT_THAT(told, testing::ElementsAre("note", "note (59 more notes in between)"));
}

} // namespace
