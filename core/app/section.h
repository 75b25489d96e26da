#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace torvel {

// The main window's sections, in the order of its tabs.
class AppSection {
  public:
    enum Value { today, settings, mac, memory, calibration };

    constexpr AppSection(Value value) : value_(value) {}
    constexpr operator Value() const { return value_; }

    static constexpr std::array<Value, 5> all{today, settings, mac, memory, calibration};

    std::string_view rawValue() const;
    // The tab's label.
    std::string title() const;
    // The main window's title while it shows the section: "Torvel · Settings".
    std::string windowTitle() const;
    // The product's name as the window's header shows it.
    static std::string productName();

    // A section named on the command line, by its raw value or by one of the older names people type.
    static std::optional<AppSection> named(std::string_view text);
    static std::optional<AppSection> fromRawValue(std::string_view text);

  private:
    Value value_;
};

// The tray icon's menu around the sections: opening the panel and quitting.
struct TrayMenuWords {
    static std::string open();
    static std::string quit();
};

// Names of the windows' parts that a screen reader or the window list reads.
struct WindowWords {
    // The row of section tabs.
    static std::string sections();
    // The panel drawn in an ordinary window, as --panel shows it.
    static std::string panelReview();
};

}  // namespace torvel
