#pragma once

#include <string>

namespace torvel::daemon {

// The answer of a remote call: (true, "") or (false, one sentence for the user).
struct CallReply {
    bool ok = true;
    std::string message;
};

}  // namespace torvel::daemon
