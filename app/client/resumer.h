#pragma once

#include <functional>
#include <mutex>
#include <utility>

namespace torvel::client {

// Hands one result to a waiting caller, once. A call has several ways to end (the reply, a lost peer, the
// caller's time-out) and they can race; whichever comes first speaks, and the rest find nobody waiting.
template <typename Result>
class Resumer {
  public:
    using Continuation = std::function<void(Result)>;

    explicit Resumer(Continuation continuation) : continuation_(std::move(continuation)) {}

    // Returns whether this result was the one delivered.
    bool finish(Result result) {
        Continuation taken;
        {
            const std::lock_guard lock(mutex_);
            taken = std::exchange(continuation_, nullptr);
        }
        // Called outside the lock: the continuation may well start the next call.
        if (!taken) return false;
        taken(std::move(result));
        return true;
    }

    bool finished() const {
        const std::lock_guard lock(mutex_);
        return !continuation_;
    }

  private:
    mutable std::mutex mutex_;
    Continuation continuation_;
};

}  // namespace torvel::client
