#include "app/arrival_limit.h"

#include <gtest/gtest.h>

namespace torvel {
namespace {

TEST(ArrivalLimit, HeadsForTheUsersLimitOrATopUp) {
    ChargeSettingsState settings;
    settings.settings.limit = 50;
    settings.status.nativeFloor = 80;
    SystemLock lock;
    // The label names the user's limit, not the floor the machine really holds.
    EXPECT_EQ(ChargeArrival::label(42, arrivalLimit(&settings, lock)), "42% → 50%");
    settings.status.statusTopUp = true;
    EXPECT_EQ(ChargeArrival::label(42, arrivalLimit(&settings, lock)), "42% → 100%");
    lock.active = true;
    EXPECT_EQ(ChargeArrival::label(42, arrivalLimit(&settings, lock)), "42%");
    EXPECT_EQ(arrivalLimit(nullptr, lock), std::nullopt);
}

}  // namespace
}  // namespace torvel
