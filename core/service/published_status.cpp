#include "service/published_status.h"

#include "common/json.h"

namespace torvel {
namespace {

template <typename T>
json::Value valueOrNull(const std::optional<T>& value) {
    return value ? json::Value(*value) : json::Value(nullptr);
}

}  // namespace

std::string publishedStatusText(const PublishedStatus& status) {
    json::Value file = json::Value::object();
    file["ts"] = status.ts;
    file["state"] = status.state;
    file["pct"] = status.pct;
    file["plugged"] = status.plugged;
    file["hot"] = status.hot;
    file["temp"] = valueOrNull(status.temp);
    file["topUp"] = status.topUp;
    file["protectedSeconds"] = status.protectedSeconds;
    file["since"] = valueOrNull(status.since);
    file["ledSupported"] = status.ledSupported;
    file["dischargeSupported"] = status.dischargeSupported;
    file["dischargeFailed"] = status.dischargeFailed;
    file["smcKeys"] = status.smcKeys;
    file["chargeMode"] = valueOrNull(status.chargeMode);
    file["nativeFloor"] = valueOrNull(status.nativeFloor);
    file["gateVerified"] = valueOrNull(status.gateVerified);
    file["daemonVersion"] = valueOrNull(status.daemonVersion);
    file["startedAt"] = valueOrNull(status.startedAt);
    file["daemonPath"] = valueOrNull(status.daemonPath);
    file["cal"] = status.cal.encode();
    // A path or a word with invalid UTF-8 must not make the whole file unwritable.
    return file.dump(-1, ' ', false, json::Value::error_handler_t::replace);
}

}  // namespace torvel
