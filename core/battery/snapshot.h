#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>

namespace torvel {

// One live reading of the battery. Absent optionals mean "could not be read", never zero.
struct BatterySnapshot {
    std::int64_t percentage = 0;
    bool isCharging = false;
    bool isPluggedIn = false;
    std::optional<std::int64_t> cycleCount;
    std::optional<std::int64_t> healthPercent;
    std::optional<double> temperatureCelsius;
    // Positive while current flows into the battery, negative while it flows out.
    std::optional<double> powerWatts;
    std::optional<std::int64_t> adapterWatts;

    bool operator==(const BatterySnapshot&) const = default;
};

class PowerSourceKeys;

// A nested dictionary ("AdapterDetails", "BatteryData"), shared because snapshots of keys are copied freely
// and never mutated once built.
struct NestedKeys {
    std::shared_ptr<const PowerSourceKeys> keys;
    bool operator==(const NestedKeys& other) const;
};

using PowerSourceValue = std::variant<std::int64_t, double, bool, std::string, NestedKeys>;

// The dictionaries of keys a platform reader produces: one power-source description ("Type",
// "Current Capacity", "Max Capacity", "Is Charging", "Power Source State") and the smart-battery
// properties ("CycleCount", "Temperature", "Amperage", "Voltage", "AppleRawMaxCapacity", ...). A reader only
// inserts what it could read; the conversion rules below decide what every missing or mistyped key means.
// Linux's reader adds "Power" (signed mW) where it knows the power but not both amperage and voltage, and
// "FullChargeEnergy"/"DesignEnergy" (mWh) where a battery counts energy without a design voltage.
class PowerSourceKeys {
  public:
    void set(std::string key, PowerSourceValue value);
    void set(std::string key, PowerSourceKeys nested);

    const PowerSourceValue* find(std::string_view key) const;
    // Only an integer value.
    std::optional<std::int64_t> integer(std::string_view key) const;
    // An integer, or a finite double truncated toward zero when it fits 64 bits.
    std::optional<std::int64_t> numericInteger(std::string_view key) const;
    // An integer or a finite double.
    std::optional<double> number(std::string_view key) const;
    std::optional<bool> boolean(std::string_view key) const;
    const std::string* text(std::string_view key) const;
    const PowerSourceKeys* dictionary(std::string_view key) const;

    bool empty() const { return values_.empty(); }
    std::size_t size() const { return values_.size(); }
    bool operator==(const PowerSourceKeys&) const = default;

  private:
    std::map<std::string, PowerSourceValue, std::less<>> values_;
};

// The first description whose "Type" is "InternalBattery", converted; only percentage, isCharging and
// isPluggedIn are filled. Absent when no such entry exists.
std::optional<BatterySnapshot> readPowerSources(std::span<const PowerSourceKeys> descriptions);
std::optional<BatterySnapshot> readPowerSource(const PowerSourceKeys& internalBattery);

// What the battery controller's properties give; each value independently optional.
struct SmartBatteryReading {
    std::optional<std::int64_t> cycleCount;
    std::optional<std::int64_t> healthPercent;
    std::optional<double> temperatureCelsius;
    std::optional<double> powerWatts;
    std::optional<std::int64_t> adapterWatts;

    bool operator==(const SmartBatteryReading&) const = default;
};

// Stateless readers of the battery controller's properties. Implausible values are absent, not clamped.
struct SmartBattery {
    static std::optional<std::int64_t> amperageMA(const PowerSourceKeys& properties);
    static std::optional<std::int64_t> voltageMV(const PowerSourceKeys& properties);
    static std::optional<double> watts(const PowerSourceKeys& properties);
    // `key` at the top level, else inside "BatteryData"; only values of at least 201 mAh count.
    static std::optional<std::int64_t> mAh(const PowerSourceKeys& properties, std::string_view key);
    static std::optional<double> temperatureCelsius(const PowerSourceKeys& properties);
    static std::optional<std::int64_t> healthPercent(const PowerSourceKeys& properties);
    static std::optional<std::int64_t> adapterWatts(const PowerSourceKeys& properties);

    static SmartBatteryReading reading(const PowerSourceKeys& properties);
};

// The next snapshot: the power-source reading (or `previous` when it failed) with the smart battery's
// values laid over it when that reading succeeded.
BatterySnapshot merge(const BatterySnapshot& previous, const std::optional<BatterySnapshot>& powerSources,
                      const std::optional<SmartBatteryReading>& smart);

// Tells the unplugged-to-plugged moment apart from the first reading, which only establishes the state.
class PlugInEdge {
  public:
    // True when this reading is a plug-in edge. Call once per published snapshot.
    bool observe(const BatterySnapshot& previous, const BatterySnapshot& next);

  private:
    bool pluggedKnown_ = false;
};

}  // namespace torvel
