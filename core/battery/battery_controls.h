#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace torvel {

// What a battery's driver lets a charge service drive, read from its attributes without writing any.
struct BatteryControls {
    bool endThreshold = false;
    bool startThreshold = false;
    // Every charge_behaviour value the driver offers; empty when it has none.
    std::vector<std::string> behaviours;
    // charge_behaviour is there but could not be read this time: look again rather than settle on less.
    bool incomplete = false;

    bool offers(std::string_view behaviour) const;
    // The value that stops charging while plugged in: inhibit-charge, else inhibit-charge-awake.
    std::optional<std::string_view> inhibitWord() const;
    // "thresholds", "behaviour" or "thresholds+behaviour"; absent when nothing here can hold a limit.
    std::optional<std::string> mode() const;

    bool operator==(const BatteryControls&) const = default;
};

BatteryControls readBatteryControls(const std::filesystem::path& battery);

// Whether the attribute exists and its permission bits let someone write it (sysfs marks them 0644; the
// service, as root, is that someone). A link is never an attribute.
bool attributeWritable(const std::filesystem::path& file);

}  // namespace torvel
