#pragma once

// Temporary folders, child processes and a dbus-daemon of the tests' own (with python-dbusmock's polkit
// authority on it when asked): nothing touches the real system bus or the machine's battery.

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <list>
#include <optional>
#include <regex>
#include <string>
#include <thread>
#include <vector>

#include "common/paths.h"
#include "common/syscalls.h"

extern char** environ;

namespace torvel::testing {

struct TempDir {
    TempDir() {
        char pattern[] = "/tmp/torvel-daemon-XXXXXX";
        path = ::mkdtemp(pattern);
    }
    TempDir(const TempDir&) = delete;
    ~TempDir() { std::filesystem::remove_all(path); }
    std::filesystem::path path;
};

// The service's files under `root`, and its power-supply tree in root/sys.
inline Paths pathsUnder(const std::filesystem::path& root) {
    return Paths::fromEnvironment([&](const char* name) -> std::optional<std::string> {
        if (std::string_view(name) == "TORVEL_ROOT") return root.string();
        if (std::string_view(name) == "TORVEL_SYSFS") return (root / "sys").string();
        return std::nullopt;
    });
}

// A child process of the test, ended by its own pid.
class Child {
  public:
    Child() = default;
    Child(const Child&) = delete;
    ~Child() { stop(); }

    // `env` comes ahead of the test's own environment, so it wins over anything inherited (a real
    // DBUS_SYSTEM_BUS_ADDRESS above all). With `firstLine`, reads the first line of the child's output.
    bool start(const std::vector<std::string>& argv, std::vector<std::string> env = {},
               std::string* firstLine = nullptr) {
        int fds[2] = {-1, -1};
        if (firstLine && ::pipe2(fds, O_CLOEXEC) != 0) return false;
        for (char** e = environ; *e != nullptr; ++e) env.emplace_back(*e);
        std::vector<char*> args, envp;
        for (const auto& a : argv) args.push_back(const_cast<char*>(a.c_str()));
        for (const auto& e : env) envp.push_back(const_cast<char*>(e.c_str()));
        args.push_back(nullptr);
        envp.push_back(nullptr);
        pid_ = ::fork();
        if (pid_ == 0) {  // only async-signal-safe calls until exec: the test has threads
            if (firstLine) ::dup2(fds[1], STDOUT_FILENO);
            ::execve(args[0], args.data(), envp.data());
            ::_exit(127);
        }
        if (firstLine) {
            const FileDescriptor readEnd(fds[0]);
            // Our copy of the write end goes now, so a child that dies before its line ends the read.
            FileDescriptor(fds[1]).reset();
            char c = 0;
            while (retryOnInterrupt([&] { return ::read(readEnd.get(), &c, 1); }) == 1 && c != '\n')
                firstLine->push_back(c);
        }
        return pid_ > 0;
    }

    pid_t pid() const { return pid_; }
    // The exit status as waitpid gives it once the child ended on its own within `time`; absent while it
    // runs.
    std::optional<int> exited(std::chrono::milliseconds time) {
        for (auto end = std::chrono::steady_clock::now() + time; pid_ > 0;) {
            int status = 0;
            if (::waitpid(pid_, &status, WNOHANG) == pid_) {
                pid_ = -1;
                return status;
            }
            if (std::chrono::steady_clock::now() >= end) break;
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return std::nullopt;
    }

    // Sends `signal` and waits for the exit; returns the status as waitpid gives it.
    int stop(int signal = SIGTERM) {
        int status = -1;
        if (pid_ > 0 && ::kill(pid_, signal) == 0) ::waitpid(pid_, &status, 0);
        pid_ = -1;
        return status;
    }

  private:
    pid_t pid_ = -1;
};

inline sd_bus* connect(const std::string& address) {
    sd_bus* bus = nullptr;
    if (sd_bus_new(&bus) < 0) return nullptr;
    sd_bus_set_address(bus, address.c_str());
    sd_bus_set_bus_client(bus, 1);
    if (sd_bus_start(bus) >= 0) return bus;
    sd_bus_unref(bus);
    return nullptr;
}

// Debian's system bus configuration (its limits and default policy) listening on `socket`, with `policy`
// included, root allowed to own the mock services' names and polkit open to all, as its own package has it;
// empty when system.conf cannot be read.
inline std::string systemBusConfig(const std::filesystem::path& socket, const std::filesystem::path& policy) {
    std::ifstream in("/usr/share/dbus-1/system.conf");
    std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (text.empty()) return "";
    // What would make it the machine's own bus: its user, socket, pid file and the machine's policies.
    for (const char* pattern : {R"(<user>[^<]*</user>)", R"(<fork/>)", R"(<pidfile>[^<]*</pidfile>)",
                                R"(<syslog/>)", R"(<servicehelper>[^<]*</servicehelper>)",
                                R"(<standard_system_servicedirs/>)", R"(<includedir>[^<]*</includedir>)",
                                R"(<include [^>]*>[^<]*</include>)", R"(<listen>[^<]*</listen>)"}) {
        text = std::regex_replace(text, std::regex(pattern), "");
    }
    const std::string extra =
        "<listen>unix:path=" + socket.string() + "</listen>\n<include>" + policy.string() +
        "</include>\n<policy user=\"root\"><allow own=\"*\"/></policy>\n"
        "<policy context=\"default\"><allow send_destination=\"org.freedesktop.PolicyKit1\"/></policy>\n"
        "</busconfig>";
    return text.replace(text.rfind("</busconfig>"), std::string_view("</busconfig>").size(), extra);
}

class PrivateBus {
  public:
    // With `config`, a bus run under that configuration file instead of the session bus's.
    bool start(bool withPolkit, const std::string& config = "") {
        if (!daemon_.start({"/usr/bin/dbus-daemon", config.empty() ? "--session" : "--config-file=" + config,
                            "--nofork", "--print-address=1"},
                           {}, &address_) ||
            address_.empty()) {
            return false;
        }
        return !withPolkit || addMock("polkitd", "org.freedesktop.PolicyKit1");
    }
    // One of python-dbusmock's templates (polkitd, logind), up once it owns `name`.
    bool addMock(const char* templateName, const char* name) {
        if (!mocks_.emplace_back().start(
                {"/usr/bin/python3", "-m", "dbusmock", "--system", "--template", templateName},
                {"DBUS_SYSTEM_BUS_ADDRESS=" + address_})) {
            return false;
        }
        sd_bus* bus = connect(address_);
        int up = 0;
        for (int tries = 0; bus && !up && tries < 500; ++tries) {
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            sd_bus_message* reply = nullptr;
            if (sd_bus_call_method(bus, "org.freedesktop.DBus", "/org/freedesktop/DBus",
                                   "org.freedesktop.DBus", "NameHasOwner", nullptr, &reply, "s", name) >= 0) {
                sd_bus_message_read(reply, "b", &up);
            }
            sd_bus_message_unref(reply);
        }
        sd_bus_flush_close_unref(bus);
        return up;
    }
    const std::string& address() const { return address_; }

  private:
    Child daemon_;
    // Ended before the bus they are on.
    std::list<Child> mocks_;
    std::string address_;
};

}  // namespace torvel::testing
