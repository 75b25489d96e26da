#pragma once

#include <QObject>

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
};

}  // namespace torvel::app
