#pragma once

#include <QObject>

namespace torvel::app {

// The few visual states a block can be drawn in. Views pass these, never colour names or state words, and
// Ember turns them into colours, so a new tone is one case here and one line there.
class Looks {
    Q_GADGET

  public:
    // good: held, on and working; accent: moving or ember-coloured; todo: the user has something to do;
    // broken: it does not work; quiet: informational.
    enum Tone { quiet, good, accent, todo, broken };
    Q_ENUM(Tone)

    // The variants of EmberButton, in the order prominence wins.
    enum ButtonKind { plain, prominent, destructive };
    Q_ENUM(ButtonKind)
};

}  // namespace torvel::app
