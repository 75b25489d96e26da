#include "extras/notch_geometry.h"

namespace torvel {
namespace {

constexpr double notchPanelWidth = 320;
constexpr double notchPanelDepth = 44;  // below the notch's own height
constexpr double notchPanelInset = 10;  // left of the right-hand menu-bar strip
constexpr double floatingWidth = 260;
constexpr double floatingHeight = 86;
constexpr double floatingGap = 4;  // under the menu bar

}  // namespace

NotchGeometry NotchGeometry::on(const ScreenFacts& screen) {
    const ScreenRect& f = screen.frame;
    const auto& left = screen.auxiliaryTopLeft;
    const auto& right = screen.auxiliaryTopRight;
    // A safe-area inset alone is not a notch: a screen may reserve the menu bar without one. The gap between
    // the two strips is the notch itself.
    if (left && right && screen.topInset > 1 && right->x - left->maxX() > 1) {
        const double height = screen.topInset + notchPanelDepth;
        return {
            true, screen.topInset, {right->x - notchPanelInset, f.maxY() - height, notchPanelWidth, height}};
    }
    return {false,
            screen.topInset,
            {f.midX() - floatingWidth / 2, f.maxY() - screen.topInset - floatingGap - floatingHeight,
             floatingWidth, floatingHeight}};
}

}  // namespace torvel
