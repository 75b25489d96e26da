#include "status/other_program.h"

#include "common/sentence.h"

namespace torvel {

std::optional<OtherProgramNote> OtherProgramNote::from(const PublishedStatus& status) {
    if (!status.otherWriter) return std::nullopt;
    const OtherWriter& writer = *status.otherWriter;
    OtherProgramNote note;
    switch (writer.program) {
        case OtherWriter::Program::upower:
            note.program = "UPower";
            note.text =
                writer.yielded
                    ? "The desktop’s own battery protection (UPower’s charge threshold) keeps setting the "
                      "charge limit, so Torvel has stopped setting its own. Turn it off to let Torvel hold "
                      "your limit."
                    : "The desktop’s own battery protection (UPower’s charge threshold) also sets the charge "
                      "limit, and undoes Torvel’s whenever it starts. Turn it off to let Torvel hold your "
                      "limit.";
            note.fixTitle = "Let Torvel hold the limit";
            note.action = Action::turnOffUPowerThreshold;
            break;
        case OtherWriter::Program::tlp:
            note.program = "TLP";
            note.text = fillSentence(
                "TLP sets its own charge thresholds at every start, over Torvel’s. To let Torvel hold your "
                "limit, "
                "remove the START_CHARGE_THRESH_BAT and STOP_CHARGE_THRESH_BAT lines from %1, then run "
                "“sudo tlp start”.",
                {writer.file.value_or("/etc/tlp.conf")});
            break;
        case OtherWriter::Program::kde:
            note.program = "KDE Plasma";
            note.text =
                "KDE Plasma’s power settings set their own charge limit, over Torvel’s. To let Torvel hold "
                "your "
                "limit, open System Settings ▸ Power Management, and under Advanced Power Settings set the "
                "charge "
                "limit to stop charging at 100%.";
            break;
        case OtherWriter::Program::unknown:
            note.program = "Another program";
            note.text = writer.yielded
                            ? "Another program keeps changing the charge limit, so Torvel has stopped "
                              "setting its own. Close or reconfigure that program, then let Torvel hold "
                              "your limit again."
                            : "Another program changed the charge limit Torvel holds. Torvel put yours "
                              "back; if that program keeps changing it, Torvel will stop fighting it.";
            if (writer.yielded) {
                note.fixTitle = "Let Torvel hold the limit";
                note.action = Action::sendSettingsAgain;
            }
            break;
    }
    return note;
}

std::string OtherProgramNote::upowerFailed(std::string_view detail) {
    return fillSentence("UPower didn’t turn its charge threshold off: %1.", {detail});
}

}  // namespace torvel
