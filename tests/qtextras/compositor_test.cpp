#include "extras/compositor.h"

#include <gtest/gtest.h>
#include <xcb/xcb.h>

#include <QProcess>
#include <cstdlib>
#include <memory>

namespace torvel::app::testing {
namespace {

// A display of the test's own, with no window manager and no compositor until the test plays one.
class Display {
  public:
    Display() {
        server_.start(QStringLiteral("Xvfb"),
                      {"-displayfd", "1", "-nolisten", "tcp", "-screen", "0", "64x64x24"});
        if (server_.waitForStarted(5000) && server_.waitForReadyRead(5000)) {
            const QByteArray name = ":" + server_.readLine().trimmed();
            connection_ = xcb_connect(name.constData(), nullptr);
        }
    }
    ~Display() {
        if (connection_) xcb_disconnect(connection_);
        server_.kill();
        server_.waitForFinished(5000);
    }
    xcb_connection_t* connection() const { return connection_; }

    // What a compositing manager does on starting: take the screen's selection with a window of its own.
    void takeCompositorSelection(int screen) {
        const xcb_window_t window = xcb_generate_id(connection_);
        const xcb_screen_t* root = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data;
        xcb_create_window(connection_, XCB_COPY_FROM_PARENT, window, root->root, 0, 0, 1, 1, 0,
                          XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
        const std::string name = "_NET_WM_CM_S" + std::to_string(screen);
        const std::unique_ptr<xcb_intern_atom_reply_t, decltype(&std::free)> atom(
            xcb_intern_atom_reply(
                connection_,
                xcb_intern_atom(connection_, 0, static_cast<uint16_t>(name.size()), name.c_str()), nullptr),
            &std::free);
        xcb_set_selection_owner(connection_, window, atom->atom, XCB_CURRENT_TIME);
        xcb_flush(connection_);
    }

  private:
    QProcess server_;
    xcb_connection_t* connection_ = nullptr;
};

TEST(Compositor, FoundOnlyWhileTheScreensSelectionIsHeld) {
    Display display;
    ASSERT_NE(display.connection(), nullptr);
    ASSERT_EQ(xcb_connection_has_error(display.connection()), 0);
    EXPECT_FALSE(compositorRunning(display.connection(), 0));
    display.takeCompositorSelection(1);  // another screen's compositor is not this screen's
    EXPECT_FALSE(compositorRunning(display.connection(), 0));
    display.takeCompositorSelection(0);
    EXPECT_TRUE(compositorRunning(display.connection(), 0));
    EXPECT_FALSE(compositorRunning(nullptr, 0));
}

}  // namespace
}  // namespace torvel::app::testing
