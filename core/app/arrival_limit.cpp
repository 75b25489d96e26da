#include "app/arrival_limit.h"

#include "status/panel_state.h"

namespace torvel {

std::optional<ChargeArrival::Limit> arrivalLimit(const ChargeSettingsState* settings,
                                                 const SystemLock& lock) {
    if (!settings) return std::nullopt;
    return ChargeArrival::Limit{settings->settings.enabled, lock.active, PanelStatus::target(*settings)};
}

}  // namespace torvel
