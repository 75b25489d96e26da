#include "files/state_store.h"

namespace torvel::daemon {

ControlMemory StateStore::load() const {
    int error = 0;
    const auto bytes = readFileNoFollow(file_, error);
    const auto object = bytes ? json::parseObjectStrictly(*bytes) : std::nullopt;
    if (!object) return {};
    ControlMemory memory;
    if (auto seconds = json::number(*object, "protectedSeconds"); seconds && *seconds >= 0) {
        memory.protectedSeconds = *seconds;
    }
    const json::Value* cal = json::object(*object, "cal");
    memory.cal = CalibrationStatus::decode(cal != nullptr ? *cal : json::Value(nullptr));
    memory.calBeforeRaw = json::integer(*object, "calBeforeRaw");
    return memory;
}

FileError StateStore::save(const ControlMemory& memory) const {
    json::Value object = json::Value::object();
    object["protectedSeconds"] = memory.protectedSeconds;
    object["cal"] = memory.cal.encode();
    if (memory.calBeforeRaw) object["calBeforeRaw"] = *memory.calBeforeRaw;
    // Root's own bookkeeping: no one else needs to read it.
    return replaceFile(file_, object.dump(), 0600);
}

}  // namespace torvel::daemon
