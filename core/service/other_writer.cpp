#include "service/other_writer.h"

#include <algorithm>
#include <system_error>

#include "common/files.h"
#include "common/text.h"

namespace torvel {
namespace fs = std::filesystem;

std::string_view word(OtherWriter::Program program) {
    switch (program) {
        case OtherWriter::Program::upower:
            return "upower";
        case OtherWriter::Program::tlp:
            return "tlp";
        case OtherWriter::Program::kde:
            return "kde";
        case OtherWriter::Program::unknown:
            break;
    }
    return "unknown";
}

json::Value OtherWriter::encode() const {
    json::Value value = json::Value::object();
    value["program"] = std::string(word(program));
    value["file"] = file ? json::Value(*file) : json::Value(nullptr);
    value["at"] = at ? json::Value(*at) : json::Value(nullptr);
    value["yielded"] = yielded;
    return value;
}

std::optional<OtherWriter> OtherWriter::decode(const json::Value& value) {
    if (!value.is_object()) return std::nullopt;
    OtherWriter writer;
    const auto name = json::text(value, "program").value_or("");
    for (const auto program : {Program::upower, Program::tlp, Program::kde}) {
        if (name == word(program)) writer.program = program;
    }
    writer.file = json::text(value, "file");
    writer.at = json::number(value, "at");
    writer.yielded = json::boolean(value, "yielded").value_or(false);
    return writer;
}

namespace {

struct TlpFile {
    bool setsThreshold = false;
    std::optional<bool> enabled;
};

// TLP's configuration is shell-style KEY=value lines; a value may be quoted, a line commented out.
TlpFile readTlpFile(std::string_view text) {
    TlpFile file;
    while (!text.empty()) {
        const auto end = text.find('\n');
        std::string_view line = trimmed(text.substr(0, end));
        text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
        const auto equals = line.find('=');
        if (line.empty() || line.front() == '#' || equals == std::string_view::npos) continue;
        const std::string_view key = trimmed(line.substr(0, equals));
        std::string_view value = trimmed(line.substr(equals + 1));
        if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'') &&
            value.back() == value.front())
            value = value.substr(1, value.size() - 2);
        if (key == "TLP_ENABLE") file.enabled = value != "0";
        if ((key.starts_with("START_CHARGE_THRESH_BAT") || key.starts_with("STOP_CHARGE_THRESH_BAT")) &&
            !value.empty())
            file.setsThreshold = true;
    }
    return file;
}

}  // namespace

std::optional<std::string> tlpThresholdFile(const Paths& paths) {
    const fs::path main = paths.machineFile("/etc/tlp.conf");
    // TLP reads its drop-ins in name order and its main file last, so a later file has the last word.
    std::vector<fs::path> files;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(paths.machineFile("/etc/tlp.d"), error)) {
        if (entry.path().extension() == ".conf") files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    files.push_back(main);

    bool enabled = true;
    std::optional<std::string> setting;
    for (const auto& path : files) {
        const auto contents = readWholeFile(path);
        const auto* text = std::get_if<std::string>(&contents);
        if (text == nullptr) continue;
        const TlpFile file = readTlpFile(*text);
        if (file.enabled) enabled = *file.enabled;
        // Named as the machine has it, whatever root it is read under.
        if (file.setsThreshold) setting = "/" + path.lexically_relative(paths.root).string();
    }
    if (!enabled) return std::nullopt;
    return setting;
}

}  // namespace torvel
