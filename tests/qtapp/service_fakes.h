#pragma once

#include <string>
#include <vector>

#include "service/charge_service.h"
#include "service/service_calls.h"
#include "service/unit_control.h"

namespace torvel::app::testing {

// The charge service as the models reach it; applies wait for the test to answer them.
class FakeCalls : public ServiceCalls {
  public:
    struct PendingApply {
        Settings settings;
        Completion done;
    };
    std::vector<PendingApply> applies;
    std::vector<Timeout> releases;
    int purges = 0;
    int restarts = 0;
    Result restartResult;

    void apply(const Settings& settings, const SettingsExtra&, Completion done) override {
        applies.push_back({settings, std::move(done)});
    }
    void purgeAllData(Completion done) override {
        ++purges;
        done(std::nullopt);
    }
    void releaseCharge(Timeout timeout, Completion done) override {
        releases.push_back(timeout);
        done(std::nullopt);
    }
    void restart(Completion done) override {
        ++restarts;
        done(restartResult);
    }
};

// systemd as far as the registration goes; every change is logged.
class FakeUnits : public UnitControl {
  public:
    using Status = ServiceRegistration::Status;
    Status state = Status::notRegistered;
    int statusCalls = 0;
    std::vector<std::string> log;
    std::optional<RegistrationError> enableError;

    Status status() override {
        ++statusCalls;
        return state;
    }
    void enableAndStart(Done done) override {
        log.push_back("enable");
        if (!enableError) state = Status::enabled;
        done(enableError);
    }
    void disableAndStop(Done done) override {
        log.push_back("disable");
        state = Status::notRegistered;
        done(std::nullopt);
    }
};

// Delays pass at once: the tests look at order and outcome, not at the wall clock.
inline ChargeService::Scheduler immediately() {
    return [](std::chrono::milliseconds, std::function<void()> action) { action(); };
}

}  // namespace torvel::app::testing
