#include "status/other_program.h"

#include "common/sentence.h"
#include "common/texts.h"

namespace torvel {

std::optional<OtherProgramNote> OtherProgramNote::from(const PublishedStatus& status) {
    if (!status.otherWriter) return std::nullopt;
    const OtherWriter& writer = *status.otherWriter;
    OtherProgramNote note;
    switch (writer.program) {
        case OtherWriter::Program::upower:
            note.program = "UPower";
            note.text = writer.yielded
                            ? tr("The desktop’s own battery protection (UPower’s charge threshold) keeps "
                                 "setting the charge limit, so Torvel has stopped setting its own. Turn it "
                                 "off to let Torvel hold your limit.")
                            : tr("The desktop’s own battery protection (UPower’s charge threshold) also sets "
                                 "the charge limit, and undoes Torvel’s whenever it starts. Turn it off to "
                                 "let Torvel hold your limit.");
            note.fixTitle = tr("Let Torvel hold the limit");
            note.action = Action::turnOffUPowerThreshold;
            break;
        case OtherWriter::Program::tlp:
            note.program = "TLP";
            note.text = tr(
                "TLP sets its own charge thresholds at every start, over Torvel’s. To let Torvel hold your "
                "limit, "
                "remove the START_CHARGE_THRESH_BAT and STOP_CHARGE_THRESH_BAT lines from %1, then run "
                "“sudo tlp start”.",
                {writer.file.value_or("/etc/tlp.conf")});
            break;
        case OtherWriter::Program::kde:
            note.program = "KDE Plasma";
            note.text =
                tr("KDE Plasma’s power settings set their own charge limit, over Torvel’s. To let Torvel "
                   "hold your limit, open System Settings ▸ Power Management, and under Advanced Power "
                   "Settings set the charge limit to stop charging at 100%.");
            break;
        case OtherWriter::Program::unknown:
            note.program = tr("Another program");
            note.text =
                writer.yielded
                    ? tr("Another program keeps changing the charge limit, so Torvel has stopped setting its "
                         "own. Close or reconfigure that program, then let Torvel hold your limit again.")
                    : tr("Another program changed the charge limit Torvel holds. Torvel put yours back; if "
                         "that program keeps changing it, Torvel will stop fighting it.");
            if (writer.yielded) {
                note.fixTitle = tr("Let Torvel hold the limit");
                note.action = Action::sendSettingsAgain;
            }
            break;
    }
    return note;
}

std::string OtherProgramNote::upowerFailed(std::string_view detail) {
    return tr("UPower didn’t turn its charge threshold off: %1.", {detail});
}

}  // namespace torvel
