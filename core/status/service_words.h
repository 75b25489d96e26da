#pragma once

#include <string>

#include "service/charge_settings.h"

namespace torvel {

// The longer sentence that explains the charge service's situation on the Mac page and in torvelctl.
struct ServiceWords {
    static std::string explanation(const ChargeSettingsState& settings, ServiceState state,
                                   bool hasManualInstaller);
};

}  // namespace torvel
