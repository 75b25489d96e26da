#include "extras/updater.h"

#include <unicode/udat.h>
#include <unicode/ustring.h>

#include <cmath>
#include <vector>

#include "common/fmt.h"
#include "common/texts.h"
#include "extras/ini.h"
#include "extras/login_item.h"

namespace torvel {

void UpdaterState::updateFound(std::string displayVersion, bool isCritical) {
    available = std::move(displayVersion);
    critical = isCritical;
}

void UpdaterState::noUpdateFound() {
    available.reset();
    critical = false;
}

void UpdaterState::cycleFinished(std::optional<long> errorCode, std::optional<Instant> checkerLastCheck) {
    checking = false;
    lastCheck = checkerLastCheck;
    unreachable = errorCode && *errorCode != noUpdateFoundCode;
}

UpdaterState UpdaterState::fromSettings(std::string_view iniText) {
    const IniFile file = IniFile::parse(iniText);
    constexpr std::string_view group = "updates";
    UpdaterState state;
    state.automatic = file.boolean(group, "automatic").value_or(false);
    state.critical = file.boolean(group, "critical").value_or(false);
    if (auto version = file.value(group, "available"); version && !version->empty())
        state.available = *version;
    if (auto seconds = file.value(group, "lastCheck")) {
        char* end = nullptr;
        const double value = std::strtod(seconds->c_str(), &end);
        if (!seconds->empty() && end == seconds->c_str() + seconds->size() && std::isfinite(value)) {
            state.lastCheck = value;
        }
    }
    return state;
}

std::optional<std::filesystem::path> UpdaterState::settingsFile(const Paths::Environment& env) {
    const auto config = userConfigDirectory(env);
    if (!config) return std::nullopt;
    return *config / "Torvel" / "Torvel.conf";
}

std::optional<std::string> UpdateWords::mediumDate(Instant instant, std::string_view localeId) {
    if (!std::isfinite(instant)) return std::nullopt;
    const std::string locale(localeId);
    UErrorCode status = U_ZERO_ERROR;
    UDateFormat* format = udat_open(UDAT_NONE, UDAT_MEDIUM, locale.c_str(), nullptr, 0, nullptr, 0, &status);
    if (U_FAILURE(status)) return std::nullopt;
    std::vector<UChar> buffer(64);
    const UDate date = instant * 1000.0;
    int32_t length =
        udat_format(format, date, buffer.data(), static_cast<int32_t>(buffer.size()), nullptr, &status);
    if (status == U_BUFFER_OVERFLOW_ERROR) {
        buffer.resize(static_cast<std::size_t>(length) + 1);
        status = U_ZERO_ERROR;
        length =
            udat_format(format, date, buffer.data(), static_cast<int32_t>(buffer.size()), nullptr, &status);
    }
    udat_close(format);
    if (U_FAILURE(status)) return std::nullopt;

    std::string out(static_cast<std::size_t>(length) * 3 + 1, '\0');
    int32_t outLength = 0;
    status = U_ZERO_ERROR;
    u_strToUTF8(out.data(), static_cast<int32_t>(out.size()), &outLength, buffer.data(), length, &status);
    if (U_FAILURE(status)) return std::nullopt;
    out.resize(static_cast<std::size_t>(outLength));
    return out;
}

namespace {

// The cases both texts share, in the order the first match wins; `shortText` differs only for a found update
// and for a completed check. With automatic checks off, a check the user asked for still tells its result:
// the switch beside the line already says the checks are off.
std::optional<std::string> sharedWords(const UpdaterState& updater) {
    if (!updater.automatic && !updater.lastCheck && !updater.available) return tr("Checking is off");
    if (updater.critical) return tr("This version should be replaced");
    return std::nullopt;
}

}  // namespace

std::string UpdateWords::status(const UpdaterState& updater) {
    return status(updater, Fmt::locale());
}

std::string UpdateWords::status(const UpdaterState& updater, std::string_view localeId) {
    if (auto words = sharedWords(updater)) return *words;
    if (updater.available) return tr("Version %1 is available", {*updater.available});
    if (updater.unreachable) return tr("Couldn’t check");
    if (updater.lastCheck) {
        // A date no calendar can place still tells the user a check happened.
        const auto date = mediumDate(*updater.lastCheck, localeId);
        return date ? tr("Up to date, checked %1", {*date}) : tr("Up to date");
    }
    return tr("Not checked yet");
}

std::string UpdateWords::shortText(const UpdaterState& updater) {
    if (auto words = sharedWords(updater)) return *words;
    if (updater.available) return tr("%1 available", {*updater.available});
    if (updater.unreachable) return tr("Couldn’t check");
    if (updater.lastCheck) return tr("Up to date");
    return tr("Not checked yet");
}

}  // namespace torvel
