#include "status/service_words.h"

#include "common/texts.h"

namespace torvel {

std::string ServiceWords::explanation(const ChargeSettingsState& settings, ServiceState state,
                                      bool hasManualInstaller) {
    if (settings.serviceError) return *settings.serviceError;
    if (settings.writeError) {
        return tr(
            "The charge service refused the settings Torvel sent it, and keeps applying the last ones it "
            "accepted. The diagnostic report says why; send it to us and we’ll tell you what to do.");
    }
    switch (state) {
        case ServiceState::notInstalled:
            return tr(
                "Holding the charge at your limit means writing to the system controller, which needs a "
                "system service. macOS will ask you to allow it once. Torvel never asks for your password "
                "itself.");
        case ServiceState::awaitingApproval:
            return tr(
                "Torvel registered its charge service. macOS is waiting for you to allow it in System "
                "Settings ▸ General ▸ Login Items. Until then, the limit can’t be applied.");
        case ServiceState::needsMigration:
            if (settings.migrationFallback) {
                return tr(
                    "Torvel used to need a hand to install its charge service. It doesn’t any more — this "
                    "copy is signed, and macOS lets it do the whole thing itself. The service that’s running "
                    "is the old hand-installed one: it works, but it can’t be updated, so it has to come out "
                    "first. One line, once.");
            }
            return tr(
                "The service that’s running is the old one, installed by hand before Torvel was signed. It "
                "works, but it can’t be updated. Replacing it takes one click: macOS asks for your Mac "
                "password once, and your settings and history are kept.");
        case ServiceState::elsewhereInApplications:
            return tr(
                "The charge service that’s running belongs to another copy of Torvel — probably the one you "
                "first opened, from the disk image or your Downloads. It works, but it would stop the day "
                "that copy is deleted. Torvel is taking it back now; if macOS asks you to allow it again, a "
                "window will say so.");
        case ServiceState::elsewhere:
            return tr(
                "The charge service that’s running belongs to another copy of Torvel — the one you first "
                "opened. Torvel can take it back, but only from your Applications folder: drag it there, "
                "reopen it, and it sorts itself out.");
        case ServiceState::outdated:
            if (hasManualInstaller) {
                return tr(
                    "Torvel was updated, its charge service wasn’t. The service lives outside the app — "
                    "that’s what lets it hold your limit with Torvel closed — so it doesn’t travel with an "
                    "update. Run setup again to bring the two back in step: it’s one line in the Terminal.");
            }
            return tr(
                "Torvel was updated, its charge service wasn’t. The service lives outside the app — that’s "
                "what lets it hold your limit with Torvel closed — so it doesn’t travel with an update. "
                "Reinstall brings the two back in step.");
        case ServiceState::stale:
            return tr(
                "The charge service is installed but has stopped answering. Charging went back to macOS, so "
                "nothing is stuck. Reinstalling restarts it.");
        case ServiceState::unknown:
            return tr("The charge service is starting. This page updates by itself.");
        case ServiceState::running:
            return tr(
                "It stops charging at your limit, even with Torvel closed, even before you log in. Removing "
                "it hands charging back to macOS immediately.");
    }
    return {};
}

}  // namespace torvel
