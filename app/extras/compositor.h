#pragma once

struct xcb_connection_t;

namespace torvel::app {

// Whether a compositing manager holds the display's _NET_WM_CM_S<screen> selection: without one an X11
// window's translucent parts are drawn black.
bool compositorRunning(xcb_connection_t* connection, int screen);

// Whether the app can place a translucent window of its own and have it drawn as such: not on Wayland, where
// a client cannot place its windows, nor on an X11 display without a compositor. Asked at each showing, since
// a compositor can come and go.
bool translucentOverlayShown();

}  // namespace torvel::app
