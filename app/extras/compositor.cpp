#include "extras/compositor.h"

#include <xcb/xcb.h>

#include <QGuiApplication>
#include <cstdlib>
#include <memory>
#include <string>

namespace torvel::app {

bool compositorRunning(xcb_connection_t* connection, int screen) {
    if (!connection) return false;
    const std::string name = "_NET_WM_CM_S" + std::to_string(screen);
    const std::unique_ptr<xcb_intern_atom_reply_t, decltype(&std::free)> atom(
        xcb_intern_atom_reply(
            connection, xcb_intern_atom(connection, 1, static_cast<uint16_t>(name.size()), name.c_str()),
            nullptr),
        &std::free);
    // An atom nobody ever interned: no compositor has run on this display.
    if (!atom || atom->atom == XCB_ATOM_NONE) return false;
    const std::unique_ptr<xcb_get_selection_owner_reply_t, decltype(&std::free)> owner(
        xcb_get_selection_owner_reply(connection, xcb_get_selection_owner(connection, atom->atom), nullptr),
        &std::free);
    return owner && owner->owner != XCB_WINDOW_NONE;
}

bool translucentOverlayShown() {
    const QString platform = QGuiApplication::platformName();
    if (platform == u"wayland") return false;
    if (platform != u"xcb") return true;
    const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    if (!x11) return false;
    int screen = 0;
    char* host = nullptr;
    int display = 0;
    // The screen the app's display names (":0.1"); Qt opens the same one.
    if (xcb_parse_display(nullptr, &host, &display, &screen)) std::free(host);
    return compositorRunning(x11->connection(), screen);
}

}  // namespace torvel::app
