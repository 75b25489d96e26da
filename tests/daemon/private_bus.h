#pragma once

// A private bus for tests: a dbus-daemon of our own and, when asked, python-dbusmock's polkit authority on
// it. Nothing touches the real system bus.

#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

extern char** environ;

namespace torvel::testing {

// A child process of the test, ended by its own pid.
class Child {
  public:
    Child() = default;
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;
    ~Child() { stop(); }

    // Starts `argv` with `extraEnv` added; when `output` is given, reads its first line of standard output.
    bool start(const std::vector<std::string>& argv, const std::vector<std::string>& extraEnv = {},
               std::string* firstLine = nullptr) {
        int pipeFds[2] = {-1, -1};
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        if (firstLine != nullptr) {
            if (::pipe(pipeFds) != 0) return false;
            posix_spawn_file_actions_adddup2(&actions, pipeFds[1], STDOUT_FILENO);
            posix_spawn_file_actions_addclose(&actions, pipeFds[0]);
        }
        std::vector<std::string> env;
        for (char** e = environ; *e != nullptr; ++e) env.emplace_back(*e);
        env.insert(env.end(), extraEnv.begin(), extraEnv.end());
        std::vector<char*> args, envp;
        for (const auto& a : argv) args.push_back(const_cast<char*>(a.c_str()));
        args.push_back(nullptr);
        for (const auto& e : env) envp.push_back(const_cast<char*>(e.c_str()));
        envp.push_back(nullptr);
        const int result = posix_spawn(&pid_, args[0], &actions, nullptr, args.data(), envp.data());
        posix_spawn_file_actions_destroy(&actions);
        if (result != 0) return false;
        if (firstLine != nullptr) {
            ::close(pipeFds[1]);
            char c = 0;
            while (::read(pipeFds[0], &c, 1) == 1 && c != '\n') firstLine->push_back(c);
            ::close(pipeFds[0]);
        }
        return true;
    }

    pid_t pid() const { return pid_; }

    // Sends `signal` and waits for the exit; returns the exit status as waitpid gives it.
    int stop(int signal = SIGTERM) {
        if (pid_ <= 0) return -1;
        ::kill(pid_, signal);
        int status = 0;
        ::waitpid(pid_, &status, 0);
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
    if (sd_bus_start(bus) < 0) {
        sd_bus_unref(bus);
        return nullptr;
    }
    return bus;
}

inline bool waitForName(sd_bus* bus, const char* name, std::chrono::milliseconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (std::chrono::steady_clock::now() < deadline) {
        sd_bus_message* reply = nullptr;
        int has = 0;
        if (sd_bus_call_method(bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                               "NameHasOwner", nullptr, &reply, "s", name) >= 0) {
            sd_bus_message_read(reply, "b", &has);
            sd_bus_message_unref(reply);
        }
        if (has) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return false;
}

// dbus-daemon on a fresh socket, with polkit's mock authority on it when `withPolkit`.
class PrivateBus {
  public:
    bool start(bool withPolkit) {
        if (!daemon_.start({"/usr/bin/dbus-daemon", "--session", "--nofork", "--print-address=1"}, {},
                           &address_)) {
            return false;
        }
        if (address_.empty()) return false;
        if (!withPolkit) return true;
        if (!polkit_.start({"/usr/bin/python3", "-m", "dbusmock", "--system", "--template", "polkitd"},
                           {"DBUS_SYSTEM_BUS_ADDRESS=" + address_})) {
            return false;
        }
        sd_bus* bus = connect(address_);
        const bool up = bus && waitForName(bus, "org.freedesktop.PolicyKit1", std::chrono::seconds(10));
        sd_bus_flush_close_unref(bus);
        return up;
    }
    const std::string& address() const { return address_; }

  private:
    Child daemon_;
    Child polkit_;
    std::string address_;
};

}  // namespace torvel::testing
