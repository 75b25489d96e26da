#include "ui/qml_types.h"

// Written by the build from the declarations in qml_types.h.
void qml_register_types_Torvel();

namespace torvel::app {

void linkQmlModule() {
    // Nothing else refers to the generated registration, and a static library's unreferenced object would be
    // left out of the program, taking the module's types with it.
    volatile auto registration = &qml_register_types_Torvel;
    Q_UNUSED(registration);
}

}  // namespace torvel::app
