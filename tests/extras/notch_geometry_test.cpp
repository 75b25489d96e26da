#include "extras/notch_geometry.h"

#include <gtest/gtest.h>

namespace torvel {
namespace {

// A 14-inch notched screen: 1512 × 982 points, a 32-point menu bar split by a 200-point notch.
ScreenFacts notched(double x = 0, double y = 0) {
    return {{x, y, 1512, 982}, 32, ScreenRect{x, y + 950, 656, 32}, ScreenRect{x + 856, y + 950, 656, 32}};
}

TEST(NotchGeometry, PlacementFromTheScreen) {
    struct Case {
        const char* what;
        ScreenFacts screen;
        NotchGeometry placement;
    };
    ScreenFacts touching = notched();
    touching.auxiliaryTopRight->x = touching.auxiliaryTopLeft->maxX() + 1;
    ScreenFacts noInset = notched();
    noInset.topInset = 1;
    const Case cases[] = {
        {"notch", notched(), {true, 32, {846, 906, 320, 76}}},
        {"strips one point apart", touching, {false, 32, {626, 860, 260, 86}}},
        {"no inset", noInset, {false, 1, {626, 891, 260, 86}}},
        {"plain screen under a panel", {{0, 0, 1920, 1080}, 27, {}, {}}, {false, 27, {830, 963, 260, 86}}},
    };
    for (const auto& c : cases) EXPECT_EQ(NotchGeometry::on(c.screen), c.placement) << c.what;
}

}  // namespace
}  // namespace torvel
