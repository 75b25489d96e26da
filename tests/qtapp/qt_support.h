#pragma once

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <chrono>
#include <filesystem>
#include <functional>
#include <random>
#include <string>

namespace torvel::app::testing {

// One application object for the whole test binary, offscreen so no display is needed.
inline QGuiApplication& qtApp() {
    static int argc = 1;
    static char name[] = "qtapp_tests";
    static char* argv[] = {name, nullptr};
    static QGuiApplication* app = [] {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        qputenv("QT_QUICK_BACKEND", "software");
        return new QGuiApplication(argc, argv);
    }();
    return *app;
}

// Runs the event loop until `done` holds or the time is up; returns whether it held.
inline bool spinUntil(const std::function<bool()>& done,
                      std::chrono::milliseconds limit = std::chrono::seconds(5)) {
    QElapsedTimer timer;
    timer.start();
    while (!done()) {
        if (timer.elapsed() > limit.count()) return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    }
    return true;
}

// A directory of its own for one test, removed afterwards.
class TempDir {
  public:
    TempDir() {
        std::random_device random;
        path_ = std::filesystem::temp_directory_path() / ("torvel-qtapp-" + std::to_string(random()));
        std::filesystem::create_directories(path_);
    }
    ~TempDir() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;
    const std::filesystem::path& path() const { return path_; }

  private:
    std::filesystem::path path_;
};

}  // namespace torvel::app::testing
