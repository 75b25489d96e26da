#include "service/save_ledger.h"

#include <gtest/gtest.h>

namespace torvel {
namespace {

const std::string unreachable = "The charge service isn’t reachable.";

TEST(SaveLedger, OnlyTheNewestSaveSpeaks) {
    SaveLedger ledger;
    SaveLedger::Outcome outcome;
    const auto first = ledger.begin(true);
    const auto second = ledger.begin(true);

    // The second save answers first and succeeds; the first one's late failure must not resurface.
    EXPECT_TRUE(ledger.finish(second, std::nullopt, outcome));
    EXPECT_FALSE(ledger.finish(first, unreachable, outcome));
    EXPECT_FALSE(outcome.writeError);

    const auto third = ledger.begin(true);
    EXPECT_TRUE(ledger.finish(third, unreachable, outcome));
    EXPECT_EQ(outcome.writeError, unreachable);
    const auto fourth = ledger.begin(true);
    EXPECT_TRUE(ledger.finish(fourth, std::nullopt, outcome));
    EXPECT_FALSE(outcome.writeError) << "a later success clears the error";
}

TEST(SaveLedger, FailureWithoutServiceWaitsInsteadOfComplaining) {
    SaveLedger ledger;
    SaveLedger::Outcome outcome{.writeError = unreachable};
    const auto ticket = ledger.begin(false);
    EXPECT_TRUE(ledger.finish(ticket, unreachable, outcome));
    EXPECT_FALSE(outcome.writeError);
    EXPECT_TRUE(outcome.settingsAwaitingService);
}

TEST(SaveLedger, InstalledStateIsTheOneAtTheStartOfTheSave) {
    SaveLedger ledger;
    SaveLedger::Outcome outcome;
    const auto ticket = ledger.begin(false);  // the service got installed while this save was in flight
    EXPECT_TRUE(ledger.finish(ticket, std::nullopt, outcome));
    EXPECT_FALSE(outcome.settingsAwaitingService);
    EXPECT_FALSE(outcome.writeError);
}

TEST(SettleApply, TheDirectWriteRescuesAFailedCall) {
    int writes = 0;
    const auto succeeds = [&] { return ++writes > 0; };
    const auto fails = [&] {
        ++writes;
        return false;
    };
    EXPECT_EQ(settleApply(std::nullopt, fails), std::nullopt);
    EXPECT_EQ(writes, 0) << "a successful call never writes the file itself";
    EXPECT_EQ(settleApply(unreachable, succeeds), std::nullopt);
    EXPECT_EQ(settleApply(unreachable, fails), unreachable);
    EXPECT_EQ(writes, 2);
}

}  // namespace
}  // namespace torvel
