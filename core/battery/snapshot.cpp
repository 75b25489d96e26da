#include "battery/snapshot.h"

#include <cmath>

#include "common/numbers.h"

namespace torvel {

bool NestedKeys::operator==(const NestedKeys& other) const {
    if (keys == other.keys) return true;
    return keys != nullptr && other.keys != nullptr && *keys == *other.keys;
}

void PowerSourceKeys::set(std::string key, PowerSourceValue value) {
    values_[std::move(key)] = std::move(value);
}

void PowerSourceKeys::set(std::string key, PowerSourceKeys nested) {
    values_[std::move(key)] = NestedKeys{std::make_shared<const PowerSourceKeys>(std::move(nested))};
}

const PowerSourceValue* PowerSourceKeys::find(std::string_view key) const {
    const auto found = values_.find(key);
    return found == values_.end() ? nullptr : &found->second;
}

std::optional<std::int64_t> PowerSourceKeys::integer(std::string_view key) const {
    const auto* value = find(key);
    if (value == nullptr) return std::nullopt;
    if (const auto* whole = std::get_if<std::int64_t>(value)) return *whole;
    return std::nullopt;
}

std::optional<std::int64_t> PowerSourceKeys::numericInteger(std::string_view key) const {
    if (auto whole = integer(key)) return whole;
    const auto* value = find(key);
    const auto* real = value == nullptr ? nullptr : std::get_if<double>(value);
    if (real == nullptr || !std::isfinite(*real)) return std::nullopt;
    return roundedInteger(std::trunc(*real));
}

std::optional<double> PowerSourceKeys::number(std::string_view key) const {
    const auto* value = find(key);
    if (value == nullptr) return std::nullopt;
    if (const auto* whole = std::get_if<std::int64_t>(value)) return static_cast<double>(*whole);
    if (const auto* real = std::get_if<double>(value); real != nullptr && std::isfinite(*real)) return *real;
    return std::nullopt;
}

std::optional<bool> PowerSourceKeys::boolean(std::string_view key) const {
    const auto* value = find(key);
    if (value == nullptr) return std::nullopt;
    if (const auto* flag = std::get_if<bool>(value)) return *flag;
    return std::nullopt;
}

const std::string* PowerSourceKeys::text(std::string_view key) const {
    const auto* value = find(key);
    return value == nullptr ? nullptr : std::get_if<std::string>(value);
}

const PowerSourceKeys* PowerSourceKeys::dictionary(std::string_view key) const {
    const auto* value = find(key);
    const auto* nested = value == nullptr ? nullptr : std::get_if<NestedKeys>(value);
    return nested == nullptr ? nullptr : nested->keys.get();
}

std::optional<BatterySnapshot> readPowerSource(const PowerSourceKeys& internalBattery) {
    const std::int64_t current = internalBattery.integer("Current Capacity").value_or(0);
    const std::int64_t max = internalBattery.integer("Max Capacity").value_or(100);
    BatterySnapshot snapshot;
    if (max >= 1) {
        const auto percentage =
            roundedInteger(static_cast<double>(current) / static_cast<double>(max) * 100.0);
        // Only absurd capacities overflow; such a reading is dropped so the previous one survives.
        if (!percentage) return std::nullopt;
        snapshot.percentage = *percentage;
    } else {
        snapshot.percentage = current;
    }
    snapshot.isCharging = internalBattery.boolean("Is Charging").value_or(false);
    const std::string* state = internalBattery.text("Power Source State");
    snapshot.isPluggedIn = state != nullptr && *state == "AC Power";
    return snapshot;
}

std::optional<BatterySnapshot> readPowerSources(std::span<const PowerSourceKeys> descriptions) {
    for (const auto& description : descriptions) {
        const std::string* type = description.text("Type");
        if (type != nullptr && *type == "InternalBattery") return readPowerSource(description);
    }
    return std::nullopt;
}

std::optional<std::int64_t> SmartBattery::amperageMA(const PowerSourceKeys& properties) {
    const auto amperage = properties.numericInteger("Amperage");
    // Twenty amperes or more is no laptop battery; controllers report garbage like this while waking.
    if (!amperage || *amperage <= -20000 || *amperage >= 20000) return std::nullopt;
    return amperage;
}

std::optional<std::int64_t> SmartBattery::voltageMV(const PowerSourceKeys& properties) {
    const auto voltage = properties.numericInteger("Voltage");
    if (!voltage || *voltage <= 0) return std::nullopt;
    return voltage;
}

std::optional<double> SmartBattery::watts(const PowerSourceKeys& properties) {
    const auto amperage = amperageMA(properties);
    const auto voltage = voltageMV(properties);
    if (amperage && voltage)
        return (static_cast<double>(*amperage) / 1000.0) * (static_cast<double>(*voltage) / 1000.0);
    // A reader whose battery gives its power but no usable voltage, or several batteries added up, hands the
    // signed milliwatts over as they are; the same twenty amperes at a laptop's highest voltage bound them.
    const auto milliwatts = properties.numericInteger("Power");
    if (!milliwatts || *milliwatts <= -400000 || *milliwatts >= 400000) return std::nullopt;
    return static_cast<double>(*milliwatts) / 1000.0;
}

std::optional<std::int64_t> SmartBattery::mAh(const PowerSourceKeys& properties, std::string_view key) {
    auto value = properties.integer(key);
    if (!value) {
        if (const auto* data = properties.dictionary("BatteryData")) value = data->integer(key);
    }
    // Some controllers report small placeholders (0, 1, 200) before they have learned anything.
    if (!value || *value < 201) return std::nullopt;
    return value;
}

std::optional<double> SmartBattery::temperatureCelsius(const PowerSourceKeys& properties) {
    // Tenths of a kelvin. A reader translating tenths of a degree Celsius may need the half tenth, so a
    // fractional value is accepted too.
    const auto tenthsKelvin = properties.number("Temperature");
    if (!tenthsKelvin) return std::nullopt;
    const double celsius = *tenthsKelvin / 10.0 - 273.15;
    if (!(celsius > -20.0 && celsius < 100.0)) return std::nullopt;
    return celsius;
}

std::optional<std::int64_t> SmartBattery::healthPercent(const PowerSourceKeys& properties) {
    auto full = mAh(properties, "AppleRawMaxCapacity");
    if (!full) full = mAh(properties, "NominalChargeCapacity");
    const auto design = mAh(properties, "DesignCapacity");
    if (!full || !design) {
        // An energy gauge without a design voltage has no mAh to give, but its two energies make the same
        // ratio. The floor is the 201 mAh one at a single cell's voltage.
        const auto energyFull = properties.integer("FullChargeEnergy");
        const auto energyDesign = properties.integer("DesignEnergy");
        if (!energyFull || !energyDesign || *energyFull < 750 || *energyDesign < 750) return std::nullopt;
        return roundedInteger(static_cast<double>(*energyFull) / static_cast<double>(*energyDesign) * 100.0);
    }
    // No upper clamp: a new battery can hold more than its design capacity.
    return roundedInteger(static_cast<double>(*full) / static_cast<double>(*design) * 100.0);
}

std::optional<std::int64_t> SmartBattery::adapterWatts(const PowerSourceKeys& properties) {
    const auto* adapter = properties.dictionary("AdapterDetails");
    if (adapter == nullptr) return std::nullopt;
    const auto watts = adapter->integer("Watts");
    if (!watts || *watts < 1) return std::nullopt;
    return watts;
}

SmartBatteryReading SmartBattery::reading(const PowerSourceKeys& properties) {
    return {
        .cycleCount = properties.integer("CycleCount"),
        .healthPercent = healthPercent(properties),
        .temperatureCelsius = temperatureCelsius(properties),
        .powerWatts = watts(properties),
        .adapterWatts = adapterWatts(properties),
    };
}

BatterySnapshot merge(const BatterySnapshot& previous, const std::optional<BatterySnapshot>& powerSources,
                      const std::optional<SmartBatteryReading>& smart) {
    BatterySnapshot next = powerSources.value_or(previous);
    if (smart) {
        next.cycleCount = smart->cycleCount;
        next.healthPercent = smart->healthPercent;
        next.temperatureCelsius = smart->temperatureCelsius;
        next.powerWatts = smart->powerWatts;
        next.adapterWatts = smart->adapterWatts;
    }
    return next;
}

bool PlugInEdge::observe(const BatterySnapshot& previous, const BatterySnapshot& next) {
    // The first reading only establishes the state: starting plugged in is not a plug-in.
    const bool edge = pluggedKnown_ && !previous.isPluggedIn && next.isPluggedIn;
    pluggedKnown_ = true;
    return edge;
}

}  // namespace torvel
