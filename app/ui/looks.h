#pragma once

#include <QObject>

#include "status/checkup.h"
#include "status/panel_state.h"

namespace torvel::app {

// The few visual states a block can be drawn in. Views pass these, never colour names or state words, and
// Ember turns them into colours, so a new tone is one case here and one line there.
class Looks {
    Q_GADGET

  public:
    // Good: held, on and working; Accent: moving or ember-coloured; Todo: the user has something to do;
    // Broken: it does not work; Quiet: informational. Capitalised because QML reads only enum keys that
    // begin with a capital letter.
    enum Tone { Quiet, Good, Accent, Todo, Broken };
    Q_ENUM(Tone)

    // The variants of EmberButton, in the order prominence wins.
    enum ButtonKind { Plain, Prominent, Destructive };
    Q_ENUM(ButtonKind)

    // How core's states are drawn, decided once for every view that shows them.
    static Tone of(Checkup::Level level) {
        switch (level) {
            case Checkup::Level::ok:
                return Good;
            case Checkup::Level::todo:
                return Todo;
            case Checkup::Level::broken:
                return Broken;
            case Checkup::Level::off:
                break;
        }
        return Quiet;
    }
    static Tone of(PanelState::Tone tone) {
        switch (tone) {
            case PanelState::Tone::held:
                return Good;
            case PanelState::Tone::moving:
                return Accent;
            case PanelState::Tone::todo:
                return Todo;
            case PanelState::Tone::broken:
                return Broken;
            case PanelState::Tone::idle:
                break;
        }
        return Quiet;
    }
};

}  // namespace torvel::app
