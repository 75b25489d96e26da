#pragma once

#include <optional>

namespace torvel {

// Screen coordinates with the origin at the bottom left, y growing upwards, in points.
struct ScreenRect {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;

    double maxX() const { return x + width; }
    double maxY() const { return y + height; }
    double midX() const { return x + width / 2; }
    bool operator==(const ScreenRect&) const = default;
};

// One screen as the platform describes it. The auxiliary areas are the strips of menu bar left and right
// of a camera notch; screens without a notch have neither.
struct ScreenFacts {
    ScreenRect frame;
    double topInset = 0;  // the safe area's top inset (on Linux, the top panel's height)
    std::optional<ScreenRect> auxiliaryTopLeft;
    std::optional<ScreenRect> auxiliaryTopRight;
};

// Where the charge-arrival overlay goes.
struct NotchGeometry {
    bool hasNotch = false;
    double notchHeight = 0;
    ScreenRect frame;

    bool operator==(const NotchGeometry&) const = default;

    static NotchGeometry on(const ScreenFacts& screen);
};

}  // namespace torvel
