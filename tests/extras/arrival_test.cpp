#include "extras/arrival.h"

#include <gtest/gtest.h>

namespace torvel {
namespace {

TEST(ChargeArrival, CooldownAndShowingDropEvents) {
    struct Event {
        Instant at;
        bool screen;
        bool finishBefore;
        bool shows;
    };
    // Plug-ins at 0, 5 and 11 s: the first and the third show; one during a showing is dropped.
    const Event events[] = {
        {100, true, false, true},   // shows
        {101, true, false, false},  // still showing
        {105, true, true, false},   // within the cooldown
        {111, true, false, true},   // eleven seconds after the first
        {130, false, true, false},  // no screen
        {131, true, false, true},   // the screenless event did not start a cooldown
    };
    ChargeArrival arrival;
    for (const auto& e : events) {
        if (e.finishBefore) arrival.finished();
        EXPECT_EQ(arrival.flash(e.at, e.screen), e.shows) << e.at;
        if (e.shows) {
            EXPECT_EQ(arrival.lastShown, e.at);
        }
    }
}

TEST(ChargeArrival, Label) {
    using Limit = ChargeArrival::Limit;
    const std::tuple<std::optional<long long>, std::optional<Limit>, std::optional<std::string>> cases[] = {
        {42, Limit{true, false, 80}, "42% → 80%"},
        {80, Limit{true, false, 80}, "80%"},
        {85, Limit{true, false, 80}, "85%"},
        {42, Limit{false, false, 80}, "42%"},
        {42, Limit{true, true, 80}, "42%"},
        {42, std::nullopt, "42%"},
        {std::nullopt, Limit{true, false, 80}, std::nullopt},
    };
    for (const auto& [pct, limit, label] : cases) EXPECT_EQ(ChargeArrival::label(pct, limit), label);
}

}  // namespace
}  // namespace torvel
