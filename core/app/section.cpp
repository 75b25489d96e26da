#include "app/section.h"

#include "common/texts.h"

namespace torvel {
namespace {

struct Alias {
    std::string_view name;
    AppSection::Value section;
};

// The names of earlier builds' pages, which scripts and habits still use.
constexpr Alias aliases[] = {
    {"today", AppSection::today},         {"journal", AppSection::today},
    {"settings", AppSection::settings},   {"charge", AppSection::settings},
    {"system", AppSection::settings},     {"general", AppSection::settings},
    {"automation", AppSection::settings}, {"mac", AppSection::mac},
    {"advanced", AppSection::mac},        {"about", AppSection::mac},
    {"memory", AppSection::memory},       {"calibration", AppSection::calibration},
};

}  // namespace

std::string_view AppSection::rawValue() const {
    switch (value_) {
        case today:
            return "today";
        case settings:
            return "settings";
        case mac:
            return "mac";
        case memory:
            return "memory";
        case calibration:
            return "calibration";
    }
    return {};
}

std::string AppSection::title() const {
    switch (value_) {
        case today:
            return tr("Today");
        case settings:
            return tr("Settings");
        case mac:
            return tr("This Mac");
        case memory:
            return tr("Long memory");
        case calibration:
            return tr("Calibration");
    }
    return {};
}

std::optional<AppSection> AppSection::fromRawValue(std::string_view text) {
    for (const auto section : all) {
        if (AppSection(section).rawValue() == text) return AppSection(section);
    }
    return std::nullopt;
}

std::optional<AppSection> AppSection::named(std::string_view text) {
    for (const auto& alias : aliases) {
        if (alias.name == text) return AppSection(alias.section);
    }
    return fromRawValue(text);
}

std::string AppSection::windowTitle() const {
    return tr("Torvel · %1", {title()});
}

std::string AppSection::productName() {
    return tr("Torvel");
}

std::string TrayMenuWords::open() {
    return tr("Open Torvel");
}

std::string TrayMenuWords::quit() {
    return tr("Quit Torvel");
}

std::string WindowWords::sections() {
    return tr("Sections");
}

std::string WindowWords::panelReview() {
    return tr("Panel (review)");
}

}  // namespace torvel
