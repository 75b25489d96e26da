#pragma once

namespace torvel::bus {

// Where the charge service answers; packaging/linux/com.torvel.Daemon1.xml describes the interface, and the
// packaged bus policy and unit file spell the same names.
inline constexpr const char* serviceName = "com.torvel.Daemon";
inline constexpr const char* objectPath = "/com/torvel/Daemon";
inline constexpr const char* interfaceName = "com.torvel.Daemon1";
inline constexpr const char* unitName = "torvel-daemon.service";

}  // namespace torvel::bus
